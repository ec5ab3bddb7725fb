#include <filesystem>

#include "platform/wine/WineEnvironment.h"
#include "platform/wine/WineMachine.h"
#include "platform/wine/WineSpecialFolders.h"
#include "support/WinePrefix.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

using WineEnvironmentTest = optera::testing::WinePrefixTest;

TEST_F(WineEnvironmentTest, GivesWinesValuesForThePrefixUser) {
    WineEnvironment environment(prefix(), {{"USER", "bob"}});
    const std::pair<const char*, const char*> rows[] = {
        {"SystemDrive", "C:"},
        {"SYSTEMROOT", "C:\\windows"},
        {"windir", "C:\\windows"},
        {"username", "alice"},
        {"USERPROFILE", "C:\\users\\alice"},
        {"HOMEDRIVE", "C:"},
        {"HOMEPATH", "\\users\\alice"},
        {"AppData", "C:\\users\\alice\\AppData\\Roaming"},
        {"LOCALAPPDATA", "C:\\users\\alice\\AppData\\Local"},
        {"TEMP", "C:\\users\\alice\\AppData\\Local\\Temp"},
        {"TMP", "C:\\users\\alice\\AppData\\Local\\Temp"},
        // Optera sees the folders as a 32-bit program on a 64-bit system sees them.
        {"ProgramFiles", "C:\\Program Files (x86)"},
        {"ProgramFiles(x86)", "C:\\Program Files (x86)"},
        {"ProgramW6432", "C:\\Program Files"},
        {"CommonProgramFiles", "C:\\Program Files (x86)\\Common Files"},
        {"CommonProgramW6432", "C:\\Program Files\\Common Files"},
        {"ProgramData", "C:\\ProgramData"},
        {"ALLUSERSPROFILE", "C:\\ProgramData"},
        {"PUBLIC", "C:\\users\\Public"},
        {"OS", "Windows_NT"},
    };
    for (auto [name, value] : rows) EXPECT_EQ(environment.Get(name), value) << name;
    EXPECT_EQ(environment.Get("COMPUTERNAME"),
              optera::text::ToUpper(environment.Get("COMPUTERNAME")));
}

TEST_F(WineEnvironmentTest, WinesValuesWinOverTheHosts) {
    const char* const host[] = {
        "WINDIR=/host/windows", "TEMP=/tmp", "HOME=/home/alice", "Path=/usr/bin",
        "PATH=/later",          "=C:=C:\\",  "NOEQUALS",         nullptr};
    WineEnvironment environment(prefix(), HostEnvironment(host));
    EXPECT_EQ(environment.Get("windir"), "C:\\windows");
    EXPECT_EQ(environment.Get("temp"), "C:\\users\\alice\\AppData\\Local\\Temp");
    EXPECT_EQ(environment.Get("HOME"), "/home/alice");
    EXPECT_EQ(environment.Get("PATH"), "/usr/bin");
    EXPECT_EQ(environment.Get("NOEQUALS"), "");
    EXPECT_EQ(environment.Get("NoSuchVariable"), "");
}

TEST_F(WineEnvironmentTest, FindsTheUserAndTheWidthOfThePrefix) {
    struct Row {
        const char* users;  // folders made under drive_c/users
        EnvironmentVariables host;
        const char* systemReg;  // nullptr: none
        bool programFilesX86;
        std::string user;
        bool win64;
    };
    const Row rows[] = {
        {"Public,steamuser", {{"USER", "bob"}}, "#arch=win32\n", true, "steamuser", false},
        {"Public",
         {{"USER", "bob"}},
         "WINE REGISTRY Version 2\r\n#arch=win64\r\n",
         false,
         "bob",
         true},
        {"", {{"LOGNAME", "carol"}}, nullptr, true, "carol", true},
        {"Jos\xc3\xa9", {}, nullptr, true, "Jos\xe9", true},  // UTF-8 on the host
        {"", {}, "WINE REGISTRY Version 2\n[Software] 1\n#arch=win64\n", false, "user", false},
    };
    for (const Row& row : rows) {
        optera::testing::TempFolder other;
        std::string_view users = row.users;
        while (!users.empty()) {
            std::size_t comma = users.find(',');
            fs::create_directories(other.path() / "drive_c/users" / users.substr(0, comma));
            users.remove_prefix(comma == std::string_view::npos ? users.size() : comma + 1);
        }
        if (row.systemReg) other.Write("system.reg", row.systemReg);
        if (row.programFilesX86)
            fs::create_directories(other.path() / "drive_c/Program Files (x86)");
        EXPECT_EQ(PrefixUserName(other.path(), row.host), row.user) << row.users;
        EXPECT_EQ(PrefixIs64Bit(other.path()), row.win64) << row.users;
        WineEnvironment environment(other.path(), row.host);
        EXPECT_EQ(environment.Get("ProgramFiles(x86)").empty(), !row.win64) << row.users;
    }
}

