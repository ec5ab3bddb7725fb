#include <gtest/gtest.h>

#include "platform/fake/FakeKeyStore.h"

using namespace optera::platform;

namespace {

constexpr HKEY HKLM = hkey::LocalMachine;
constexpr REGSAM k64 = regaccess::Read | regaccess::Wow64_64Key;

// The default value of the key a caller with `access` reaches at `path`; "missing" when the key
// does not open.
std::string Seen(FakeKeyStore& store, std::string_view path, REGSAM access) {
    HKEY key = 0;
    if (store.RegOpenKeyExA(HKLM, path, 0, access, &key) != regerror::Success) return "missing";
    char data[32] = {};
    DWORD length = sizeof data;
    store.RegQueryValueExA(key, "", nullptr, reinterpret_cast<std::uint8_t*>(data), &length);
    store.RegCloseKey(key);
    return std::string(data, length);
}

}  // namespace

TEST(FakeKeyStore, A32BitCallerIsRedirectedWhereAWow6432NodeChildExists) {
    struct Row {
        const char* name;
        bool win64;
        std::string path;
        REGSAM access;
        std::string seen;
    };
    const Row rows[] = {
        {"32-bit view", true, "Software\\Game", regaccess::Read, "32"},
        {"64-bit view", true, "SOFTWARE\\game", k64, "64"},
        {"key that holds the node is not redirected", true, "Software", regaccess::Read, "sw"},
        {"naming the node reaches it", true, "Software\\Wow6432Node\\Game", regaccess::Read, "32"},
        {"trailing backslash", true, "Software\\Game\\", k64, "64"},
        {"missing in the 32-bit view", true, "Software\\Only64", regaccess::Read, "missing"},
        {"32-bit system never redirects", false, "Software\\Game", regaccess::Read, "64"},
        {"leading backslash", false, "\\Software", regaccess::Read, "missing"},
    };
    for (const Row& row : rows) {
        FakeKeyStore store(row.win64);
        store.PutString(HKLM, "Software", "", "sw");
        store.PutString(HKLM, "Software\\Game", "", "64");
        store.PutString(HKLM, "Software\\Only64", "", "64");
        store.PutString(HKLM, "Software\\Wow6432Node\\Game", "", "32");
        std::string seen = Seen(store, row.path, row.access);
        EXPECT_EQ(seen.substr(0, seen.find('\0')), row.seen) << row.name;
        EXPECT_EQ(store.OpenHandles(), 0u) << row.name;
    }
}

TEST(FakeKeyStore, CreationInThe32BitViewGoesIntoTheNode) {
    FakeKeyStore store(true);
    store.PutKey(HKLM, "Software\\Wow6432Node");
    HKEY key = 0;
    DWORD disposition = 0;
    ASSERT_EQ(store.RegCreateKeyExA(HKLM, "Software\\New", 0, "", 0, 0x3F, &key, &disposition),
              regerror::Success);
    EXPECT_EQ(disposition, regdisposition::CreatedNewKey);
    store.RegCloseKey(key);
    EXPECT_TRUE(store.Exists(HKLM, "Software\\Wow6432Node\\New"));
    EXPECT_TRUE(store.Exists(HKLM, "Software\\New", FakeKeyStore::View::Wow32));
    EXPECT_FALSE(store.Exists(HKLM, "Software\\New"));
}
