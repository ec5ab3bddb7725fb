#include "platform/wine/RegFile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace optera::platform;
using namespace std::string_literals;

namespace {

constexpr std::uint64_t kNow = 0x1dd7aeb95b4ec56ULL;  // "[...] 1795398013"

std::vector<std::uint8_t> Sz(std::u16string_view text) {
    std::vector<std::uint8_t> data;
    for (char16_t unit : text) {
        data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        data.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    data.push_back(0);
    data.push_back(0);
    return data;
}

const std::string kHeader =
    "WINE REGISTRY Version 2\n;; All keys relative to REGISTRY\\\\Machine\n\n#arch=win64\n";

const std::string kAi = R"(
[Software\\Classes\\.ai] 1795398013
#time=1dd7aeb9575d818
"Content Type"="application/postscript"
)";
const std::string kBmp = R"(
[Software\\Classes\\.bmp] 1795398013
#time=1dd7aeb9573b27c
"Content Type"="image/bmp"
)";
const std::string kLink = R"(
[Software\\Classes\\Wow6432Node\\AppId] 1795398009
#time=1dd7aeb9323e6cc
#link
"SymbolicLinkValue"=hex(6):5c,00,52,00,65,00,67,00,69,00,73,00,74,00,72,00,79,\
  00,5c,00,4d,00,61,00,63,00,68,00,69,00,6e,00,65,00,5c,00,53,00,6f,00,66,00,\
  74,00,77,00,61,00,72,00,65,00,5c,00,43,00,6c,00,61,00,73,00,73,00,65,00,73,\
  00,5c,00,41,00,70,00,70,00,49,00,64,00
)";
const std::string kEmpty = R"(
[Software\\Empty\\Leaf] 1795398013
#time=1dd7aeb95b4ec56
)";
const std::string kEscapes = R"(
[Software\\Wine\\Escapes] 1795398013
#time=1dd7aeb95b4ec56
#class="Optera \"test\""
@="default"
"Dword"=dword:00000f00
"Expand"=str(2):"%ProgramFiles%\\Common"
"Multi"=str(7):"a\0b\0"
"Octal"="\0011\2"
"Qword"=hex(b):01,02,03,04,05,06,07,08
"Unicode"="\xe9t\x00e9e \xd83c\xdf0e"
this line is garbage
)";
const std::string kUnicodeKey = R"(
[Software\\Wine\\\xc9t\xe9] 1795398013
#time=1dd7aeb95b4ec56
"Name"="x"
)";
const std::string kCrLf =
    "\r\n[System\\\\CurrentControlSet\\\\Control] 1795398013\r\n#time=1dd7aeb95b4ec56\r\n"
    "\"CrLf\"=\"yes\"\r\n";

std::string Hive() {
    return kHeader + kAi + kBmp + kLink + kEmpty + kEscapes + kUnicodeKey + kCrLf;
}

std::vector<std::string> Paths(const std::vector<const RegFileKey*>& keys) {
    std::vector<std::string> paths;
    for (const RegFileKey* key : keys) paths.push_back(key->path);
    return paths;
}