TEST_F(WineEnvironmentTest, ExpandsKnownNamesOnly) {
    WineEnvironment environment(prefix(), {});
    const std::pair<const char*, const char*> rows[] = {
        {"%UserProfile%\\Saves", "C:\\users\\alice\\Saves"},
        {"%NOPE%\\x", "%NOPE%\\x"},
        {"50% of %SystemDrive%", "50% of %SystemDrive%"},
        {"%SystemDrive%%windir%", "C:C:\\windows"},
        {"100%", "100%"},
        {"%%", "%%"},
    };
    for (auto [text, expanded] : rows) EXPECT_EQ(environment.Expand(text), expanded) << text;
}

TEST_F(WineEnvironmentTest, SpecialFoldersFollowThePrefixUser) {
    WineEnvironment environment(prefix(), {{"USER", "bob"}});
    WineSpecialFolders folders(environment);
    const std::pair<int, const char*> rows[] = {
        {csidl::Desktop, "C:\\users\\alice\\Desktop"},
        {csidl::Personal, "C:\\users\\alice\\Documents"},
        {csidl::Programs,
         "C:\\users\\alice\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs"},
        {csidl::LocalAppData, "C:\\users\\alice\\AppData\\Local"},
        {csidl::Cookies, "C:\\users\\alice\\AppData\\Local\\Microsoft\\Windows\\INetCookies"},
        {csidl::Fonts, "C:\\windows\\Fonts"},
        {csidl::System, "C:\\windows\\system32"},
        {csidl::ProgramFiles, "C:\\Program Files (x86)"},
        {csidl::ProgramFilesCommon, "C:\\Program Files (x86)\\Common Files"},
        {csidl::CommonAppData, "C:\\ProgramData"},
        {csidl::CommonPrograms, "C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs"},
        {csidl::CommonDesktopDirectory, "C:\\users\\Public\\Desktop"},
        {csidl::Profile, "C:\\users\\alice"},
    };
    for (auto [id, path] : rows) EXPECT_EQ(folders.Path(id), path) << id;
    EXPECT_EQ(folders.Path(99), std::nullopt);
}

TEST_F(WineEnvironmentTest, MachineJoinsThePartsOfOnePrefix) {
    WineMachine wine(prefix(), {}, prefix() / "settings.ini");
    Machine machine = wine.machine();
    EXPECT_EQ(machine.files.ReadAll("C:\\Games\\Sample\\Bin\\Sample.exe"), "MZ");
    EXPECT_EQ(machine.specialFolders.Path(csidl::AppData), machine.environment.Get("APPDATA"));
    EXPECT_TRUE(machine.userSettings.Set("Optera", "Options", "Restart", "1"));
    EXPECT_EQ(temp.Read("settings.ini"), "Optera\\Options\\Restart=1\n");
    EXPECT_EQ(WineMachine::DefaultPrefix({{"WINEPREFIX", "/games/pfx"}, {"HOME", "/home/a"}}),
              "/games/pfx");
    EXPECT_EQ(WineMachine::DefaultPrefix({{"WINEPREFIX", ""}, {"HOME", "/home/a"}}),
              "/home/a/.wine");
}

}  // namespace
