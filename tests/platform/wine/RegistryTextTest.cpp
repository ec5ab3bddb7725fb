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
    std::string bytes = "\xFF\xFE";
    for (char16_t unit : text::Utf16FromUtf8(utf8))
        bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    return bytes;
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
