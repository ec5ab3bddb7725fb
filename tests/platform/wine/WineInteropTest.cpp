// What WineKeyStore writes is what Wine reads, and the other way round, on a prefix that real
// Wine makes. Skipped when Wine is not installed. One prefix serves every case, since making
// one takes Wine several seconds.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "HivePrefix.h"
#include "platform/wine/WineFileSystem.h"
#include "platform/wine/WineKeyStore.h"
#include "platform/wine/WineServerLock.h"
#include "services/RegEditFormat.h"

using namespace optera::platform;
using namespace optera::testing;
namespace fs = std::filesystem;

namespace {

bool OnPath(const char* program) {
    return std::system(("command -v " + std::string(program) + " >/dev/null").c_str()) == 0;
}

// Runs a shell command with the prefix as WINEPREFIX and Wine's messages off; its exit status,
// and what it printed when `out` is given (else its output is dropped, so that a server it
// starts does not hold the pipe open).
int Shell(const fs::path& prefix, const std::string& command, std::string* out = nullptr) {
    const std::string line = "export WINEPREFIX='" + prefix.string() + "' WINEDEBUG=-all; (" +
                             command + ")" + (out ? " 2>/dev/null" : " >/dev/null 2>&1");
    FILE* pipe = ::popen(line.c_str(), "r");
    if (!pipe) return -1;
    std::string printed;
    char buffer[4096];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        printed.append(buffer, got);
    const int status = ::pclose(pipe);
    if (out) *out = printed;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Stops the prefix's server and removes the folders of its lock, whatever the test did.
struct ServerCleanup {
    ~ServerCleanup() {
        Shell(prefix, "wineserver -k; wineserver -w");
        std::error_code ignored;
        std::vector<fs::path> folders = WineServerFolders(prefix);
        for (const fs::path& folder : folders) fs::remove_all(folder, ignored);
        if (folders.size() > 1) fs::remove(folders[1].parent_path(), ignored);
    }
    fs::path prefix;
};

TEST(WineInterop, RegistryPassesBothWaysAndALiveServerIsRespected) {
    const std::string wine = OnPath("wine") ? "wine" : "wine64";
    if (!OnPath(wine.c_str()) || !OnPath("wineboot") || !OnPath("wineserver"))
        GTEST_SKIP() << "Wine is not installed: wine (or wine64), wineboot and wineserver must "
                        "be on PATH";
    TempFolder temp;
    const fs::path prefix = temp.path() / "pfx";
    ServerCleanup cleanup{prefix};
    const auto start = std::chrono::steady_clock::now();
    auto seconds = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    ASSERT_EQ(Shell(prefix, "wineboot -i && wineserver -w"), 0);
    const double booted = seconds();

    WineKeyStore store(prefix);
    ASSERT_EQ(store.WhyNotWritable(), "");
    ASSERT_TRUE(store.IsWow64Process());

    // Values of each type written here, as `reg query` shows them.
    struct Ours {
        const char* name;
        DWORD type;
        std::string bytes;
        std::string shown;
    };
    const Ours ours[] = {
        {"Sz", regtype::Sz, Sz("plain text"), "Sz    REG_SZ    plain text"},
        // Counted without its NUL, as a program writing a string's characters counts it.
        {"Counted", regtype::Sz, "1920x1080", "Counted    REG_SZ    1920x1080"},
        {"Expand", regtype::ExpandSz, Sz("%SystemRoot%\\x"),
         "Expand    REG_EXPAND_SZ    %SystemRoot%\\x"},
        {"Multi", regtype::MultiSz, std::string("one\0two\0\0", 9),
         "Multi    REG_MULTI_SZ    one\\0two"},
        {"Dword", regtype::Dword, std::string("\x2a\0\0\0", 4), "Dword    REG_DWORD    0x2a"},
        {"Binary", regtype::Binary, "\x01\x02\xff", "Binary    REG_BINARY    0102FF"},
    };
    for (const Ours& value : ours)
        ASSERT_EQ(Write(store, hkey::CurrentUser, "Software\\Optera\\Ours", value.name, value.type,
                        value.bytes),
                  0)
            << value.name;
    ASSERT_EQ(Write(store, hkey::LocalMachine, "Software\\Optera", "View", regtype::Sz, Sz("32")),
              0);
    // With a Wow6432Node inside Wow6432Node, a 32-bit path naming the node still means the key
    // Wine's 32-bit view finds there.
    ASSERT_EQ(Write(store, hkey::LocalMachine, "Software\\Wow6432Node\\Wow6432Node", "",
                    regtype::Sz, Sz("nested"), regaccess::Wow64_64Key),
              0);
    ASSERT_EQ(Write(store, hkey::LocalMachine, "Software\\Wow6432Node\\Optera", "Named",
                    regtype::Sz, Sz("node")),
              0);

    EXPECT_NE(temp.Read("pfx/user.reg").find("\n\"Counted\"=\"1920x1080\"\n"), std::string::npos);

    // A live server: writes are refused and leave the files as they are.
    const std::string system = temp.Read("pfx/system.reg"), user = temp.Read("pfx/user.reg");
    ASSERT_EQ(Shell(prefix, "wineserver -p"), 0);
    for (int i = 0; i < 100 && !FindWineServer(prefix).running; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_NE(store.WhyNotWritable().find("Wine is running in this prefix"), std::string::npos);
    EXPECT_EQ(
        Write(store, hkey::CurrentUser, "Software\\Optera\\Ours", "Late", regtype::Sz, Sz("x")), 5);
    HKEY key = 0;
    ASSERT_EQ(store.RegOpenKeyExA(hkey::CurrentUser, "Software\\Optera\\Ours", 0, 0xF003F, &key),
              0);
    EXPECT_EQ(store.RegDeleteValueA(key, "Sz"), 5);
    store.RegCloseKey(key);
    EXPECT_EQ(temp.Read("pfx/system.reg"), system);
    EXPECT_EQ(temp.Read("pfx/user.reg"), user);

    // Wine reads what was written here.
    std::string shown;
    EXPECT_EQ(Shell(prefix, wine + " reg query 'HKCU\\Software\\Optera\\Ours'", &shown), 0);
    for (const Ours& value : ours)
        EXPECT_NE(shown.find("    " + value.shown + "\r\n"), std::string::npos)
            << value.name << " in:\n"
            << shown;
    EXPECT_EQ(Shell(prefix, wine + " reg query 'HKLM\\Software\\Optera' /reg:32", &shown), 0);
    EXPECT_NE(shown.find("    View    REG_SZ    32\r\n"), std::string::npos) << shown;
    EXPECT_EQ(
        Shell(prefix, wine + " reg query 'HKLM\\Software\\Wow6432Node\\Optera' /reg:32", &shown),
        0);
    EXPECT_NE(shown.find("    Named    REG_SZ    node\r\n"), std::string::npos) << shown;
    EXPECT_NE(Shell(prefix, wine + " reg query 'HKLM\\Software\\Optera' /reg:64"), 0);

    // And here is read what Wine wrote, once its server saved it.
    struct Theirs {
        const char* name;
        const char* type;
        const char* data;
        ReadValue read;
    };
    const Theirs theirs[] = {
        {"Sz", "REG_SZ", "caf\xc3\xa9 \xe2\x82\xac", {regtype::Sz, Sz("caf\xe9 \x80")}},
        {"Expand", "REG_EXPAND_SZ", "%TEMP%\\y", {regtype::ExpandSz, Sz("%TEMP%\\y")}},
        {"Multi", "REG_MULTI_SZ", "a\\0b", {regtype::MultiSz, std::string("a\0b\0\0", 5)}},
        {"Dword", "REG_DWORD", "42", {regtype::Dword, std::string("\x2a\0\0\0", 4)}},
        {"Binary", "REG_BINARY", "0a0b", {regtype::Binary, "\x0a\x0b"}},
    };
    for (const Theirs& value : theirs)
        ASSERT_EQ(Shell(prefix, wine + " reg add 'HKCU\\Software\\Optera\\Theirs' /f /v " +
                                    value.name + " /t " + value.type + " /d '" + value.data + "'"),
                  0)
            << value.name;
    ASSERT_EQ(Shell(prefix, wine + " reg add 'HKLM\\Software\\Optera' /v Theirs32 /d x86 /reg:32"),
              0);
    ASSERT_EQ(Shell(prefix, wine + " reg add 'HKLM\\Software\\Wow6432Node\\Optera' /v Nested /d n "
                                   "/reg:32"),
              0);
    ASSERT_EQ(Shell(prefix, "wineserver -k && wineserver -w"), 0);
    EXPECT_EQ(store.WhyNotWritable(), "");
    for (const Theirs& value : theirs)
        EXPECT_EQ(Read(store, hkey::CurrentUser, "Software\\Optera\\Theirs", value.name),
                  value.read)
            << value.name;
    EXPECT_EQ(ReadText(store, hkey::LocalMachine, "Software\\Optera", "Theirs32"), "x86");
    EXPECT_EQ(ReadText(store, hkey::LocalMachine, "Software\\Wow6432Node\\Optera", "Nested"), "n");
    EXPECT_EQ(
        ReadText(store, hkey::LocalMachine, "Software\\Optera", "Theirs32", regaccess::Wow64_64Key),
        "<missing>");
    EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Software\\Optera\\Ours", "Sz"), "plain text");

    // .reg files: what the registry editor saves, we load; what we save, it loads.
    WineFileSystem files(prefix);
    ASSERT_EQ(Shell(prefix, wine + " regedit /e 'C:\\theirs.reg' "
                                   "'HKEY_CURRENT_USER\\Software\\Optera\\Theirs'"),
              0);
    ASSERT_EQ(Shell(prefix, "wineserver -k; wineserver -w"), 0);
    EXPECT_EQ(files.ReadAll("C:\\ours-theirs.reg"), std::nullopt);
    ASSERT_TRUE(optera::services::ExportRegistryKey(
        store, files, "HKEY_CURRENT_USER\\Software\\Optera\\Theirs", "C:\\ours-theirs.reg"));
    EXPECT_EQ(files.ReadAll("C:\\ours-theirs.reg"), files.ReadAll("C:\\theirs.reg"))
        << "our file is the registry editor's, byte for byte";
    ASSERT_EQ(Write(store, hkey::CurrentUser, "Software\\Optera\\Theirs", "Dword", regtype::Dword,
                    std::string("\x07\0\0\0", 4)),
              0);
    ASSERT_TRUE(optera::services::ImportRegistryFile(store, files, "C:\\theirs.reg"));
    for (const Theirs& value : theirs)
        EXPECT_EQ(Read(store, hkey::CurrentUser, "Software\\Optera\\Theirs", value.name),
                  value.read)
            << value.name << " after loading the editor's file";

    ASSERT_TRUE(optera::services::ExportRegistryKey(
        store, files, "HKEY_CURRENT_USER\\Software\\Optera\\Ours", "C:\\ours.reg"));
    ASSERT_EQ(
        Write(store, hkey::CurrentUser, "Software\\Optera\\Ours", "Sz", regtype::Sz, Sz("changed")),
        0);
    ASSERT_EQ(Shell(prefix, wine + " regedit /s 'C:\\ours.reg'"), 0);
    EXPECT_EQ(Shell(prefix, wine + " reg query 'HKCU\\Software\\Optera\\Ours'", &shown), 0);
    for (const Ours& value : ours)
        EXPECT_NE(shown.find("    " + std::string(value.shown) + "\r\n"), std::string::npos)
            << value.name << " after the editor loaded our file:\n"
            << shown;

    // Names and strings beyond the code page: our file is the registry editor's, byte for
    // byte, and the editor loads it whole.
    ASSERT_EQ(Shell(prefix, "wineserver -k; wineserver -w"), 0);
    const std::u16string name = u"\u0418\u043c\u044f";
    const std::u16string text = u"\U0001F30E \u0416";
    std::vector<std::uint8_t> data;
    for (char16_t unit : text + u'\0')
        data.insert(data.end(),
                    {static_cast<std::uint8_t>(unit), static_cast<std::uint8_t>(unit >> 8)});
    HKEY wide = 0;
    ASSERT_EQ(store.RegCreateKeyExW(hkey::CurrentUser, u"Software\\Optera\\Wide\\\u65e5\u672c",
                                    0xF003F | regaccess::Wow64_64Key, &wide, nullptr),
              0);
    ASSERT_EQ(store.RegSetValueExW(wide, name, regtype::Sz, data), 0);
    store.RegCloseKey(wide);
    ASSERT_EQ(Shell(prefix, wine + " regedit /e 'C:\\wide-theirs.reg' "
                                   "'HKEY_CURRENT_USER\\Software\\Optera\\Wide'"),
              0);
    ASSERT_EQ(Shell(prefix, "wineserver -k; wineserver -w"), 0);
    ASSERT_TRUE(optera::services::ExportRegistryKey(
        store, files, "HKEY_CURRENT_USER\\Software\\Optera\\Wide", "C:\\wide-ours.reg"));
    EXPECT_EQ(files.ReadAll("C:\\wide-ours.reg"), files.ReadAll("C:\\wide-theirs.reg"));
    ASSERT_EQ(store.RegOpenKeyExW(hkey::CurrentUser, u"Software\\Optera\\Wide\\\u65e5\u672c", 0,
                                  0xF003F | regaccess::Wow64_64Key, &wide),
              0);
    ASSERT_EQ(store.RegDeleteValueW(wide, name), 0);
    store.RegCloseKey(wide);
    ASSERT_EQ(Shell(prefix, wine + " regedit /s 'C:\\wide-ours.reg'"), 0);
    ASSERT_EQ(Shell(prefix, "wineserver -k; wineserver -w"), 0);
    ASSERT_EQ(store.RegOpenKeyExW(hkey::CurrentUser, u"Software\\Optera\\Wide\\\u65e5\u672c", 0,
                                  regaccess::Read | regaccess::Wow64_64Key, &wide),
              0);
    DWORD type = 0;
    std::vector<std::uint8_t> loaded;
    EXPECT_EQ(store.RegQueryValueExW(wide, name, type, loaded), 0);
    EXPECT_EQ(loaded, data) << "the registry editor loaded our file";
    store.RegCloseKey(wide);

    std::printf("wineboot and first save: %.1f s; whole test: %.1f s\n", booted, seconds());
}

}  // namespace
