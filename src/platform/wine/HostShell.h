#pragma once
// The desktop's shell on Linux, for a Wine prefix: documents and addresses go to `xdg-open`
// (the desktop's default program for them); programs start with Wine in the prefix, except the
// system's text editor (notepad.exe), for which the user's own editor ($VISUAL, then $EDITOR)
// is taken when one is set.

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

  private:
    // A Windows path (quotes allowed) as a host path; the text itself when it is not one.
    std::string HostPathOf(std::string_view path) const;
    std::vector<std::string> Environment() const;

    const WineFileSystem& files_;
    EnvironmentVariables host_;
};

// Starts a program with its arguments and the given environment; it runs on after we return.
// With `waitSeconds` above 0 waits up to that long for it to end: false when it ended with a
// status other than 0. False whenever the program could not be started at all.
bool RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
                int waitSeconds);

}  // namespace optera::platform
