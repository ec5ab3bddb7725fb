#include <sys/stat.h>

#include <filesystem>
#include <tuple>
#include <utility>

#include "HivePrefix.h"
#include "platform/wine/WineKeyStore.h"
#include "platform/wine/WineServerLock.h"

using namespace optera::platform;
using namespace optera::testing;
namespace fs = std::filesystem;

namespace {

constexpr REGSAM k64 = regaccess::Wow64_64Key;

// Shared and redirected classes, a link, views of a vendor key, an empty leaf key and a
// control set that only Wine's implied CurrentControlSet link reaches.
std::string MachineBody() {
    return "[Software\\\\Classes\\\\.txt] 1700000000\n#time=1da1b2c3d4e5f60\n@=\"txtfile\"\n\n"
           "[Software\\\\Classes\\\\AppId\\\\{App}] 1700000000\n@=\"shared app\"\n\n"
           "[Software\\\\Classes\\\\CLSID\\\\{Both}] 1700000000\n@=\"64-bit\"\n\n"
           "[Software\\\\Classes\\\\CLSID\\\\{Only64}] 1700000000\n@=\"only 64\"\n\n"
           "[Software\\\\Classes\\\\Wow6432Node\\\\AppId] 1700000000\n#link\n"
           "\"SymbolicLinkValue\"=" +
           LinkData("\\Registry\\Machine\\Software\\Classes\\AppId") +
           "\n\n"
           "[Software\\\\Classes\\\\Wow6432Node\\\\CLSID\\\\{Both}] 1700000000\n@=\"32-bit\"\n\n"
           "[Software\\\\Vendor\\\\Game] 1700000000\n\"Path\"=\"C:\\\\Games\\\\64\"\n\n"
           "[Software\\\\Wow6432Node\\\\Vendor\\\\Empty] 1700000000\n\n"
           "[Software\\\\Wow6432Node\\\\Vendor\\\\Game] 1700000000\n"
           "\"Path\"=\"C:\\\\Games\\\\32\"\n\n"
           "[System\\\\ControlSet001\\\\Control\\\\Session Manager\\\\Environment] 1700000000\n"
           "\"OS\"=\"Windows_NT\"\n\n"
           "[System\\\\ControlSet001\\\\Hardware Profiles\\\\Current\\\\Software\\\\Fonts] "
           "1700000000\n\"LogPixels\"=dword:00000060\n";
}

class WineKeyStoreTest : public WinePrefixTest {
  protected:
    // Replaces a hive file as Wine does, by renaming a new file over it.
    void Replace(const char* file, const std::string& text) {
        fs::rename(temp.Write("new.tmp", text), prefix() / file);
    }
    void UseArch(std::string_view arch) { Replace("system.reg", HiveText(arch, MachineBody())); }
    WineKeyStoreTest() {
        UseArch("win64");
        Replace("user.reg",
                HiveText("win64",
                         "[Order\\\\b] 1700000000\n\"zeta\"=\"z\"\n\"Alpha\"=\"first\"\n"
                         "\"beta\"=\"b\"\n\"alpha\"=\"last\"\n\n"
                         "[Order\\\\aB] 1700000000\n\n[Order\\\\A] 1700000000\n\n"
                         "[Order\\\\a_b] 1700000000\n\n[Order\\\\abc] 1700000000\n\n"
                         "[Order\\\\B\\\\Child] 1700000000\n\n"
                         "[Text] 1700000000\n\"Caf\\x00e9\"=\"\\x20ac5 \\x65e5\"\n",
                         "\\\\User\\\\S-1-5-21-0-0-0-1000"));
    }
    ~WineKeyStoreTest() override {
        // Writing takes the wineserver's lock, which leaves its folder behind.
        std::error_code ignored;
        for (const fs::path& folder : WineServerFolders(prefix())) fs::remove_all(folder, ignored);
    }
    struct stat Stat(const char* file) const {
        struct stat st {};
        ::stat((prefix() / file).c_str(), &st);
        return st;
    }

