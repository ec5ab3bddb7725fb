// One contract, two stores: what the tests of the rest of the program see through the in-memory
// store is what the product sees through a Wine prefix. The views' rows are those Wine 8 gives
// (`reg query /reg:32` and a program asking with KEY_WOW64_32KEY) on the same keys.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <vector>

#include "HivePrefix.h"
#include "platform/fake/FakeKeyStore.h"
#include "platform/wine/WineKeyStore.h"
#include "platform/wine/WineServerLock.h"

using namespace optera::platform;
using namespace optera::testing;
namespace fs = std::filesystem;

namespace {

constexpr HKEY HKLM = hkey::LocalMachine;
constexpr HKEY HKCU = hkey::CurrentUser;
constexpr HKEY HKCR = hkey::ClassesRoot;
constexpr REGSAM k32 = 0;
constexpr REGSAM k64 = regaccess::Wow64_64Key;

struct FakeStore {
    explicit FakeStore(bool win64) : store(win64) {}
    FakeKeyStore store;
};

struct WineStore {
    explicit WineStore(bool win64) {
        const char* arch = win64 ? "win64" : "win32";
        temp.Write("system.reg", HiveText(arch, ""));
        temp.Write("user.reg", HiveText(arch, "", "\\\\User\\\\S-1-5-21-0-0-0-1000"));
    }
    ~WineStore() {
        // Writing takes the wineserver's lock, which leaves its folder behind.
        std::error_code ignored;
        for (const fs::path& folder : WineServerFolders(temp.path()))
            fs::remove_all(folder, ignored);
    }
    TempFolder temp;
    WineKeyStore store{temp.path()};
};

template <class Made>
class KeyStoreContract : public ::testing::Test {
  protected:
    // Keys named by where they are, each holding its name as its default value.
    void Seed(std::initializer_list<std::pair<HKEY, const char*>> keys) {
        for (const auto& [root, path] : keys)
            ASSERT_EQ(Write(store, root, path, "", regtype::Sz, Sz(path), k64), 0) << path;
    }
    void SeedViews() {
        Seed({{HKLM, "Software"},
              {HKLM, "Software\\Game"},
              {HKLM, "Software\\Wow6432Node"},
              {HKLM, "Software\\Wow6432Node\\Game"},
              {HKLM, "Software\\Wow6432Node\\X"},
              {HKLM, "Software\\Wow6432Node\\Foo\\Bar"},
              {HKLM, "Software\\Wow6432Node\\Foo\\Wow6432Node\\Bar"},
              {HKLM, "Software\\Wow6432Node\\Wow6432Node"},
              {HKLM, "Software\\Wow6432Node\\Wow6432Node\\Game"},
              {HKLM, "Software\\Wow6432Node\\Wow6432Node\\Y"},
              {HKLM, "Test\\A\\Q"},
              {HKLM, "Test\\A\\Wow6432Node\\Q"},
              {HKCU, "Software\\T"},
              {HKCU, "Software\\Wow6432Node\\T"},
              {HKLM, "Software\\Classes"},
              {HKCR, "CLSID"}});
    }
    // The name of the key reached, "#code" when none is; a failed open leaves 0 as the handle.
    std::string Reached(HKEY root, std::string_view path, REGSAM access) {
        HKEY key = 0xDEAD;
        if (LONG code = store.RegOpenKeyExA(root, path, 0, access | regaccess::Read, &key)) {
            EXPECT_EQ(key, 0u) << path;
            return "#" + std::to_string(code);
        }
        std::string name = ReadText(store, key, "", "", k64);
        store.RegCloseKey(key);
        return name;
    }

