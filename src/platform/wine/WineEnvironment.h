#pragma once
// The Windows environment that a process started in a Wine prefix sees. Wine starts from the
// host process's environment and lays its own variables over it; the folders in them follow the
// prefix's user and width (WineProfile). Given the prefix's registry, the folders and variables
// are those the registry names, as Wine takes them from there.

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "platform/Environment.h"
#include "platform/KeyStore.h"
#include "text/NoCase.h"

namespace optera::platform {

// Variables by name, names compared without regard to case as Windows compares them.
using EnvironmentVariables = std::map<std::string, std::string, text::LessNoCase>;

// The variables of a "NAME=value" list ending in a null pointer, as `environ` is. Of names that
// differ only in case the first one counts.
EnvironmentVariables HostEnvironment(const char* const* entries);
// The variables of this process.
EnvironmentVariables ProcessEnvironment();
// The host user's home folder: $HOME, else the account's home folder, else "/".
std::filesystem::path HostHomeFolder(const EnvironmentVariables& host);

// What the standard folders of a prefix follow. The folder values are the places Wine gives a
// new prefix.
struct WineProfile {
    std::string userName = "user";
    std::string computerName;
    bool win64 = false;
    std::string profilesFolder = "C:\\users";
    std::string programData = "C:\\ProgramData";
    std::string publicFolder = "C:\\users\\Public";
    std::string programFiles = "C:\\Program Files";
    std::string programFilesX86 = "C:\\Program Files (x86)";
    std::string commonFiles = "C:\\Program Files\\Common Files";
    std::string commonFilesX86 = "C:\\Program Files (x86)\\Common Files";
};

// The user of a prefix: the first folder in directory order under `drive_c/users` other than
// `Public`; without one the host's $USER or $LOGNAME; else "user".
std::string PrefixUserName(const std::filesystem::path& prefix, const EnvironmentVariables& host);
// A prefix is 64-bit when its system.reg says `#arch=win64`; a system.reg without an #arch
// line leaves it to whether `drive_c/Program Files (x86)` exists.
bool PrefixIs64Bit(const std::filesystem::path& prefix);
// The profile of a prefix with Wine's default folders, its user and width, and this host's name.
// With a registry, the folders of its ProfileList (ProfilesDirectory, ProgramData, Public) and
// of HKLM\Software\Microsoft\Windows\CurrentVersion (ProgramFilesDir, CommonFilesDir and
// their "(x86)" forms) replace the defaults.
WineProfile DetectProfile(const std::filesystem::path& prefix, const EnvironmentVariables& host,
                          KeyStore* registry = nullptr);

class WineEnvironment : public Environment {
  public:
    // With a registry, the values of the machine's and the user's environment keys are laid
    // over the defaults those keys hold in a new prefix. The registry is only read here.
    WineEnvironment(const std::filesystem::path& prefix, const EnvironmentVariables& host,
                    KeyStore* registry = nullptr);
    WineEnvironment(WineProfile profile, const EnvironmentVariables& host,
                    KeyStore* registry = nullptr);

    std::string Get(std::string_view name) const override;

    // Gives a variable a value, replacing the one it had.
    void Set(std::string_view name, std::string value);
    // Replaces each %NAME% in the text by the variable's value (see ExpandVariables).
    std::string Expand(std::string_view text) const;

    const WineProfile& profile() const { return profile_; }
    const EnvironmentVariables& variables() const { return variables_; }

  private:
    void SetStartupVariables();
    void SetEnvironmentKeyDefaults();
    void SetEnvironmentKey(KeyStore& registry, HKEY root, std::string_view path);
    void SetSessionVariables();
    void SetProgramFolders();
    std::string UserProfile() const;

    WineProfile profile_;
    EnvironmentVariables variables_;
};

// Replaces each %NAME% by the variable's value as Windows expands environment strings: a name
// without a value, or a '%' without its closing one, stays as written.
std::string ExpandVariables(std::string_view text, const Environment& environment);

}  // namespace optera::platform
