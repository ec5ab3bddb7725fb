#pragma once
// The desktop's shell: documents and web addresses opened with the program the desktop
// associates with them, and programs started on their own.

#include <string_view>

namespace optera::platform {

class Shell {
  public:
    virtual ~Shell() = default;
    // Opens a document (a Windows path) or an address ("https://...") as a double click would.
    // False when nothing could open it.
    virtual bool Open(std::string_view target) = 0;
    // Starts a program (a Windows path) with one argument, in a window of its own, and does not
    // wait for it. False when it could not be started.
    virtual bool Start(std::string_view program, std::string_view argument) = 0;
};

}  // namespace optera::platform
