#include <gtest/gtest.h>

#include "services/ProfileDocument.h"

using optera::services::ProfileDocument;
using Lines = std::vector<std::string>;

namespace {
std::string SetAndSerialize(std::string_view bytes, std::string_view section, std::string_view key,
                            std::string_view value) {
    ProfileDocument doc = ProfileDocument::Parse(bytes);
    doc.Set(section, key, value);
    return doc.Serialize();
}
}  // namespace

TEST(ProfileDocument, ReadsEntriesAsTheProfileFunctionsGiveThem) {
    ProfileDocument doc = ProfileDocument::Parse(
        "; help text\r\n"
        "[GameInfo]\r\n"
        "  GAMEEXE =  sample.exe  \r\n"
        "; a comment inside\r\n"
        "\r\n"
        "NativePanolineSupport = \r\n"
        "just words\r\n"
        "=line one\r\n"
        "=line two\r\n"
        "[ Other ]\r\n"
        "x=1");
    EXPECT_EQ(doc.SectionNames(), (Lines{"GameInfo", "Other"}));
    EXPECT_EQ(*doc.SectionEntries("GAMEINFO"),
              (Lines{"GAMEEXE=sample.exe", "NativePanolineSupport=", "just words", "=line one",
                     "=line two"}));
    EXPECT_EQ(*doc.SectionEntries("other"), (Lines{"x=1"}));
    EXPECT_EQ(doc.Value("gameinfo", "gameexe"), "sample.exe");
    EXPECT_FALSE(doc.SectionEntries("missing"));
    EXPECT_FALSE(doc.Value("GameInfo", "missing"));

    ProfileDocument ends = ProfileDocument::Parse("[a]\rk=1\r[b]\nk=2\r\n[c]\r\nk=3");
    EXPECT_EQ(ends.SectionNames(), (Lines{"a", "b", "c"})) << "every kind of line end";
    EXPECT_EQ(ends.Value("a", "k"), "1");
    EXPECT_EQ(ends.Value("c", "k"), "3");
}

TEST(ProfileDocument, ChangingAValueLeavesEveryOtherByte) {
    const std::string before =
        "; comment\r\n[Display]\r\n  Width = "
        "800\r\nHeight=600\n\n[Sound]\rVolume=3\r";
    EXPECT_EQ(SetAndSerialize(before, "display", "WIDTH", "1024"),
              "; comment\r\n[Display]\r\n  Width = "
              "1024\r\nHeight=600\n\n[Sound]\rVolume=3\r");
    EXPECT_EQ(SetAndSerialize(before, "Sound", "Volume", ""),
              "; comment\r\n[Display]\r\n  Width = "
              "800\r\nHeight=600\n\n[Sound]\rVolume=\r");
}

TEST(ProfileDocument, NewKeysAndSectionsAreAddedWhereTheyBelong) {
    struct Row {
        const char* name;
        const char* before;
        const char* section;
        const char* after;
    } rows[] = {
        {"key at the end of its section, before the blank line", "[a]\nx=1\n\n[b]\ny=2\n", "a",
         "[a]\nx=1\nk=v\n\n[b]\ny=2\n"},
        {"key after a last line without a line end", "[a]\r\nx=1", "a", "[a]\r\nx=1\r\nk=v\r\n"},
        {"key under a header with nothing below", "[a]", "a", "[a]\r\nk=v\r\n"},
        {"new section takes the file's line end", "[a]\nx=1\n", "New", "[a]\nx=1\n[New]\nk=v\n"},
        {"new section after a last line without a line end", "[a]\r\nx=1", "b",
         "[a]\r\nx=1\r\n[b]\r\nk=v\r\n"},
        {"new file", "", "GAMERES", "[GAMERES]\r\nk=v\r\n"},
        {"line without equals sign becomes the entry", "[a]\n k \n", "a", "[a]\nk=v\n"},
        {"comment that looks like the key is left alone", "[a]\n;k=old\n", "a",
         "[a]\n;k=old\nk=v\n"},
        {"first of two sections of one name", "[a]\nk=1\n[a]\nk=2\n", "A", "[a]\nk=v\n[a]\nk=2\n"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(SetAndSerialize(row.before, row.section, "k", "v"), row.after) << row.name;
}

TEST(ProfileDocument, ArbitraryBytesSurviveARoundTrip) {
    std::string bytes("\0\x01\xFF[\r\r\n\n]\x1A=\0", 13);
    bytes += std::string(1 << 20, 'x');
    ProfileDocument doc = ProfileDocument::Parse(bytes);
    EXPECT_EQ(doc.Serialize(), bytes);
    doc.Set("s", "k", "v");
    EXPECT_EQ(doc.Serialize().substr(0, bytes.size()), bytes);
}

// A NUL byte counts as a blank, as it does for the system's profile functions:
// a file ending in one (a game that writes its buffer whole) reads as if it
// were not there.
TEST(ProfileDocument, NulBytesAreBlanks) {
    using namespace std::string_literals;
    ProfileDocument ending = ProfileDocument::Parse("[a]\r\nk=1\r\n\0\0"s);
    EXPECT_EQ(*ending.SectionEntries("a"), (Lines{"k=1"}));
    EXPECT_EQ(SetAndSerialize("[a]\r\nk=1\r\n\0"s, "a", "new", "v"), "[a]\r\nk=1\r\nnew=v\r\n\0"s);

    ProfileDocument inside = ProfileDocument::Parse("[a]\0\r\nk\0=1\0\r\nx=\0 2 \0\r\n"s);
    EXPECT_EQ(inside.SectionNames(), (Lines{"a"}));
    EXPECT_EQ(*inside.SectionEntries("a"), (Lines{"k=1", "x=2"}));
    EXPECT_EQ(inside.Value("a", "k"), "1");
}