    WineKeyStore store{prefix()};
};

TEST_F(WineKeyStoreTest, ViewsFollowTheArchAndTheWow64Flag) {
    struct Row {
        const char* name;
        const char* arch;
        HKEY root;
        const char* path;
        REGSAM access;
        const char* value;
        std::string expected;
    };
    const Row rows[] = {
        {"redirected class", "win64", hkey::ClassesRoot, "CLSID\\{Both}", 0, "", "32-bit"},
        {"64-bit class", "win64", hkey::ClassesRoot, "CLSID\\{Both}", k64, "", "64-bit"},
        {"redirected key lacks it", "win64", hkey::ClassesRoot, "CLSID\\{Only64}", 0, "",
         "<missing>"},
        {"shared class falls back", "win64", hkey::ClassesRoot, ".txt", 0, "", "txtfile"},
        {"only for 32-bit callers", "win64", hkey::LocalMachine,
         "Software\\Classes\\Wow6432Node\\.txt", k64, "", "<missing>"},
        {"leading backslash below classes", "win64", hkey::ClassesRoot, "\\.txt", 0, "", "txtfile"},
        {"32-bit classes root has no node", "win64", hkey::ClassesRoot,
         "Wow6432Node\\CLSID\\{Both}", 0, "", "<missing>"},
        {"through a #link", "win64", hkey::ClassesRoot, "AppId\\{App}", 0, "", "shared app"},
        {"classes of win32", "win32", hkey::ClassesRoot, "CLSID\\{Only64}", 0, "", "only 64"},
        {"implied CurrentControlSet", "win64", hkey::LocalMachine,
         "System\\CurrentControlSet\\Control\\Session Manager\\Environment", 0, "OS", "Windows_NT"},
    };
    for (const Row& row : rows) {
        UseArch(row.arch);
        EXPECT_EQ(store.IsWow64Process(), std::string_view(row.arch) == "win64") << row.name;
        EXPECT_EQ(ReadText(store, row.root, row.path, row.value, row.access), row.expected)
            << row.name;
    }
    EXPECT_EQ(Read(store, hkey::CurrentConfig, "Software\\Fonts", "LogPixels"),
              (ReadValue{regtype::Dword, std::string("\x60\0\0\0", 4)}));
}

TEST_F(WineKeyStoreTest, EnumerationShowsImpliedKeysInWinesOrder) {
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "Software\\Vendor", k64),
              (std::vector<std::string>{"Game"}));
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "Software\\Vendor"),
              (std::vector<std::string>{"Empty", "Game"}));
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "System"),
              (std::vector<std::string>{"ControlSet001", "CurrentControlSet"}));
    EXPECT_EQ(Subkeys(store, hkey::ClassesRoot, ""),
              (std::vector<std::string>{".txt", "AppId", "CLSID"}));
    EXPECT_EQ(Subkeys(store, hkey::ClassesRoot, "", k64),
              (std::vector<std::string>{".txt", "AppId", "CLSID", "Wow6432Node"}));
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "Software\\Classes\\Wow6432Node", k64),
              (std::vector<std::string>{"AppId", "CLSID"}));
    // Lower case decides ('_' before 'b'), then length; a second spelling joins the first.
    EXPECT_EQ(Subkeys(store, hkey::CurrentUser, "Order"),
              (std::vector<std::string>{"A", "a_b", "aB", "abc", "b"}));
    EXPECT_EQ(Subkeys(store, hkey::Users, ""), (std::vector<std::string>{"S-1-5-21-0-0-0-1000"}));
    EXPECT_EQ(ReadText(store, hkey::Users, "S-1-5-21-0-0-0-1000\\Order\\b", "ALPHA"), "last");

    HKEY key = 0;
    ASSERT_EQ(store.RegOpenKeyExA(hkey::CurrentUser, "Order\\b", 0, regaccess::Read, &key), 0);
    std::vector<std::string> names;
    char name[32];
    DWORD length = sizeof name;
    for (DWORD i = 0; store.RegEnumValueA(key, i, name, &length, nullptr, nullptr, nullptr) == 0;
         ++i)
        names.emplace_back(name, std::exchange(length, DWORD{sizeof name}));
    // A repeated value keeps its first spelling and its last data, as Wine loads it.
    EXPECT_EQ(names, (std::vector<std::string>{"Alpha", "beta", "zeta"}));
    DWORD subkeys = 0, values = 0, longestName = 0;
    ASSERT_EQ(store.RegQueryInfoKeyA(key, nullptr, nullptr, &subkeys, nullptr, &values,
                                     &longestName, nullptr, nullptr),
              0);
    EXPECT_EQ(std::make_tuple(subkeys, values, longestName), std::make_tuple(1u, 3u, 5u));
    store.RegCloseKey(key);
}

