#pragma once
// Desktop shortcuts on a Linux desktop: a freedesktop launcher "<link name>.desktop" in the
// user's desktop folder that starts the game with Wine in this prefix.

#include <filesystem>
#include <string>
#include <vector>

#include "platform/DesktopShortcuts.h"
#include "platform/wine/WineEnvironment.h"
#include "platform/wine/WineFileSystem.h"

namespace optera::platform {

class WineDesktopShortcuts : public DesktopShortcuts {
  public:
    // `host` is the environment of this process (HOME, XDG_DESKTOP_DIR, XDG_CONFIG_HOME).
    WineDesktopShortcuts(const WineFileSystem& files, EnvironmentVariables host)
        : files_(files), host_(std::move(host)) {}

    bool Create(std::string_view linkName, const ShellLink& link) override;
    void Remove(std::string_view linkName) override;
    std::string LastError() const override { return lastError_; }

    // $XDG_DESKTOP_DIR, else the desktop entry of the user's user-dirs.dirs, else ~/Desktop.
    std::filesystem::path DesktopFolder() const;
    // The launcher file of a link name ("/" cannot stand in a file name and becomes "-").
    std::filesystem::path LauncherPath(std::string_view linkName) const;
    // The launcher's text, or nullopt when the target is on no drive of the prefix.
    std::optional<std::string> LauncherText(std::string_view linkName, const ShellLink& link) const;

  private:
    const WineFileSystem& files_;
    EnvironmentVariables host_;
    std::string lastError_;
};

// The words of a Windows command line, split as programs split theirs: blanks separate words
// outside double quotes; a backslash run before a quote is halved and an odd one keeps the quote.
std::vector<std::string> SplitWindowsCommandLine(std::string_view commandLine);

// One argument of a launcher's Exec line, quoted where it must be and escaped as the value of a
// desktop entry ("a b" -> "\"a b\"", a backslash inside quotes -> four).
std::string ExecArgument(std::string_view argument);

}  // namespace optera::platform
