// Registry text between the stores and the ".reg" files: a backup of a Wine prefix's key keeps
// every character of its names and strings, the in-memory store reads strings as the prefix's
// store does, and a saved key replaces the file it is saved over.

#include <gtest/gtest.h>

#include "HivePrefix.h"
#include "platform/fake/FakeKeyStore.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineFileSystem.h"
#include "platform/wine/WineKeyStore.h"
#include "services/RegEditFormat.h"
#include "services/cRegistry.h"
#include "text/CodePage.h"

using namespace optera;
using namespace optera::testing;
using platform::WineFileSystem;
using platform::WineKeyStore;
namespace hkey = platform::hkey;

namespace {

constexpr char kUserHeader[] = "\\\\User\\\\S-1-5-21-0-0-0-1000";

// The bytes of a ".reg" file holding this UTF-8 text, as the registry editor writes it.
std::string RegFileBytes(std::string_view utf8) {
    return services::Utf16FileBytes(text::Utf16FromUtf8(utf8));
}

class RegistryText : public WinePrefixTest {
  protected:
    void WriteUserHive(std::string_view body) {
        temp.Write("user.reg", HiveText("win64", body, kUserHeader));
    }
};

TEST_F(RegistryText, ABackupKeepsEveryCharacterOfNamesAndStrings) {
    // Cyrillic, Japanese and a character beyond the first plane, beside text of the code page.
    WriteUserHive(
        "[Software\\\\Game] 1700000000\n\"Plain\"=\"caf\\xe9 \\x20ac\"\n\n"
        "[Software\\\\Game\\\\\\x65e5\\x672c] 1700000000\n"
        "\"Expand\"=str(2):\"%TEMP%\\\\\\x65e5\"\n"
        "\"\\x0418\\x043c\\x044f\"=\"\\xd83c\\xdf0e \\x0416\"\n");
    const std::string expected = RegFileBytes(
        "Windows Registry Editor Version 5.00\r\n\r\n"
        "[HKEY_CURRENT_USER\\Software\\Game]\r\n"
        "\"Plain\"=\"caf\xc3\xa9 \xe2\x82\xac\"\r\n\r\n"
        "[HKEY_CURRENT_USER\\Software\\Game\\\xe6\x97\xa5\xe6\x9c\xac]\r\n"
        "\"Expand\"=hex(2):25,00,54,00,45,00,4d,00,50,00,25,00,5c,00,e5,65,00,00\r\n"
        "\"\xd0\x98\xd0\xbc\xd1\x8f\"=\"\xf0\x9f\x8c\x8e \xd0\x96\"\r\n\r\n");
    WineKeyStore store(prefix());
    WineFileSystem files(prefix());
    ASSERT_TRUE(services::ExportRegistryKey(store, files, "HKEY_CURRENT_USER\\Software\\Game",
                                            "C:\\backup.reg"));
    EXPECT_EQ(files.ReadAll("C:\\backup.reg"), expected);

    // Loaded over changed values, it brings each back: exported again, it is the same file.
    WriteUserHive("[Software\\\\Game] 1700000000\n\"Plain\"=\"changed\"\n");
    ASSERT_TRUE(services::ImportRegistryFile(store, files, "C:\\backup.reg"));
    ASSERT_TRUE(services::ExportRegistryKey(store, files, "HKEY_CURRENT_USER\\Software\\Game",
                                            "C:\\again.reg"));
    EXPECT_EQ(files.ReadAll("C:\\again.reg"), expected);
}

// Every type of value, in names and strings of any script, comes back from a backup with the
// very bytes it had: strings with quotes, line breaks and NULs inside, data long enough to be
// continued over lines, types the editor has no word for. Only strings the editor itself cannot
// bring back whole differ: one of no bytes at all comes back as the empty text with its NUL (the
// editor writes and reads both as ""), and one stored without its terminator gains it.
TEST_F(RegistryText, EveryValueComesBackFromItsBackupByteForByte) {
    using Bytes = std::vector<std::uint8_t>;
    auto wide = [](std::u16string_view text) {
        const std::string bytes = text::Utf16Bytes(text);
        return Bytes(bytes.begin(), bytes.end());
    };
    Bytes counting(300);
    for (std::size_t i = 0; i < counting.size(); ++i) counting[i] = std::uint8_t(i);
    struct Row {
        std::u16string name;
        platform::DWORD type;
        Bytes data;
        std::optional<Bytes> back = std::nullopt;  // when not `data` itself
    };
    const Row rows[] = {
        {u"", platform::regtype::Sz, wide(std::u16string(u"default\0", 8))},
        {u"\"q\" \\ [x] = @", platform::regtype::Sz,
         wide(std::u16string(u"\"a\\b\"\r\n\tc\0", 11))},
        {u"\u0418\u043c\u044f \U0001F30E", platform::regtype::Sz,
         wide(std::u16string(u"\u65e5\u672c \U0001F30E caf\u00e9\0", 11))},
        {u"empty text", platform::regtype::Sz, wide(std::u16string(u"\0", 1))},
        {u"no data", platform::regtype::Sz, {}, Bytes{0, 0}},
        {u"stored without its terminator", platform::regtype::Sz, wide(u"ab"),
         wide(std::u16string(u"ab\0", 3))},
        {u"multi without the list's last NUL", platform::regtype::MultiSz,
         wide(std::u16string(u"a\0b\0", 4))},
        {u"NUL inside", platform::regtype::Sz, wide(std::u16string(u"a\0b\0", 4))},
        {u"expand", platform::regtype::ExpandSz, wide(std::u16string(u"%TEMP%\\\u00e9\0", 9))},
        {u"multi", platform::regtype::MultiSz, wide(std::u16string(u"a\0\u0416\0\0", 5))},
        {u"empty multi", platform::regtype::MultiSz, wide(std::u16string(u"\0", 1))},
        {u"none", platform::regtype::None, {1, 2}},
        {u"none, empty", platform::regtype::None, {}},
        {u"binary, long", platform::regtype::Binary, counting},
        {u"binary, empty", platform::regtype::Binary, {}},
        {u"dword", platform::regtype::Dword, {0xff, 0xfe, 0x00, 0x80}},
        {u"dword of three bytes", platform::regtype::Dword, {1, 2, 3}},
        {u"big-endian", platform::regtype::DwordBigEndian, {0, 0, 0, 7}},
        {u"qword", platform::regtype::Qword, {1, 2, 3, 4, 5, 6, 7, 8}},
        {u"resource list", 8, {0xaa}},
        {u"a type of its own", 0x12345, {9, 8, 7}},
    };
    WriteUserHive("[Software\\\\Game] 1700000000\n");
    WineKeyStore store(prefix());
    WineFileSystem files(prefix());
    const std::u16string subKeys[] = {u"Software\\Game", u"Software\\Game\\\u65e5\u672c"};
    for (const std::u16string& subKey : subKeys) {
        HKEY key = 0;
        ASSERT_EQ(store.RegCreateKeyExW(hkey::CurrentUser, subKey, 0xF003F, &key, nullptr), 0);
        for (const Row& row : rows)
            ASSERT_EQ(store.RegSetValueExW(key, row.name, row.type, row.data), 0);
        store.RegCloseKey(key);
    }
    ASSERT_TRUE(services::ExportRegistryKey(store, files, "HKEY_CURRENT_USER\\Software\\Game",
                                            "C:\\backup.reg"));
    WriteUserHive("[Software\\\\Game] 1700000000\n\"none\"=\"changed\"\n");
    ASSERT_TRUE(services::ImportRegistryFile(store, files, "C:\\backup.reg"));

    for (const std::u16string& subKey : subKeys) {
        HKEY key = 0;
        ASSERT_EQ(store.RegOpenKeyExW(hkey::CurrentUser, subKey, 0, 0x20019, &key), 0);
        for (const Row& row : rows) {
            platform::DWORD type = 0;
            Bytes data;
            EXPECT_EQ(store.RegQueryValueExW(key, row.name, type, data), 0)
                << text::Utf8FromUtf16(row.name);
            EXPECT_EQ(type, row.type) << text::Utf8FromUtf16(row.name);
            EXPECT_EQ(data, row.back.value_or(row.data)) << text::Utf8FromUtf16(row.name);
        }
        store.RegCloseKey(key);
    }
}

TEST_F(RegistryText, TheStoresReadStringsAlike) {
    struct Row {
        const char* name;
        std::string bytes;
        const char* read;
    };
    const Row rows[] = {
        {"blanks at both ends, with its NUL", std::string("  ab  \0", 7), "ab  "},
        {"blanks at both ends, without a NUL", "  ab  ", "ab  "},
        {"only blanks, without a NUL", "   ", ""},
        {"empty", "", ""},
        {"a tab inside, without a NUL", "ab\tc ", "ab"},
    };
    WriteUserHive("[Software\\\\Game] 1700000000\n");
    WineKeyStore wine(prefix());
    platform::FakeKeyStore fake(true);
    platform::ScriptedPrompts prompts;
    services::cRegistry fromWine(wine, prompts), fromFake(fake, prompts);
    for (const Row& row : rows) {
        ASSERT_EQ(
            Write(wine, hkey::CurrentUser, "Software\\Game", "v", platform::regtype::Sz, row.bytes),
            0)
            << row.name;
        fake.PutValue(hkey::CurrentUser, "Software\\Game", "v", platform::regtype::Sz, row.bytes);
        const std::string path = "HKEY_CURRENT_USER\\Software\\Game";
        EXPECT_EQ(fromWine.GetStringValue(path, "v").AsText(), row.read) << row.name;
        EXPECT_EQ(fromFake.GetStringValue(path, "v").AsText(), row.read) << row.name;
    }
}

TEST_F(RegistryText, ASavedKeyReplacesTheFileItIsSavedOver) {
    WriteUserHive("[Software\\\\Game] 1700000000\n\"v\"=\"first\"\n");
    WineKeyStore store(prefix());
    WineFileSystem files(prefix());
    platform::ScriptedPrompts prompts;
    services::cRegistry registry(store, prompts, &files);
    const std::string key = "HKEY_CURRENT_USER\\Software\\Game";
    ASSERT_TRUE(registry.SaveKey(key, "C:\\saved.hiv"));
    ASSERT_EQ(
        Write(store, hkey::CurrentUser, "Software\\Game", "v", platform::regtype::Sz, Sz("second")),
        0);
    ASSERT_TRUE(registry.SaveKey(key, "C:\\saved.hiv"));
    const std::string second = temp.Read("drive_c/saved.hiv");
    EXPECT_NE(second.find("\"v\"=\"second\""), std::string::npos) << second;
    EXPECT_EQ(second.find("first"), std::string::npos) << second;

    // A save that fails leaves the file as it was, and no temporary beside it.
    EXPECT_FALSE(registry.SaveKey(key + "\\Missing", "C:\\saved.hiv"));
    EXPECT_EQ(temp.Read("drive_c/saved.hiv"), second);
    auto names = files.List("C:\\");
    ASSERT_TRUE(names);
    for (const platform::DirEntry& entry : *names)
        EXPECT_EQ(entry.name.find("optera-new"), std::string::npos) << entry.name;
}

}  // namespace