    Made made{true};
    KeyStore& store = made.store;
};

using Stores = ::testing::Types<FakeStore, WineStore>;
class StoreNames {
  public:
    template <class T>
    static std::string GetName(int) {
        return std::is_same_v<T, FakeStore> ? "Fake" : "Wine";
    }
};
TYPED_TEST_SUITE(KeyStoreContract, Stores, StoreNames);

TYPED_TEST(KeyStoreContract, ViewsRedirectOncePerPathAsWineDoes) {
    this->SeedViews();
    struct Row {
        HKEY root;
        const char* path;
        REGSAM access;
        const char* reached;
    };
    const Row rows[] = {
        {HKLM, "Software", k32, "Software\\Wow6432Node"},
        {HKLM, "Software", k64, "Software"},
        {HKLM, "Software\\Game", k32, "Software\\Wow6432Node\\Game"},
        {HKLM, "Software\\Game", regaccess::Wow64_32Key, "Software\\Wow6432Node\\Game"},
        {HKLM, "SOFTWARE\\game", k64, "Software\\Game"},
        {HKLM, "Software\\X", k32, "Software\\Wow6432Node\\X"},
        {HKLM, "Software\\Y", k32, "#2"},
        // Naming the node takes the path as it stands from there, nested nodes included.
        {HKLM, "Software\\Wow6432Node", k32, "Software\\Wow6432Node"},
        {HKLM, "Software\\Wow6432Node\\Game", k32, "Software\\Wow6432Node\\Game"},
        {HKLM, "Software\\wow6432node\\X", k32, "Software\\Wow6432Node\\X"},
        {HKLM, "Software\\Wow6432Node\\X", k64, "Software\\Wow6432Node\\X"},
        {HKLM, "Software\\Wow6432Node\\Wow6432Node", k32, "Software\\Wow6432Node\\Wow6432Node"},
        {HKLM, "Software\\WOW6432NODE\\Wow6432Node\\Y", k32,
         "Software\\Wow6432Node\\Wow6432Node\\Y"},
        // Once redirected, a node further down is not entered.
        {HKLM, "Software\\Foo\\Bar", k32, "Software\\Wow6432Node\\Foo\\Bar"},
        {HKLM, "Test\\A\\Q", k32, "Test\\A\\Wow6432Node\\Q"},
        {HKLM, "Test\\A\\Q", k64, "Test\\A\\Q"},
        {HKLM, "Test\\A\\Wow6432Node\\Q", k32, "Test\\A\\Wow6432Node\\Q"},
        {HKCU, "Software\\T", k32, "Software\\Wow6432Node\\T"},
        {HKCU, "Software\\T", k64, "Software\\T"},
        // Separators: doubled and trailing ones are skipped, a leading one is refused except
        // below HKEY_CLASSES_ROOT.
        {HKLM, "Software\\Game\\", k64, "Software\\Game"},
        {HKLM, "Software\\\\Game\\\\", k32, "Software\\Wow6432Node\\Game"},
        {HKLM, "\\Software", k64, "#161"},
        {HKCR, "\\CLSID", k64, "CLSID"},
        {HKLM, "Software\\Missing\\", k64, "#2"},
        {0x1234, "Software", k64, "#6"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(this->Reached(row.root, row.path, row.access), row.reached)
            << row.path << " with " << row.access;

    TypeParam win32(false);
    ASSERT_EQ(Write(win32.store, HKLM, "Software\\Game", "", regtype::Sz, Sz("64"), k64), 0);
    ASSERT_EQ(Write(win32.store, HKLM, "Software\\Wow6432Node\\Game", "", regtype::Sz, Sz("32")),
              0);
    EXPECT_EQ(ReadText(win32.store, HKLM, "Software\\Game", "", k32), "64") << "no views";
    EXPECT_FALSE(win32.store.IsWow64Process());
    EXPECT_TRUE(this->store.IsWow64Process());
}

// A 32-bit handle names the redirected key; a path below a handle is redirected below its first
// name only, and an empty one is the handle's key redirected.
TYPED_TEST(KeyStoreContract, HandlesNameTheKeyTheirViewReached) {
    this->SeedViews();
    struct Row {
        const char* path;
        REGSAM access;
        const char* below;
        REGSAM belowAccess;
        const char* reached;
    };
    const Row rows[] = {
        {"Software", k32, "Game", k32, "Software\\Wow6432Node\\Game"},
        {"Software", k32, "Game", k64, "Software\\Wow6432Node\\Game"},
        {"Software", k64, "Game", k32, "Software\\Game"},
        {"Software", k64, "", k32, "Software\\Wow6432Node"},
        {"Software", k32, "", k32, "Software\\Wow6432Node\\Wow6432Node"},
        {"Test", k64, "A\\Q", k32, "Test\\A\\Wow6432Node\\Q"},
        {"Test\\A", k64, "Q", k32, "Test\\A\\Q"},
    };
    for (const Row& row : rows) {
        HKEY key = 0;
        ASSERT_EQ(this->store.RegOpenKeyExA(HKLM, row.path, 0, row.access | 0x20019, &key), 0);
        EXPECT_EQ(this->Reached(key, row.below, row.belowAccess), row.reached)
            << row.path << " then " << row.below;
        this->store.RegCloseKey(key);
    }
    std::vector<std::string> names = Subkeys(this->store, HKLM, "Software");
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Foo", "Game", "Wow6432Node", "X"}));
}

TYPED_TEST(KeyStoreContract, KeysMadeInThe32BitViewLandWhereWineMakesThem) {
    this->SeedViews();
    struct Row {
        HKEY root;
        const char* path;
        const char* made;
    };
    const Row rows[] = {
        {HKLM, "Software\\NewA", "Software\\Wow6432Node\\NewA"},
        {HKLM, "Software\\Wow6432Node\\NewB", "Software\\Wow6432Node\\NewB"},
        {HKLM, "Software\\Wow6432Node\\Wow6432Node\\NewC",
         "Software\\Wow6432Node\\Wow6432Node\\NewC"},
        {HKLM, "Test3\\NewD", "Test3\\NewD"},
        {HKLM, "Software\\Foo\\NewE", "Software\\Wow6432Node\\Foo\\NewE"},
        {HKLM, "Test\\A\\NewF\\", "Test\\A\\Wow6432Node\\NewF"},
        {HKCU, "Software\\\\NewM", "Software\\Wow6432Node\\NewM"},
    };
    for (const Row& row : rows) {
        ASSERT_EQ(Write(this->store, row.root, row.path, "", regtype::Sz, Sz(row.made)), 0)
            << row.path;
        EXPECT_EQ(ReadText(this->store, row.root, row.made, "", k64), row.made);
    }
    HKEY key = 0xDEAD;
    EXPECT_EQ(this->store.RegCreateKeyExA(HKCR, "\\New", 0, "", 0, 0x20006, &key, nullptr), 161);
    EXPECT_EQ(key, 0u);
    key = 0xDEAD;
    EXPECT_EQ(this->store.RegCreateKeyExA(0x1234, "New", 0, "", 0, 0x20006, &key, nullptr), 6);
    EXPECT_EQ(key, 0u);
}

// A string set by the "A" function with a length that leaves out its NUL is stored with it; one
// stored without (through the "W" function) is read with a NUL added only where there is room.
TYPED_TEST(KeyStoreContract, StringTerminatorsAreThoseOfWindows) {
    KeyStore& keys = this->store;
    ASSERT_EQ(Write(keys, HKCU, "Software\\S", "counted", regtype::Sz, "1920x1080"), 0);
    EXPECT_EQ(Read(keys, HKCU, "Software\\S", "counted"),
              (ReadValue{regtype::Sz, Sz("1920x1080")}));
    HKEY key = 0;
    ASSERT_EQ(keys.RegOpenKeyExA(HKCU, "Software\\S", 0, 0xF003F, &key), 0);
    ASSERT_EQ(keys.RegSetValueExW(key, u"bare", regtype::Sz, {'a', 0, 'b', 0, 'c', 0}), 0);
    ASSERT_EQ(keys.RegSetValueExW(key, u"empty", regtype::Sz, {}), 0);
    struct Row {
        const char* name;
        DWORD room;
        LONG code;
        DWORD length;
        std::string data;
    };
    const Row rows[] = {
        {"bare", 2, 234, 3, "ZZ"},
        {"bare", 3, 0, 3, "abc"},
        {"bare", 4, 0, 3, Sz("abc")},
        {"empty", 4, 0, 0, "ZZZZ"},
        {"counted", 9, 234, 10, "ZZZZZZZZZ"},
    };
    for (const Row& row : rows) {
        std::string data(row.room, 'Z');
        DWORD length = row.room;
        EXPECT_EQ(keys.RegQueryValueExA(key, row.name, nullptr,
                                        reinterpret_cast<std::uint8_t*>(data.data()), &length),
                  row.code)
            << row.name << " in " << row.room;
        EXPECT_EQ(length, row.length) << row.name << " in " << row.room;
        EXPECT_EQ(data, row.data) << row.name << " in " << row.room;
    }
    keys.RegCloseKey(key);
}

// The codes callers rely on.
TYPED_TEST(KeyStoreContract, ReturnCodesAreThoseOfWindows) {
    KeyStore& keys = this->store;
    ASSERT_EQ(
        Write(keys, HKLM, "Software\\Vendor\\Game", "Path", regtype::Sz, Sz("C:\\Games\\64"), k64),
        0);
    HKEY key = 0;
    EXPECT_EQ(keys.RegQueryValueExA(0x1234, "", nullptr, nullptr, nullptr), 6);
    ASSERT_EQ(keys.RegOpenKeyExA(HKLM, "Software\\Vendor\\Game", 0, k64 | 0x20019, &key), 0);
    EXPECT_EQ(keys.RegQueryValueExA(key, "Nope", nullptr, nullptr, nullptr), 2);
    std::uint8_t small[4];
    DWORD size = sizeof small;
    EXPECT_EQ(keys.RegQueryValueExA(key, "Path", nullptr, small, &size), 234);
    EXPECT_EQ(size, 12u);  // "C:\Games\64" and its NUL
    char name[5];
    DWORD length = sizeof name;
    EXPECT_EQ(keys.RegEnumValueA(key, 0, name, &length, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(keys.RegEnumValueA(key, 1, name, &length, nullptr, nullptr, nullptr), 259);
    length = sizeof name;
    EXPECT_EQ(keys.RegEnumKeyExA(HKLM, 0, name, &length, nullptr, nullptr, nullptr),
              234);  // "Software" does not fit
    const std::uint8_t data[] = {1};
    EXPECT_EQ(keys.RegSetValueExA(key, "x", regtype::Binary, data, 1), 5);  // read-only handle
    EXPECT_EQ(keys.RegDeleteKeyExA(HKLM, "Software\\Vendor", k64, 0), 5);   // has a subkey
    EXPECT_EQ(keys.RegDeleteKeyA(HKLM, "Software\\Vendor\\Missing"), 2);
    EXPECT_EQ(keys.RegDeleteKeyExA(HKLM, "Software\\Vendor\\Game", k64, 0), 0);
    EXPECT_EQ(keys.RegQueryValueExA(key, "Path", nullptr, nullptr, nullptr), 1018);
    EXPECT_EQ(keys.RegCloseKey(key), 0);
    EXPECT_EQ(keys.RegCloseKey(key), 6);
}

}  // namespace
