#pragma once
// The desktop's shell on Linux, for a Wine prefix: documents and addresses go to `xdg-open`
// (the desktop's default program for them); programs start with Wine in the prefix, except the
// system's text editor (notepad.exe), for which the user's own editor ($VISUAL, then $EDITOR)
// is taken when one is set. Everything started runs on its own and the call returns as soon as
// it has started, except the user's editor for a program run on a terminal: that editor is
// most likely a terminal program, so it gets the terminal and the call waits until it ends.

#include <string>
#include <vector>

#include "platform/Shell.h"
#include "platform/wine/WineEnvironment.h"
#include "platform/wine/WineFileSystem.h"

namespace optera::platform {

class HostShell : public Shell {
  public:
    HostShell(const WineFileSystem& files, EnvironmentVariables host)
        : files_(files), host_(std::move(host)) {}

    bool Open(std::string_view target) override;
    bool Start(std::string_view program, std::string_view argument) override;

    // Whether the program runs on a terminal the user types at (the command line does).
    void UseTerminal(bool terminal) { terminal_ = terminal; }

  private:
    // A Windows path (quotes allowed) as a host path; the text itself when it is not one.
    std::string HostPathOf(std::string_view path) const;
    std::vector<std::string> Environment() const;
    // The user's editor ($VISUAL, then $EDITOR) opening a host file; empty when none is set.
    std::vector<std::string> EditorCommand(const std::string& hostFile) const;

    const WineFileSystem& files_;
    EnvironmentVariables host_;
    bool terminal_ = false;
};

enum class Launch {
    Detached,    // on its own, without the terminal; the call returns once it has started
    Foreground,  // on our terminal; the call waits for it to end
};

// Starts a program with its arguments and the given environment. False when it could not be
// started at all, or (in the foreground) when it ended with a status other than 0.
bool RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
                Launch launch);

}  // namespace optera::platform
