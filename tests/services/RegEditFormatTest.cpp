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
    EXPECT_EQ(text::Utf8FromUtf16(*text),
              "Windows Registry Editor Version 5.00\r\n"
              "\r\n[HKEY_CURRENT_USER\\Software\\Game]\r\n"
              "@=\"default\"\r\n"
              "\"Path\"=\"C:\\\\Games\\\\\\\"Game\\\"\\r\\n\"\r\n"
              "\"Width\"=dword:00000f00\r\n"
              "\"Blob\"=hex:2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,2a,"
              "2a,2a,2a,2a,2a,\\\r\n"
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

// What a file leaves under HKCU\Software\T, in our export's lines ("|" between
// them, the key's own line left out), and whether the load was whole. Each
// row's result is what Wine's registry editor made of the same file
// (tools/regedit-diff compares thousands of such files).
struct ImportRow {
    const char* behaviour;
    std::string file;  // "|" is CR LF
    std::string left;
    bool whole;
    bool unicode = true;
};

#define V5 "Windows Registry Editor Version 5.00||"
#define KEY "[HKEY_CURRENT_USER\\Software\\T]|"
#define SUB "[HKEY_CURRENT_USER\\Software\\T\\S]|"

const ImportRow kImportRows[] = {
    {"blank and comment lines inside a hex value are passed over",
     V5 KEY "\"m\"=hex:01,\\||  ;c|  02|\"n\"=\"1\"|", "\"m\"=hex:01,02|\"n\"=\"1\"", true},
    {"a hex value still continued at the end of the file keeps its bytes",
     V5 KEY "\"m\"=hex:01,02,\\", "\"m\"=hex:01,02", true},
    {"a backslash without a comma before it costs its own value only",
     V5 KEY "\"m\"=hex:01,02\\|" SUB "\"n\"=\"1\"|", "|[\\S]|\"n\"=\"1\"", false},
    {"a continued value reads the next line as hex, even a key line",
     V5 KEY "\"m\"=hex:01,\\|" SUB "\"n\"=\"1\"|", "\"n\"=\"1\"", false},
    {"hex digits split over two lines make the value bad", V5 KEY "\"m\"=hex:01,0\\|  2|", "",
     false},
    {"a continuation may follow the comma after blanks or before a comment",
     V5 KEY "\"m\"=hex:01,\\ ;c|  02,\\|\t03|", "\"m\"=hex:01,02,03", true},
    {"CR alone ends lines",
     "Windows Registry Editor Version "
     "5.00\r[HKEY_CURRENT_USER\\Software\\T]\r\"a\"=\"x\"\r",
     "\"a\"=\"x\"", true},
    {"LF alone ends lines", "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\T]\n\"a\"=hex:01,\\\n 02\n",
     "\"a\"=hex:01,02", true},
    {"blanks may stand before the header, a key line and a value line",
     " \t" V5 "  " KEY "\t\"a\"=\"x\"|", "\"a\"=\"x\"", true},
    {"blanks around '=' and the data, comments after the data",
     V5 KEY "\"a\" = \"x\" ;c|\"b\"=dword: "
            "1|\"c\"=dword:2\t;c|\"d\"=hex:01;c|\"e\"=hex:02 ;c|",
     "\"a\"=\"x\"|\"b\"=dword:00000001|\"c\"=dword:00000002|\"d\"=hex:01|\"e\"="
     "hex:02",
     true},
    {"text after a string's closing quote makes it bad",
     V5 KEY "\"a\"=\"foo\"bar\"|\"b\"=\"foo\" x|\"c\"=\"y\"|", "\"c\"=\"y\"", false},
    {"escapes: \\\\, \\\", \\n and \\r; any other escaped character stands for "
     "itself",
     V5 KEY "\"a\"=\"x\\\\y\\\"z\"|\"b\"=\"x\\ny\\rz\"|\"c\"=\"x\\ty\"|",
     "\"a\"=\"x\\\\y\\\"z\"|\"b\"=\"x\\ny\\rz\"|\"c\"=\"xty\"", true},
    // The editor stops loading at "\0" in a string; here that line alone is
    // lost.
    {"\\0 in a string makes that line bad", V5 KEY "\"a\"=\"x\\0y\"|\"b\"=\"y\"|", "\"b\"=\"y\"",
     false},
    {"a string not closed on its line is bad", V5 KEY "\"a\"=\"x\\\"|\"b\"=\"y|\"c\"=\"z\"|",
     "\"c\"=\"z\"", false},
    {"a delete may have blanks and a comment around its '-'",
     V5 KEY "\"a\"=\"x\"|\"b\"=\"x\"|\"c\"=\"x\"|\"a\"=  -  |\"b\"=- ;c|\"c\"=-x|@=-|",
     "\"c\"=\"x\"", false},
    {"a string type given in hex gets the terminator it lacks",
     V5 KEY "\"m\"=hex(7):61,00,62,00|\"s\"=hex(1):61,00|\"e\"=hex(2):|\"z\"="
            "hex(2):41,00,00,00|",
     "\"m\"=hex(7):61,00,62,00,00,00|\"s\"=\"a\"|\"e\"=hex(2):|\"z\"=hex(2):41,"
     "00,00,00",
     true},
    {"an 8-bit file holds the bytes of its strings in the code page",
     "REGEDIT4|" KEY "\"b\"=hex(2):41,e9,00|\"m\"=hex(7):41,00,42|\"s\"=\"\xe9\"|",
     "\"b\"=hex(2):41,00,e9,00,00,00|\"m\"=hex(7):41,00,00,00,42,00,00,00|"
     "\"s\"=\"\xc3\xa9\"",
     true, false},
    {"type names are read in lower case only",
     V5 KEY "\"a\"=DWORD:1|\"b\"=HEX:01|\"c\"=Hex(1):61,00|\"d\"=dword:1|", "\"d\"=dword:00000001",
     false},
    {"a dword has one to eight digits",
     V5 KEY "\"a\"=dword:|\"b\"=dword:123456789|\"c\"=dword:0x1|\"d\"=dword:-1|"
            "\"e\"=dword:ABCDEF01|",
     "\"e\"=dword:abcdef01", false},
    {"the type in hex(): blanks before it, none after, none means 0",
     V5 KEY "\"a\"=hex():01|\"b\"=hex( 1):61,00|\"c\"=hex(1 ):61,00|\"d\"=hex(0x1):01|"
            "\"e\"=hex(100):01|\"f\"=hex (1):01|",
     "\"a\"=hex(0):01|\"b\"=\"a\"|\"e\"=hex(100):01", false},
    {"each byte is a number up to ff, with blanks before it only",
     V5 KEY "\"a\"=hex:1,012,0x1,+1|\"b\"=hex:123|\"c\"=hex:01 ,02|\"d\"=hex: "
            "01,\t02,|"
            "\"e\"=hex:01,,02|\"f\"=hex:01 02|",
     "\"a\"=hex:01,12,01,01|\"d\"=hex:01,02", false},
    {"a key line: text after the last ']' is passed over, a line without one "
     "changes nothing",
     V5 KEY "[HKEY_CURRENT_USER\\Software\\T\\A]]x|\"a\"=\"1\"|[HKEY_CURRENT_"
            "USER\\Software\\T\\B|"
            "\"b\"=\"1\"|[ HKEY_CURRENT_USER\\Software\\T\\C]|\"c\"=\"1\"|",
     "|[\\A]]|\"a\"=\"1\"|\"b\"=\"1\"|\"c\"=\"1\"", false},
    {"a key that cannot be opened loses the values under it",
     V5 KEY "[HKCU\\Software\\T\\A]|\"a\"=\"1\"|[HKEY_NONE\\T]|\"b\"=\"1\"|"
            "[hkey_current_user\\Software\\T\\\\C\\]|\"c\"=\"1\"|",
     "|[\\C]|\"c\"=\"1\"", false},
    {"values after a deleted key are lost",
     V5 KEY SUB "\"a\"=\"1\"|[-HKEY_CURRENT_USER\\Software\\T\\S] ;c|\"b\"=\"1\"|", "", false},
    {"a hex value where no key is open still goes on over the next line",
     V5 KEY SUB "[-HKEY_CURRENT_USER\\Software\\T\\S]|\"m\"=hex:01,\\|" SUB "\"n\"=\"1\"|", "",
     false},
    {"values before the first key are lost", V5 "\"a\"=\"1\"|" KEY "\"b\"=\"1\"|", "\"b\"=\"1\"",
     false},
    {"comments and remarks", V5 KEY ";c|  ;c|#c|\"a\"=\"1\"|", "\"a\"=\"1\"", false},
};

// Our export of HKCU\Software\T in a row's terms.
std::string Left(FakeKeyStore& store) {
    auto saved = services::ExportText(store, "HKEY_CURRENT_USER\\Software\\T");
    if (!saved) return "(no key)";
    std::string left = text::Utf8FromUtf16(*saved);
    const std::string head =
        "Windows Registry Editor Version "
        "5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\T]\r\n";
    left.erase(0, head.size());
    for (std::size_t at; (at = left.find("\r\n")) != std::string::npos;) left.replace(at, 2, "|");
    for (std::size_t at; (at = left.find("[HKEY_CURRENT_USER\\Software\\T")) != std::string::npos;)
        left.replace(at, 29, "[");
    while (left.ends_with('|')) left.pop_back();
    return left;
}

TEST(RegEditImport, ReadsEachLineAsTheRegistryEditorDoes) {
    for (const ImportRow& row : kImportRows) {
        SCOPED_TRACE(row.behaviour);
        std::string text = row.file;
        for (std::size_t at; (at = text.find('|')) != std::string::npos;)
            text.replace(at, 1, "\r\n");
        FakeKeyStore store{true};
        const bool whole =
            services::ImportText(store, row.unicode ? "\xFF\xFE" + Utf16(text) : text);
        EXPECT_EQ(Left(store), row.left);
        EXPECT_EQ(whole, row.whole);
    }
}

// Only a file whose first line is the header of a registry file is loaded; a
// file that is missing or whose last line still continues does not load whole.
TEST(RegEditImport, AFileWithoutItsHeaderOnTheFirstLineLoadsNothing) {
    for (const char* file : {"Windows Registry Editor Version 5.00 "
                             "\r\n[HKEY_CURRENT_USER\\Software\\T]",
                             "\r\nREGEDIT4\r\n[HKEY_CURRENT_USER\\Software\\T]",
                             "regedit4\r\n[HKEY_CURRENT_USER\\Software\\T]",
                             "REGEDIT4;c\r\n[HKEY_CURRENT_USER\\Software\\T]",
                             "\xEF\xBB\xBFREGEDIT4\r\n[HKEY_CURRENT_USER\\Software\\T]",
                             "[HKEY_CURRENT_USER\\Software\\T]\r\n", ""}) {
        FakeKeyStore store{true};
        EXPECT_FALSE(services::ImportText(store, file)) << file;
        EXPECT_FALSE(store.Exists(hkey::CurrentUser, "Software\\T")) << file;
    }
    FakeKeyStore store{true};
    platform::FakeFileSystem files;
    EXPECT_FALSE(services::ImportRegistryFile(store, files, "C:\\missing.reg"));
    EXPECT_FALSE(services::ImportText(store, "=hex:01,\\")) << "a last line that continues";
    files.PutFile("C:\\empty.reg", "\xFF\xFE" + Utf16("Windows Registry Editor Version 5.00\r\n"));
    EXPECT_TRUE(services::ImportRegistryFile(store, files, "C:\\empty.reg"));
}

}  // namespace