TEST_F(WineKeyStoreTest, TextCrossesInTheCodePage) {
    // The file holds UTF-16 escapes; callers get Windows-1252, '?' where it has no character.
    EXPECT_EQ(Read(store, hkey::CurrentUser, "Text", "Caf\xe9"),
              (ReadValue{regtype::Sz, std::string("\x80"
                                                  "5 ?\0",
                                                  5)}));
    ASSERT_EQ(
        Write(store, hkey::CurrentUser, "Text", "\xe9t\xe9", regtype::ExpandSz, Sz("\x80\x9f")), 0);
    EXPECT_NE(temp.Read("user.reg").find("\"\\xe9t\\xe9\"=str(2):\"\\x20ac\\x178\""),
              std::string::npos);
    WineKeyStore again(prefix());
    EXPECT_EQ(ReadText(again, hkey::CurrentUser, "Text", "\xc9T\xc9"), "\x80\x9f");
}

TEST_F(WineKeyStoreTest, ChangesLandOnTheResolvedKeyAndNowhereElse) {
    const std::string before = temp.Read("system.reg");
    ASSERT_EQ(Write(store, hkey::LocalMachine, "Software\\Vendor\\Game", "Path", regtype::Sz,
                    Sz("D:\\New")),
              0);
    // Only the 32-bit Game block changed; every other byte is as it was.
    const std::string after = temp.Read("system.reg");
    const std::string block = "[Software\\\\Wow6432Node\\\\Vendor\\\\Game]";
    const std::size_t start = before.find(block);
    const std::size_t end = before.find("\n[", start + 1);
    const std::size_t newEnd = after.find("\n[", after.find(block) + 1);
    EXPECT_EQ(after.substr(0, start), before.substr(0, start));
    EXPECT_EQ(after.substr(newEnd), before.substr(end));
    EXPECT_NE(after.substr(start, newEnd - start).find("\"Path\"=\"D:\\\\New\""),
              std::string::npos);

    // Through links: the implied CurrentControlSet and the #link of 32-bit AppId.
    ASSERT_EQ(Write(store, hkey::LocalMachine,
                    "System\\CurrentControlSet\\Control\\Session Manager\\Environment", "X",
                    regtype::Sz, Sz("1")),
              0);
    ASSERT_EQ(Write(store, hkey::ClassesRoot, "AppId\\{New}", "", regtype::Sz, Sz("app")), 0);
    ASSERT_EQ(Write(store, hkey::ClassesRoot, ".new", "", regtype::Sz, Sz("shared")), 0);
    const std::string file = temp.Read("system.reg");
    EXPECT_EQ(file.find("CurrentControlSet"), std::string::npos);
    EXPECT_NE(file.find("[Software\\\\Classes\\\\AppId\\\\{New}]"), std::string::npos);
    EXPECT_NE(file.find("[Software\\\\Classes\\\\.new]"), std::string::npos);
    EXPECT_EQ(ReadText(store, hkey::LocalMachine,
                       "System\\ControlSet001\\Control\\Session Manager\\Environment", "X"),
              "1");
    EXPECT_EQ(file.find("#arch=win64"), before.find("#arch=win64"));
}

TEST_F(WineKeyStoreTest, ChangesThatChangeNothingLeaveTheFileAlone) {
    const std::string before = temp.Read("system.reg");
    const struct stat old = Stat("system.reg");
    HKEY key = 0;
    DWORD disposition = 0;
    ASSERT_EQ(store.RegCreateKeyExA(hkey::LocalMachine, "Software\\Vendor\\Game", 0, "", 0,
                                    regaccess::Write, &key, &disposition),
              0);
    EXPECT_EQ(disposition, regdisposition::OpenedExistingKey);
    const std::string same = Sz("C:\\Games\\32");
    EXPECT_EQ(store.RegSetValueExA(key, "PATH", regtype::Sz,
                                   reinterpret_cast<const std::uint8_t*>(same.data()),
                                   static_cast<DWORD>(same.size())),
              0);
    store.RegCloseKey(key);
    const struct stat now = Stat("system.reg");
    EXPECT_EQ(temp.Read("system.reg"), before);
    EXPECT_EQ(now.st_ino, old.st_ino);
    EXPECT_EQ(now.st_mtim.tv_nsec, old.st_mtim.tv_nsec);
}

TEST_F(WineKeyStoreTest, DeletingTheLastSubkeyKeepsItsParent) {
    ASSERT_EQ(store.RegDeleteKeyA(hkey::LocalMachine, "Software\\Vendor\\Game"), 0);  // 32-bit
    ASSERT_EQ(store.RegDeleteKeyA(hkey::LocalMachine, "Software\\Vendor\\Empty"), 0);
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "Software\\Vendor"), std::vector<std::string>{});
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "Software\\Vendor", k64),
              (std::vector<std::string>{"Game"}));
    EXPECT_NE(temp.Read("system.reg").find("[Software\\\\Wow6432Node\\\\Vendor]"),
              std::string::npos);
}