TEST(RegFile, RealisticHiveReadsBackByteForByte) {
    const std::string bytes = Hive();
    const RegFile file = RegFile::Parse(bytes);
    EXPECT_TRUE(file.ok());
    EXPECT_EQ(file.Arch(), "win64");
    EXPECT_EQ(file.Serialize(), bytes);
    EXPECT_EQ(
        Paths(file.Keys()),
        (std::vector<std::string>{"Software\\Classes\\.ai", "Software\\Classes\\.bmp",
                                  "Software\\Classes\\Wow6432Node\\AppId", "Software\\Empty\\Leaf",
                                  "Software\\Wine\\Escapes", "Software\\Wine\\\xc3\x89t\xc3\xa9",
                                  "System\\CurrentControlSet\\Control"}));

    const RegFileKey* link = file.Find("Software\\Classes\\Wow6432Node\\AppId");
    ASSERT_NE(link, nullptr);
    EXPECT_TRUE(link->isLink);
    EXPECT_EQ(link->modified, 0x1dd7aeb9323e6ccULL);
    EXPECT_EQ(link->values.at(0).type, 6u);
    EXPECT_EQ(link->values[0].data.size(), 80u);  // all four wrapped lines

    const RegFileKey* escapes = file.Find("Software\\Wine\\Escapes");
    ASSERT_NE(escapes, nullptr);
    EXPECT_EQ(escapes->className, "Optera \"test\"");
    ASSERT_EQ(escapes->values.size(), 7u);
    EXPECT_EQ(escapes->values[0].name, "");
    EXPECT_EQ(escapes->values[1].data, (std::vector<std::uint8_t>{0x00, 0x0f, 0, 0}));
    EXPECT_EQ(escapes->values[3].data, Sz(u"a\0b\0"s));
    EXPECT_EQ(escapes->values[4].data, Sz(u"\x01"
                                          u"1\x02"));
    EXPECT_EQ(escapes->values[6].data, Sz(u"\u00e9t\u00e9e \U0001F30E"));
    EXPECT_TRUE(file.Find("Software\\Empty\\Leaf")->values.empty());
    EXPECT_EQ(file.Find("System\\CurrentControlSet\\Control")->values.at(0).data, Sz(u"yes"));
}

TEST(RegFile, ChangingOneValueRewritesOnlyItsKeyAsWineDoes) {
    const std::string bytes = Hive();
    RegFile file = RegFile::Parse(bytes);
    file.SetValue("software\\classes\\.BMP", {"content type", 1, Sz(u"image/x-bmp")}, kNow);
    std::string expected = bytes;
    expected.replace(expected.find(kBmp), kBmp.size(), R"(
[Software\\Classes\\.bmp] 1795398013
#time=1dd7aeb95b4ec56
"Content Type"="image/x-bmp"
)");
    EXPECT_EQ(file.Serialize(), expected);

    // The garbage line stays; the class, escapes and values come out as they went in.
    file = RegFile::Parse(bytes);
    file.SetValue("Software\\Wine\\Escapes", {"Added", 4, {1, 0, 0, 0}}, kNow);
    expected = bytes;
    std::string escapes = kEscapes;  // the garbage line goes before the values, "Added" in order
    escapes.erase(escapes.find("this line is garbage\n"), 21);
    escapes.insert(escapes.find("@="), "this line is garbage\n");
    escapes.insert(escapes.find("\"Dword\""), "\"Added\"=dword:00000001\n");
    expected.replace(expected.find(kEscapes), kEscapes.size(), escapes);
    EXPECT_EQ(file.Serialize(), expected);

    // A CR LF key is written anew with line feeds; setting what is already there changes nothing.
    file = RegFile::Parse(bytes);
    file.SetValue("System\\CurrentControlSet\\Control", {"CRLF", 1, Sz(u"yes")}, kNow + 1);
    EXPECT_EQ(file.Serialize(), bytes);
    EXPECT_TRUE(file.Unchanged());
    file.SetValue("System\\CurrentControlSet\\Control", {"CrLf", 1, Sz(u"no")}, kNow);
    EXPECT_FALSE(file.Unchanged());
    expected = bytes;
    expected.replace(expected.find(kCrLf), kCrLf.size(), R"(
[System\\CurrentControlSet\\Control] 1795398013
#time=1dd7aeb95b4ec56
"CrLf"="no"
)");
    EXPECT_EQ(file.Serialize(), expected);
}

