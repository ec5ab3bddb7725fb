#pragma once
// The desktop of a Wine prefix as its programs see it: the dots per inch Wine's configuration
// sets (LogPixels, the user's first, then the machine's) and the colours of the prefix's
// Control Panel ("ButtonFace"="245 245 245").

#include "platform/DesktopLook.h"
#include "platform/KeyStore.h"

namespace optera::platform {

class WineDesktopLook : public DesktopLook {
  public:
    explicit WineDesktopLook(KeyStore& registry) : registry_(registry) {}
    int DotsPerInch() const override;
    std::optional<std::uint32_t> SystemColour(int index) const override;

  private:
    KeyStore& registry_;
};

}  // namespace optera::platform
