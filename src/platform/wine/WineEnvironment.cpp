#include "platform/wine/WineEnvironment.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "platform/WindowsPath.h"
#include "platform/wine/HostFiles.h"
#include "platform/wine/KeyStoreText.h"
#include "text/CodePage.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

std::string HostComputerName() {
    char name[256] = {};
    if (::gethostname(name, sizeof name - 1) != 0) return {};
    // Windows names have no domain part.
    std::string_view host(name);
    return text::ToUpper(host.substr(0, host.find('.')));
}

std::string HostValue(const EnvironmentVariables& host, std::string_view name) {
    auto it = host.find(name);
    return it == host.end() ? std::string() : it->second;
}

// Variables in a map as an Environment, for expanding registry values.
class MapEnvironment : public Environment {
  public:
    explicit MapEnvironment(EnvironmentVariables variables) : variables_(std::move(variables)) {}
    std::string Get(std::string_view name) const override { return HostValue(variables_, name); }

  private:
    EnvironmentVariables variables_;
};

// Replaces `folder` by a registry value that names a folder, expanded as Wine expands it.
void ReadFolder(KeyStore& registry, std::string_view path, std::string_view name,
                std::string& folder) {
    static const MapEnvironment kSystem({{"SystemDrive", "C:"}, {"SystemRoot", "C:\\windows"}});
    auto value = ReadRegistryText(registry, hkey::LocalMachine, path, name);
    if (!value || value->text.empty()) return;
    folder = value->type == regtype::ExpandSz ? ExpandVariables(value->text, kSystem) : value->text;
}

void ReadProfileFolders(KeyStore& registry, WineProfile& profile) {
    constexpr std::string_view kProfiles =
        "Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList";
    constexpr std::string_view kWindows = "Software\\Microsoft\\Windows\\CurrentVersion";
    ReadFolder(registry, kProfiles, "ProfilesDirectory", profile.profilesFolder);
    ReadFolder(registry, kProfiles, "ProgramData", profile.programData);
    ReadFolder(registry, kProfiles, "Public", profile.publicFolder);
    ReadFolder(registry, kWindows, "ProgramFilesDir", profile.programFiles);
    ReadFolder(registry, kWindows, "CommonFilesDir", profile.commonFiles);
    ReadFolder(registry, kWindows, "ProgramFilesDir (x86)", profile.programFilesX86);
    ReadFolder(registry, kWindows, "CommonFilesDir (x86)", profile.commonFilesX86);
}

}  // namespace

EnvironmentVariables HostEnvironment(const char* const* entries) {
    EnvironmentVariables variables;
    for (; entries && *entries; ++entries) {
        std::string_view entry(*entries);
        std::size_t equals = entry.find('=');
        if (equals == 0 || equals == std::string_view::npos) continue;
        variables.emplace(entry.substr(0, equals), entry.substr(equals + 1));
    }
    return variables;
}

EnvironmentVariables ProcessEnvironment() {
    return HostEnvironment(environ);
}

fs::path HostHomeFolder(const EnvironmentVariables& host) {
    std::string home = HostValue(host, "HOME");
    if (!home.empty()) return home;
    const passwd* entry = ::getpwuid(::getuid());
    return entry && entry->pw_dir ? fs::path(entry->pw_dir) : fs::path("/");
}

std::string PrefixUserName(const fs::path& prefix, const EnvironmentVariables& host) {
    const fs::path users = prefix / "drive_c" / "users";
    Folder listing(users);
    while (const char* name = listing.Next()) {
        struct stat st;
        if (name[0] == '.' || text::EqualsNoCase(name, "Public")) continue;
        // Host names are UTF-8; the profile's name is Windows text.
        if (::fstatat(listing.fd(), name, &st, 0) == 0 && S_ISDIR(st.st_mode))
            return text::CodePageFromUtf8(name);
    }
    for (const char* variable : {"USER", "LOGNAME"}) {
        std::string value = HostValue(host, variable);
        if (!value.empty()) return text::CodePageFromUtf8(value);
    }
    return "user";
}

bool PrefixIs64Bit(const fs::path& prefix) {
    // The #arch line sits in the header, before the first key.
    std::ifstream registry(prefix / "system.reg", std::ios::binary);
    std::string line;
    while (std::getline(registry, line) && (line.empty() || line[0] != '[')) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.rfind("#arch=", 0) == 0) return line == "#arch=win64";
    }
    std::error_code error;
    return fs::is_directory(prefix / "drive_c" / "Program Files (x86)", error);
}

WineProfile DetectProfile(const fs::path& prefix, const EnvironmentVariables& host,
                          KeyStore* registry) {
    WineProfile profile;
    profile.userName = PrefixUserName(prefix, host);
    profile.computerName = HostComputerName();
    profile.win64 = PrefixIs64Bit(prefix);
    if (registry) ReadProfileFolders(*registry, profile);
    return profile;
}

