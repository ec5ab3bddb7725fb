#pragma once
// Desktop shortcuts that start a game: made at the end of an optimization, removed by a restore.
// On Windows a shell link; on Linux a desktop launcher that starts the game with Wine.

#include <string>
#include <string_view>

namespace optera::platform {

// What a shortcut holds. Paths are Windows paths on the machine.
struct ShellLink {
    std::string Arguments;
    std::string Description;
    std::string Hotkey;
    std::string IconLocation;
    std::string TargetPath;
    int WindowStyle = 1;  // a normal window
    std::string WorkingDirectory;

    bool operator==(const ShellLink&) const = default;
};

class DesktopShortcuts {
  public:
    virtual ~DesktopShortcuts() = default;
    // Makes the shortcut, or replaces one of that name, on the current user's desktop.
    virtual bool Create(std::string_view linkName, const ShellLink& link) = 0;
    // Why the last Create failed, in plain words for the user; "" when it cannot be told.
    virtual std::string LastError() const { return {}; }
    // Removes the user's shortcut of that name, if there is one.
    virtual void Remove(std::string_view linkName) = 0;
};

}  // namespace optera::platform