TEST(RegFile, NewKeysGoWhereWinesOrderPutsThem) {
    const struct {
        const char* path;
        const char* after;  // the key before it; "" for the first
    } rows[] = {
        {"Software\\Classes\\.b", "Software\\Classes\\.ai"},
        {"Software\\Classes\\.AI\\Sub", "Software\\Classes\\.ai"},  // below its parent
        {"Software\\Classes\\_x", "Software\\Classes\\.bmp"},       // '_' before letters
        {"Software\\Classes", ""},                                  // a parent first
        {"Software\\Classes\\Wow6432Node\\AppIdX", "Software\\Classes\\Wow6432Node\\AppId"},
        {"Software\\Wine\\\xc3\xa9"
         "a",
         "Software\\Wine\\Escapes"},  // \xe9 after e, É is \xe9
        {"Software\\Wine\\Escapes x", "Software\\Wine\\Escapes"},
        {"Software\\Wine\\Escapes\\x", "Software\\Wine\\Escapes"},
        {"System", "Software\\Wine\\\xc3\x89t\xc3\xa9"},
        {"Zzz", "System\\CurrentControlSet\\Control"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        RegFile file = RegFile::Parse(Hive());
        EXPECT_EQ(file.AddKey(row.path, kNow).path, row.path);
        const std::vector<std::string> paths = Paths(file.Keys());
        const auto at = std::find(paths.begin(), paths.end(), row.path);
        ASSERT_NE(at, paths.end());
        EXPECT_EQ(at == paths.begin() ? "" : *(at - 1), row.after);
    }
    RegFile file = RegFile::Parse(Hive());
    file.AddKey("Software\\Classes\\.b", kNow);
    std::string expected = Hive();
    expected.insert(expected.find(kBmp),
                    "\n[Software\\\\Classes\\\\.b] 1795398013\n#time=1dd7aeb95b4ec56\n");
    EXPECT_EQ(file.Serialize(), expected);
}

TEST(RegFile, FindAndBelowIgnoreCase) {
    const RegFile file = RegFile::Parse(Hive());
    EXPECT_NE(file.Find("SOFTWARE\\wine\\escapes"), nullptr);
    EXPECT_NE(file.Find("software\\wine\\\xc3\xa9T\xc3\x89"), nullptr);  // non-ASCII folds too
    EXPECT_NE(file.Find("\\Software\\\\Empty\\Leaf\\"), nullptr);        // empty parts dropped
    EXPECT_EQ(file.Find("Software\\Wine"), nullptr);  // implied by its subkeys: no line
    EXPECT_EQ(file.Below("").size(), 7u);
    EXPECT_EQ(
        Paths(file.Below("software\\WINE")),
        (std::vector<std::string>{"Software\\Wine\\Escapes", "Software\\Wine\\\xc3\x89t\xc3\xa9"}));
    EXPECT_EQ(Paths(file.Below("Software\\Classes\\.ai")),
              (std::vector<std::string>{"Software\\Classes\\.ai"}));
    EXPECT_TRUE(file.Below("Software\\Class").empty());
}

TEST(RegFile, ValueTypesAreWrittenAsWineWritesThem) {
    const std::string longName =
        "a name with a really long long long long name to test wrapping of hex";
    std::vector<std::uint8_t> sixtyFour;
    for (int i = 1; i <= 64; ++i) sixtyFour.push_back(static_cast<std::uint8_t>(i));
    const struct {
        const char* label;
        RegFileValue value;
        std::string line;
    } rows[] = {
        {"string", {"S", 1, Sz(u"C:\\dir \"q\"")}, R"("S"="C:\\dir \"q\"")"},
        {"default value", {"", 1, Sz(u"")}, R"(@="")"},
        {"string without its NUL", {"S", 1, {0x61, 0}}, R"("S"=hex(1):61,00)"},
        {"string of odd length", {"S", 1, {0x61, 0, 0}}, R"("S"=hex(1):61,00,00)"},
        {"string ending in two NULs", {"S", 1, Sz(u"a\0"s)}, R"("S"="a\0")"},
        {"no data", {"S", 1, {}}, R"("S"=hex(1):)"},
        {"expandable", {"E", 2, Sz(u"%SystemRoot%")}, R"("E"=str(2):"%SystemRoot%")"},
        {"multi-string", {"M", 7, Sz(u"a\0b\0"s)}, R"("M"=str(7):"a\0b\0")"},
        {"dword", {"D", 4, {0x01, 0x0f, 0, 0xab}}, R"("D"=dword:ab000f01)"},
        {"dword of 3 bytes", {"D", 4, {1, 2, 3}}, R"("D"=hex(4):01,02,03)"},
        {"qword", {"Q", 11, {1, 2, 3, 4, 5, 6, 7, 8}}, R"("Q"=hex(b):01,02,03,04,05,06,07,08)"},
        {"type 0", {"N", 0, {}}, R"("N"=hex(0):)"},
        {"high type", {"T", 0xffff0007, {3, 0, 0, 0}}, R"("T"=hex(ffff0007):03,00,00,00)"},
        {"a comma at column 76 does not wrap",
         {std::string(66, 'n'), 3, {1, 2}},
         "\"" + std::string(66, 'n') + "\"=hex:01,02"},
        // Wrapping as Wine 8 wrote these two.
        {"wrapped default",
         {"", 3, sixtyFour},
         "@=hex:01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,17,18,\\\n"
         "  19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27,28,29,2a,2b,2c,2d,2e,2f,30,31,\\\n"
         "  32,33,34,35,36,37,38,39,3a,3b,3c,3d,3e,3f,40"},
        {"wrapped after a long name",
         {longName, 3, sixtyFour},
         "\"" + longName +
             "\"=hex:01,\\\n"
             "  02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,17,18,19,1a,\\\n"
             "  1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27,28,29,2a,2b,2c,2d,2e,2f,30,31,32,33,\\\n"
             "  34,35,36,37,38,39,3a,3b,3c,3d,3e,3f,40"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        RegFile file = RegFile::Parse(kHeader);
        file.SetValue("K", row.value, kNow);
        const std::string text = file.Serialize();
        EXPECT_EQ(text, kHeader + "\n[K] 1795398013\n#time=1dd7aeb95b4ec56\n" + row.line + "\n");
        const RegFile again = RegFile::Parse(text);
        const RegFileKey* key = again.Find("K");
        ASSERT_NE(key, nullptr);
        ASSERT_EQ(key->values.size(), 1u);
        EXPECT_EQ(key->values[0].name, row.value.name);
        EXPECT_EQ(key->values[0].type, row.value.type);
        EXPECT_EQ(key->values[0].data, row.value.data);
    }
}

TEST(RegFile, ValueLinesAreReadAsWineReadsThem) {
    const struct {
        const char* label;
        std::string line;
        std::uint32_t type;
        std::vector<std::uint8_t> data;
    } rows[] = {
        {"blanks around =", R"(  "V"  =  "y")", 1, Sz(u"y")},
        {"str: form", R"("V"=str:"y")", 1, Sz(u"y")},
        {"text after the closing quote", R"("V"="y" junk)", 1, Sz(u"y")},
        {"upper-case dword", "\"V\"=dword:ABCDEF01", 4, {0x01, 0xef, 0xcd, 0xab}},
        {"dword that is not a number", "\"V\"=dword:xyz", 4, {0, 0, 0, 0}},
        {"number forms in hex", "\"V\"=hex:0x12,0001,  3 4", 3, {0x12, 0x01, 0x03, 0x04}},
        {"hex() with no type", "\"V\"=hex():01", 0, {1}},
        {"continuation with junk", "\"V\"=hex:01,\\ junk\n 02", 3, {1, 2}},
        {"unterminated string", R"("V"="abc)", 0, {}},
        {"byte above ff", "\"V\"=hex:1,100", 0, {}},
        {"unknown form", "\"V\"=sz:\"y\"", 0, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const RegFile file = RegFile::Parse(kHeader + "[K] 1\n" + row.line + "\n");
        const RegFileKey* key = file.Find("K");
        ASSERT_NE(key, nullptr);
        ASSERT_EQ(key->values.size(), 1u);
        EXPECT_EQ(key->values[0].type, row.type);
        EXPECT_EQ(key->values[0].data, row.data);
    }
}

TEST(RegFile, EscapesBothWays) {
    const struct {
        std::u16string text;
        bool inKeyPath;
        std::string escaped;
    } rows[] = {
        {u"C:\\a \"b\"", false, R"(C:\\a \"b\")"},
        {u"[a] \"b\"", true, R"(\[a\] "b")"},
        {u"\u00e9t\u00e9", false, R"(\xe9t\xe9)"},
        {u"\u00e9e", false, R"(\x00e9e)"},  // a hex digit follows: four digits
        {u"\u00e9g", false, R"(\xe9g)"},
        {u"\x01"
         u"1\x01"
         u"8\x02",
         false, R"(\0011\18\2)"},  // an octal digit follows
        {u"\a\b\t\n\v\f\r\x1b", false, R"(\a\b\t\n\v\f\r\e)"},
        {u"a\0b"s, false, R"(a\0b)"},
        {u"\U0001F30E", false, R"(\xd83c\xdf0e)"},
        {u"\x7f", false, "\x7f"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.escaped);
        EXPECT_EQ(EscapeRegString(row.text, row.inKeyPath), row.escaped);
        EXPECT_EQ(UnescapeRegString(row.escaped), row.text);
    }
    const struct {
        std::string escaped;
        std::optional<std::u16string> text;
    } reads[] = {
        {"\xc3\xa9\xf0\x9f\x8c\x8e", u"\u00e9\U0001F30E"},  // raw UTF-8
        {"A\xff"
         "B\xc3"
         "C\xed\xa0\x80",
         u"AB"
         u"C\xd800"},  // bad bytes skipped
        {R"(\q\x\xg)", u"qxxg"},
        {R"(\x10000\777)",
         u"\x1000"
         u"0\x1ff"},
        {"abc\\", std::nullopt},
    };
    for (const auto& row : reads) EXPECT_EQ(UnescapeRegString(row.escaped), row.text);
}

TEST(RegFile, RepeatedKeysAndValuesMergeAsInWine) {
    const std::string bytes =
        kHeader +
        "[A] 1\n#time=0\n#time=5\n\"v\"=\"1\"\n\"V\"=\"2\"\n\n[B] 1\n\"x\"=\"b\"\n\n"
        "[a\\\\] 1\n#time=7\n\"w\"=dword:00000001\n";
    RegFile file = RegFile::Parse(bytes);
    EXPECT_EQ(file.Serialize(), bytes);
    ASSERT_EQ(file.Keys().size(), 2u);
    const RegFileKey* a = file.Find("A");
    ASSERT_EQ(a->values.size(), 2u);
    EXPECT_EQ(a->values[0].name, "v");
    EXPECT_EQ(a->values[0].data, Sz(u"2"));
    EXPECT_EQ(a->modified, 5u);  // the first time that is not 0
    file.DeleteValue("A", "W", kNow);
    EXPECT_EQ(file.Serialize(), kHeader + "\n[A] 1795398013\n#time=1dd7aeb95b4ec56\n\"v\"=\"2\"\n" +
                                    "\n[B] 1\n\"x\"=\"b\"\n");
}

TEST(RegFile, ContinuationLinesAreTakenAsWineTakesThem) {
    // A hex value ending in a backslash takes the next line, even a key line.
    const std::string swallowed = kHeader + "[A] 1\n\"h\"=hex:01,\\\n[B] 1\n\"x\"=\"y\"\n";
    const RegFile file = RegFile::Parse(swallowed);
    EXPECT_EQ(file.Find("B"), nullptr);
    ASSERT_EQ(file.Find("A")->values.size(), 2u);
    EXPECT_EQ(file.Find("A")->values[0].type, 0u);  // the broken value, empty
    EXPECT_EQ(file.Find("A")->values[1].name, "x");

    // One cut off by the end of the file must not take a key added after it.
    const std::string cut = kHeader + "[A] 1\n\"h\"=hex:01,\\";
    RegFile added = RegFile::Parse(cut);
    EXPECT_EQ(added.Serialize(), cut);
    added.AddKey("B", kNow);
    const std::string text = added.Serialize();
    EXPECT_EQ(text, cut + "\n;\n\n[B] 1795398013\n#time=1dd7aeb95b4ec56\n");
    const RegFile again = RegFile::Parse(text);
    EXPECT_NE(again.Find("B"), nullptr);
    EXPECT_EQ(again.Find("A")->values.size(), 1u);
}

TEST(RegFile, KeyEditsKeepWhatWineWouldHave) {
    const std::string bytes =
        kHeader + "\n[P\\\\C] 1\n\"v\"=\"1\"\n\n[Q\\\\C] 1\n\n[Q\\\\C\\\\D] 1\n";
    RegFile file = RegFile::Parse(bytes);

    // Opening a key changes nothing; changing it through the reference writes it anew.
    RegFileKey& opened = file.AddKey("p\\c", kNow);
    EXPECT_EQ(&opened, file.Find("P\\C"));
    EXPECT_EQ(file.Serialize(), bytes);
    opened.className = "cls";
    EXPECT_EQ(file.Serialize(),
              kHeader + "\n[P\\\\C] 1795398013\n#time=1dd7aeb95b4ec56\n" +
                  "#class=\"cls\"\n\"v\"=\"1\"\n\n[Q\\\\C] 1\n\n[Q\\\\C\\\\D] 1\n");

    // P\C was all that implied P: P gets a line of its own. Q\C's subkey implies Q.
    file = RegFile::Parse(bytes);
    const RegFileKey* pc = file.Find("P\\C");
    EXPECT_TRUE(file.DeleteKey("P\\C", kNow));
    EXPECT_FALSE(file.DeleteKey("P\\C", kNow));
    EXPECT_TRUE(file.DeleteKey("Q\\C"));
    EXPECT_FALSE(file.DeleteValue("Q\\C\\D", "none", kNow));
    EXPECT_EQ(Paths(file.Keys()), (std::vector<std::string>{"P", "Q\\C\\D"}));
    EXPECT_EQ(file.Serialize(),
              kHeader + "\n[P] 1795398013\n#time=1dd7aeb95b4ec56\n\n[Q\\\\C\\\\D] 1\n");
    EXPECT_EQ(pc->values.size(), 1u);  // a deleted key's object stays readable
}

TEST(RegFile, HeaderAndTimeStamps) {
    // `kept`: a key added after the header leaves it reading as it did (a carriage return
    // that ends the file joins the line feed written after it, and the width would change).
    const struct {
        std::string bytes;
        bool ok;
        std::string arch;
        bool kept;
    } rows[] = {
        {"WINE REGISTRY Version 2\n#arch=win32\n", true, "win32", true},
        {"WINE REGISTRY Version 2\r\n#arch=win64\r\n", true, "win64", true},
        {"WINE REGISTRY Version 2\n#arch=win64\r", true, "win64\r", false},
        {"WINE REGISTRY Version 2\n#arch=win64\n\n[A] 1\n", true, "win64", true},
        {"WINE REGISTRY Version 2", true, "", true},
        {"\xef\xbb\xbfWINE REGISTRY Version 2\n", false, "", false},
        {"WINE REGISTRY Version 1\n", false, "", false},
        {"", false, "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        RegFile file = RegFile::Parse(row.bytes);
        EXPECT_EQ(file.ok(), row.ok);
        EXPECT_EQ(file.Arch(), row.arch);
        EXPECT_EQ(file.Serialize(), row.bytes);
        file.AddKey("Z", kNow);
        EXPECT_EQ(file.WritesSameHeader(), row.kept);
    }
    // Wine prints the FILETIME as "%x%08x" and the seconds truncated to 32 bits.
    RegFile file = RegFile::Parse("WINE REGISTRY Version 2");
    file.AddKey("K", 0xabc);
    EXPECT_EQ(file.Serialize(), "WINE REGISTRY Version 2\n\n[K] 1240428289\n#time=000000abc\n");
}

}  // namespace