TEST_F(WineKeyStoreTest, FilesChangedOnDiskAreReadAgain) {
    HKEY key = 0;
    ASSERT_EQ(store.RegOpenKeyExA(hkey::CurrentUser, "Order\\abc", 0, regaccess::Read, &key), 0);
    EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Order\\b", "beta"), "b");
    Replace("user.reg", HiveText("win64", "[Order\\\\b] 1\n\"beta\"=\"changed\"\n"));
    EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Order\\b", "beta"), "changed");
    EXPECT_EQ(store.RegQueryValueExA(key, "", nullptr, nullptr, nullptr), 1018);  // key is gone
    // A change made after the file changed keeps what the file says now.
    ASSERT_EQ(Write(store, hkey::CurrentUser, "Order\\b", "more", regtype::Sz, Sz("x")), 0);
    WineKeyStore again(prefix());
    EXPECT_EQ(ReadText(again, hkey::CurrentUser, "Order\\b", "beta"), "changed");
}

TEST_F(WineKeyStoreTest, HeldReadsShareOneLookAndChangesLookAgain) {
    {
        HeldReads held(store);
        EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Order\\b", "beta"), "b");
        Replace("user.reg", HiveText("win64", "[Order\\\\b] 1\n\"beta\"=\"wine\"\n"));
        EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Order\\b", "beta"), "b");
        // A change is made on the file as it is now, and what Wine wrote stays.
        ASSERT_EQ(Write(store, hkey::CurrentUser, "Order\\b", "more", regtype::Sz, Sz("x")), 0);
        EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Order\\b", "beta"), "wine");
        Replace("user.reg", HiveText("win64", "[Order\\\\b] 1\n\"beta\"=\"later\"\n"));
    }
    // The next command sees what another program wrote meanwhile.
    EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Order\\b", "beta"), "later");
}

TEST_F(WineKeyStoreTest, SavedKeysComeBackWhole) {
    const std::string file = OnZ(prefix() / "vendor.hiv");
    HKEY vendor = 0;
    ASSERT_EQ(store.RegOpenKeyExA(hkey::LocalMachine, "Software\\Vendor", 0, 0xF003F, &vendor), 0);
    EXPECT_EQ(store.RegSaveKeyA(vendor, file), 0);
    EXPECT_EQ(store.RegSaveKeyA(vendor, file), 183);
    ASSERT_EQ(
        Write(store, hkey::LocalMachine, "Software\\Vendor\\Extra", "x", regtype::Sz, Sz("1")), 0);
    ASSERT_EQ(Write(store, hkey::LocalMachine, "Software\\Vendor\\Game", "Path", regtype::Sz,
                    Sz("changed")),
              0);
    ASSERT_EQ(store.RegRestoreKeyA(vendor, file, 0), 0);
    EXPECT_EQ(Subkeys(store, hkey::LocalMachine, "Software\\Vendor"),
              (std::vector<std::string>{"Empty", "Game"}));
    EXPECT_EQ(ReadText(store, hkey::LocalMachine, "Software\\Vendor\\Game", "Path"),
              "C:\\Games\\32");
    EXPECT_EQ(store.RegRestoreKeyA(vendor, OnZ(prefix() / "user.reg"), 0), 1015);  // two tops
    store.RegCloseKey(vendor);
}

TEST_F(WineKeyStoreTest, MissingPrefixIsAnEmptyRegistryThatRefusesChanges) {
    WineKeyStore none(prefix() / "absent");
    HKEY key = 0;
    EXPECT_EQ(none.RegOpenKeyExA(hkey::LocalMachine, "Software", 0, 0, &key), 2);
    EXPECT_FALSE(none.IsWow64Process());
    EXPECT_EQ(Write(none, hkey::CurrentUser, "Software\\X", "v", regtype::Sz, Sz("1")), 5);
    EXPECT_NE(none.WhyNotWritable().find("There is no Wine prefix"), std::string::npos);
    EXPECT_FALSE(fs::exists(prefix() / "absent"));

    // A hive that is not a Wine registry file is read as empty and never written.
    temp.Write("user.reg", "\xef\xbb\xbfWINE REGISTRY Version 2\n[Order\\\\b] 1\n");
    EXPECT_EQ(Write(store, hkey::CurrentUser, "Order\\b", "v", regtype::Sz, Sz("1")), 5);
    EXPECT_NE(store.WhyNotWritable().find("is not a Wine registry file"), std::string::npos);
    EXPECT_EQ(temp.Read("user.reg"), "\xef\xbb\xbfWINE REGISTRY Version 2\n[Order\\\\b] 1\n");
}

}  // namespace