WineEnvironment::WineEnvironment(const fs::path& prefix, const EnvironmentVariables& host,
                                 KeyStore* registry)
    : WineEnvironment(DetectProfile(prefix, host, registry), host, registry) {}

// Wine imports the host's variables, then sets its own over them in this order, each step
// expanding against what the steps before it made.
WineEnvironment::WineEnvironment(WineProfile profile, const EnvironmentVariables& host,
                                 KeyStore* registry)
    : profile_(std::move(profile)), variables_(host) {
    SetStartupVariables();
    SetEnvironmentKeyDefaults();
    if (registry) {
        SetEnvironmentKey(*registry, hkey::LocalMachine,
                          "System\\CurrentControlSet\\Control\\Session Manager\\Environment");
        SetEnvironmentKey(*registry, hkey::CurrentUser, "Environment");
    }
    SetSessionVariables();
    SetProgramFolders();
}

std::string WineEnvironment::UserProfile() const {
    return JoinPath(profile_.profilesFolder, profile_.userName);
}

// What Wine sets before it reads any environment from the registry.
void WineEnvironment::SetStartupVariables() {
    Set("SystemDrive", "C:");
    Set("SystemRoot", "C:\\windows");
    if (!profile_.computerName.empty()) Set("COMPUTERNAME", profile_.computerName);
    Set("ALLUSERSPROFILE", profile_.programData);
    Set("ProgramData", profile_.programData);
    Set("PUBLIC", profile_.publicFolder);
    Set("USERNAME", profile_.userName);
    Set("USERPROFILE", UserProfile());
}

// What the machine's and the user's environment keys of a new prefix hold.
void WineEnvironment::SetEnvironmentKeyDefaults() {
    Set("windir", Expand("%SystemRoot%"));
    Set("OS", "Windows_NT");
    Set("TEMP", Expand("%USERPROFILE%\\AppData\\Local\\Temp"));
    Set("TMP", Expand("%USERPROFILE%\\AppData\\Local\\Temp"));
}

// Wine sets a key's plain strings first, then its expandable ones, each expanded against what
// is set by then.
void WineEnvironment::SetEnvironmentKey(KeyStore& registry, HKEY root, std::string_view path) {
    const auto values = ReadRegistryTexts(registry, root, path);
    for (DWORD type : {regtype::Sz, regtype::ExpandSz})
        for (const auto& [name, value] : values)
            if (value.type == type)
                Set(name, type == regtype::ExpandSz ? Expand(value.text) : value.text);
}

// The logged-on user's values, which Windows keeps in a key that is never saved.
void WineEnvironment::SetSessionVariables() {
    const std::string profileFolder = UserProfile();
    char drive = DriveLetterOf(profileFolder);
    Set("HOMEDRIVE", drive ? std::string{drive, ':'} : std::string());
    Set("HOMEPATH", drive ? profileFolder.substr(2) : profileFolder);
    Set("APPDATA", JoinPath(profileFolder, "AppData\\Roaming"));
    Set("LOCALAPPDATA", JoinPath(profileFolder, "AppData\\Local"));
}

// A 64-bit prefix has a second set of program folders for 32-bit programs. Optera answers
// registry questions as a 32-bit program does on such a system (its recipes were written for
// one), so it sees the 32-bit folders as %ProgramFiles%, the 64-bit ones as %ProgramW6432%.
void WineEnvironment::SetProgramFolders() {
    Set("ProgramFiles", profile_.win64 ? profile_.programFilesX86 : profile_.programFiles);
    Set("CommonProgramFiles", profile_.win64 ? profile_.commonFilesX86 : profile_.commonFiles);
    if (!profile_.win64) return;
    Set("ProgramFiles(x86)", profile_.programFilesX86);
    Set("CommonProgramFiles(x86)", profile_.commonFilesX86);
    Set("ProgramW6432", profile_.programFiles);
    Set("CommonProgramW6432", profile_.commonFiles);
}

std::string WineEnvironment::Get(std::string_view name) const {
    auto it = variables_.find(name);
    return it == variables_.end() ? std::string() : it->second;
}

void WineEnvironment::Set(std::string_view name, std::string value) {
    // Keep the spelling of a name already there, as Windows does.
    auto it = variables_.find(name);
    if (it == variables_.end())
        variables_.emplace(std::string(name), std::move(value));
    else
        it->second = std::move(value);
}

std::string WineEnvironment::Expand(std::string_view text) const {
    return ExpandVariables(text, *this);
}

std::string ExpandVariables(std::string_view text, const Environment& environment) {
    std::string out;
    while (!text.empty()) {
        std::size_t open = text.find('%');
        std::size_t close = open == std::string_view::npos ? open : text.find('%', open + 1);
        if (close == std::string_view::npos) {
            out += text;
            break;
        }
        out += text.substr(0, open);
        std::string value = environment.Get(text.substr(open + 1, close - open - 1));
        out += value.empty() ? text.substr(open, close - open + 1) : std::string_view(value);
        text.remove_prefix(close + 1);
    }
    return out;
}

}  // namespace optera::platform
