#pragma once
// Whether Optera already runs for this user: the window program starts once, and a second start
// is told so.

namespace optera::platform {

class SingleInstance {
  public:
    virtual ~SingleInstance() = default;
    // True when another Optera of this user runs now. The first call claims the place of the
    // running one for this process, for as long as it lives.
    virtual bool AnotherIsRunning() = 0;
};

}  // namespace optera::platform
