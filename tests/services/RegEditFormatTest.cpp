#include <gtest/gtest.h>

#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/FakeKeyStore.h"
#include "services/RegEditFormat.h"
#include "text/CodePage.h"

using namespace optera;
using platform::FakeKeyStore;
namespace hkey = platform::hkey;
namespace regtype = platform::regtype;

namespace {

std::string Utf16(std::string_view text) {
    std::string bytes;
    for (char c : text) bytes += {c, '\0'};
    return bytes;
}

class RegEdit : public ::testing::Test {
  protected:
    FakeKeyStore store{true};
    platform::FakeFileSystem files;

    void SetUp() override {
        const std::string game = "Software\\Game";
        store.PutString(hkey::CurrentUser, game, "", "default");
        store.PutString(hkey::CurrentUser, game, "Path", "C:\\Games\\\"Game\"\r\n");
        store.PutValue(hkey::CurrentUser, game, "Width", regtype::Dword,
                       std::string("\x00\x0f\0\0", 4));
        store.PutValue(hkey::CurrentUser, game, "Blob", regtype::Binary, std::string(30, '\x2a'));
        store.PutValue(hkey::CurrentUser, game, "Empty", regtype::Binary, "");
        store.PutValue(hkey::CurrentUser, game, "Blank", regtype::Sz, "");
        store.PutValue(hkey::CurrentUser, game, "Exp", regtype::ExpandSz, std::string("%A%\0", 4));
        store.PutValue(hkey::CurrentUser, game + "\\Video", "Multi", regtype::MultiSz,
                       std::string("a\0b\0\0", 5));
    }
};

TEST_F(RegEdit, ExportWritesTheKeyAndItsSubkeysAsTheEditorDoes) {
    auto text = services::ExportText(store, "HKEY_CURRENT_USER\\Software\\Game");
    ASSERT_TRUE(text);
    EXPECT_EQ(
        text::Utf8FromUtf16(*text),
        "Windows Registry Editor Version 5.00\r\n"
        "\r\n[HKEY_CURRENT_USER\\Software\\Game]\r\n"
        "@=\"default\"\r\n"
        "\"Path\"=\"C:\\\\Games\\\\\\\"Game\\\"\\r\\n\"\r\n"
        "\"Width\"=dword:00000f00\r\n"
        "\"Blob\"=hex:2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,\\\r\n"
        "  2a,2a,2a,2a,2a,2a,2a,2a\r\n"
        "\"Empty\"=hex:\r\n"
        "\"Blank\"=\"\"\r\n"
        "\"Exp\"=hex(2):25,00,41,00,25,00,00,00\r\n"
        "\r\n[HKEY_CURRENT_USER\\Software\\Game\\Video]\r\n"
        "\"Multi\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
        "\r\n");

    ASSERT_TRUE(
        services::ExportRegistryKey(store, files, "HKCU\\Software\\Game\\Video", "C:\\backup.reg"));
    EXPECT_EQ(files.ReadAll("C:\\backup.reg"),
              "\xFF\xFE" + Utf16("Windows Registry Editor Version 5.00\r\n\r\n"
                                 "[HKCU\\Software\\Game\\Video]\r\n"
                                 "\"Multi\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n\r\n"));
}

TEST_F(RegEdit, AMissingKeyWritesNoFile) {
    EXPECT_FALSE(services::ExportRegistryKey(store, files, "HKEY_CURRENT_USER\\Software\\None",
                                             "C:\\x.reg"));
    EXPECT_FALSE(services::ExportRegistryKey(store, files, "HKEY_NOWHERE\\Software", "C:\\x.reg"));
    EXPECT_FALSE(platform::FileExists(files, "C:\\x.reg"));
}

TEST_F(RegEdit, AnExportImportedElsewhereGivesTheSameExport) {
    auto before = services::ExportText(store, "HKEY_CURRENT_USER\\Software\\Game");
    ASSERT_TRUE(services::ExportRegistryKey(store, files, "HKEY_CURRENT_USER\\Software\\Game",
                                            "C:\\b.reg"));
    FakeKeyStore other{true};
    ASSERT_TRUE(services::ImportRegistryFile(other, files, "C:\\b.reg"));
    EXPECT_EQ(services::ExportText(other, "HKEY_CURRENT_USER\\Software\\Game"), before);
}

TEST_F(RegEdit, ImportSetsChangesAndDeletes) {
    const std::string file =
        "Windows Registry Editor Version 5.00\r\n\r\n"
        "; a comment\r\n"
        "[HKEY_CURRENT_USER\\Software\\Game]\r\n"
        "\"Width\"=dword:00000400\r\n"
        "\"Path\"=-\r\n"
        "\"New\"=\"a \\\"b\\\"\"\r\n"
        "\"Wrapped\"=hex:01,02,\\\r\n  03\r\n"
        "\"Broken\"=dword:xyz\r\n"
        "\"Odd\"=hex(zz):01\r\n"
        "\r\n[-HKEY_CURRENT_USER\\Software\\Game\\Video]\r\n"
        "\r\n[HKEY_LOCAL_MACHINE\\Software\\Made\\Here]\r\n";
    files.PutFile("C:\\in.reg", "\xFF\xFE" + Utf16(file));
    EXPECT_FALSE(services::ImportRegistryFile(store, files, "C:\\in.reg"))
        << "two lines could not be read: the file did not load whole";

    using Value = FakeKeyStore::StoredValue;
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Game", "Width"),
              (Value{regtype::Dword, std::string("\x00\x04\0\0", 4)}));
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Game", "Path"), std::nullopt);
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Game", "New"),
              (Value{regtype::Sz, std::string("a \"b\"\0", 6)}));
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Game", "Wrapped"),
              (Value{regtype::Binary, "\x01\x02\x03"}));
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Game", "Broken"), std::nullopt);
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Game", "Odd"), std::nullopt);
    EXPECT_FALSE(store.Exists(hkey::CurrentUser, "Software\\Game\\Video"));
    EXPECT_TRUE(store.Exists(hkey::LocalMachine, "Software\\Made\\Here"));
    EXPECT_TRUE(store.Exists(hkey::CurrentUser, "Software\\Game")) << "only the subkey went";
}

TEST_F(RegEdit, OnlyRegistryFilesAreImported) {
    files.PutFile("C:\\empty.reg", "\xFF\xFE" + Utf16("Windows Registry Editor Version 5.00\r\n"));
    files.PutFile("C:\\old.reg",
                  "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\Old]\r\n"
                  "\"Exp\"=hex(2):41,42,00\r\n");
    files.PutFile("C:\\not.reg", "[HKEY_CURRENT_USER\\Software\\Not]\r\n");
    EXPECT_TRUE(services::ImportRegistryFile(store, files, "C:\\empty.reg"));
    EXPECT_TRUE(services::ImportRegistryFile(store, files, "C:\\old.reg"));
    EXPECT_EQ(store.Value(hkey::CurrentUser, "Software\\Old", "Exp"),
              (FakeKeyStore::StoredValue{regtype::ExpandSz, std::string("AB\0", 3)}))
        << "an 8-bit file holds its strings in the code page";
    EXPECT_FALSE(services::ImportRegistryFile(store, files, "C:\\not.reg"));
    EXPECT_FALSE(store.Exists(hkey::CurrentUser, "Software\\Not"));
    EXPECT_FALSE(services::ImportRegistryFile(store, files, "C:\\missing.reg"));
    EXPECT_FALSE(services::ImportText(store, "=hex:01,\\")) << "a last line that continues";
    EXPECT_FALSE(services::ImportText(store, ""));
}

}  // namespace
