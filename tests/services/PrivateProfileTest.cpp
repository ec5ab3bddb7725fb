#include <gtest/gtest.h>

#include <functional>

#include "platform/fake/FakeFileSystem.h"
#include "services/cPrivateProfile.h"
#include "text/CodePage.h"

using namespace optera;
using services::cPrivateProfile;
using Lines = std::vector<std::string>;

namespace {

class PrivateProfile : public ::testing::Test {
  protected:
    platform::FakeFileSystem files;
    cPrivateProfile profile{files};
    const std::string ini = "C:\\Optera\\test.ini";

    void Put(std::string_view bytes) { files.PutFile(ini, bytes); }
};

std::string Letters(std::size_t n) {
    std::string s;
    for (std::size_t i = 0; i < n; ++i) s += static_cast<char>('a' + i % 26);
    return s;
}

}  // namespace

TEST_F(PrivateProfile, StringValuesLoseOnePairOfQuotes) {
    Put("[s]\nq=\"  q  \"\nh='x'\nodd=\"x'\n");
    EXPECT_EQ(profile.GetIniStringValue(ini, "S", "Q"), "  q  ");
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "h"), "x");
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "odd"), "\"x'");
    EXPECT_EQ(*profile.GetIniSection(ini, "s"), (Lines{"q=\"  q  \"", "h='x'", "odd=\"x'"}));
}

TEST_F(PrivateProfile, LongSectionsComeBackWholeUntilTheCountOverflows) {
    // 600 characters need the second buffer of 1,020; 508 fill the first exactly
    // (size - 2), which the loop must take as "full" and read again.
    for (std::size_t total : {508u, 600u, 32000u}) {
        std::string line = "k=" + Letters(total - 3);  // plus its NUL makes `total`
        Put("[s]\n" + line + "\n");
        auto lines = profile.GetIniSection(ini, "s");
        ASSERT_TRUE(lines) << total;
        EXPECT_EQ(*lines, (Lines{line})) << total;
    }
    Put("[s]\nk=" + Letters(40000) + "\n");
    EXPECT_FALSE(profile.GetIniSection(ini, "s"));
    // A single value is cut after 509 characters.
    for (std::size_t length : {508u, 509u, 510u, 40000u}) {
        Put("[s]\r\nk=" + Letters(length) + "\r\n");
        EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"),
                  Letters(std::min<std::size_t>(length, 509)))
            << length;
    }

    std::string manySections;
    for (int i = 0; i < 4000; ++i) manySections += "[section" + std::to_string(i) + "]\n";
    Put(manySections);
    EXPECT_FALSE(profile.GetIniSectionNames(ini));
}

TEST_F(PrivateProfile, NothingToReadGivesOneEmptyElement) {
    Put("[empty]\n\n; only a comment\n[one]\nonly=line\n");
    EXPECT_EQ(*profile.GetIniSection(ini, "empty"), (Lines{""}));
    EXPECT_EQ(*profile.GetIniSection(ini, "missing"), (Lines{""}));
    EXPECT_EQ(*profile.GetIniSection("C:\\nowhere.ini", "one"), (Lines{""}));
    EXPECT_EQ(*profile.GetIniSection(ini, "ONE"), (Lines{"only=line"}));
    EXPECT_EQ(*profile.GetIniSectionNames(ini), (Lines{"empty", "one"}));
    EXPECT_EQ(*profile.GetIniSectionNames("C:\\nowhere.ini"), (Lines{""}));
    EXPECT_EQ(profile.GetIniStringValue("C:\\nowhere.ini", "one", "only"), "");
}

TEST_F(PrivateProfile, AnEmptyValueKeepsItsKey) {
    Put("[GAMEINFO]\r\nUSERLOC=C:\\x.exe\r\nGAMEEXE=x.exe\r\n");
    ASSERT_TRUE(profile.SetIniStringValue(ini, "gameinfo", "UserLoc", ""));
    EXPECT_EQ(files.ReadAll(ini), "[GAMEINFO]\r\nUSERLOC=\r\nGAMEEXE=x.exe\r\n");
    EXPECT_EQ(profile.GetIniStringValue(ini, "GAMEINFO", "USERLOC"), "");
}

TEST_F(PrivateProfile, WritesCreateTheFileAndNeverLeaveHalfOfOne) {
    files.CreateFolder("C:\\Optera");
    ASSERT_TRUE(profile.SetIniStringValue(ini, "GAMERES", "RES", "3840x1024"));
    EXPECT_EQ(files.ReadAll(ini), "[GAMERES]\r\nRES=3840x1024\r\n");

    files.FailWritesWhen([&](std::string_view path) { return path == ini; });  // the rename
    EXPECT_FALSE(profile.SetIniStringValue(ini, "GAMERES", "RES", "1024x768"));
    EXPECT_EQ(files.ReadAll(ini), "[GAMERES]\r\nRES=3840x1024\r\n");
    EXPECT_EQ(files.List("C:\\Optera")->size(), 1u) << "the temporary file was left behind";

    files.FailWritesWhen(nullptr);
    files.SetAttributes(ini, platform::attr::ReadOnly);
    EXPECT_FALSE(profile.SetIniStringValue(ini, "GAMERES", "RES", "1024x768"));
    EXPECT_EQ(files.ReadAll(ini), "[GAMERES]\r\nRES=3840x1024\r\n");

    EXPECT_FALSE(profile.SetIniStringValue("C:\\NoFolder\\x.ini", "s", "k", "v"));
}

TEST_F(PrivateProfile, ListsFilesOfAPatternInDirectoryOrder) {
    files.PutFile("C:\\Optera\\MODS\\Zeta.txt", "");
    files.PutFile("C:\\Optera\\MODS\\alpha.TXT", "");
    files.PutFile("C:\\Optera\\MODS\\notes.doc", "");
    files.CreateFolder("C:\\Optera\\MODS\\folder.txt");
    EXPECT_EQ(profile.GetListOfFiles("C:\\OPTERA\\MODS\\*.TXT"), (Lines{"alpha.TXT", "Zeta.txt"}));
    EXPECT_EQ(profile.GetListOfFiles("C:\\Optera\\MODS\\*.ini"), (Lines{""}));
}

// A file with a byte-order mark is read in its encoding and written back in it,
// as the system's profile functions do: a game's Unicode settings file keeps
// every character nobody changed.
TEST_F(PrivateProfile, UnicodeFilesStayInTheirEncoding) {
    auto utf16 = [](std::string_view utf8, bool bigEndian) {
        return (bigEndian ? "\xFE\xFF" : "\xFF\xFE") +
               text::Utf16Bytes(text::Utf16FromUtf8(utf8), bigEndian);
    };
    // "café" and Japanese beside it; "Größe" is written in the code page by the
    // caller.
    const std::string before = "[Video]\r\nName=caf\xC3\xA9 \xE6\x97\xA5\r\nWidth=800\r\n";
    const std::string after =
        "[Video]\r\nName=caf\xC3\xA9 "
        "\xE6\x97\xA5\r\nWidth=1920\r\nGr\xC3\xB6\xC3\x9F\x65=1\r\n";
    struct Row {
        const char* name;
        std::string before, after;
    } rows[] = {
        {"UTF-16, little-endian", utf16(before, false), utf16(after, false)},
        {"UTF-16, big-endian", utf16(before, true), utf16(after, true)},
        {"UTF-8 with its mark", "\xEF\xBB\xBF" + before, "\xEF\xBB\xBF" + after},
        {"UTF-16 of odd length keeps its last byte", utf16(before, false) + "!",
         utf16(after, false) + "!"},
    };
    for (const Row& row : rows) {
        Put(row.before);
        EXPECT_EQ(*profile.GetIniSectionNames(ini), (Lines{"Video"})) << row.name;
        EXPECT_EQ(profile.GetIniStringValue(ini, "video", "name"), "caf\xE9 ?") << row.name;
        ASSERT_TRUE(profile.SetIniStringValue(ini, "Video", "Width", "1920")) << row.name;
        ASSERT_TRUE(profile.SetIniStringValue(ini, "Video",
                                              "Gr\xF6\xDF"
                                              "e",
                                              "1"))
            << row.name;
        EXPECT_EQ(files.ReadAll(ini), row.after) << row.name;
        EXPECT_EQ(*profile.GetIniSection(ini, "Video"), (Lines{"Name=caf\xE9 ?", "Width=1920",
                                                               "Gr\xF6\xDF"
                                                               "e=1"}))
            << row.name;
    }
}

// Profile files are kept between questions; every way a file can change, by us
// or by anyone else, shows at the next read, also when the size stays the same.
TEST_F(PrivateProfile, EveryChangeOfAKeptFileShowsAtTheNextRead) {
    const std::string other = "C:\\Optera\\other.ini";
    struct Step {
        const char* what;
        std::function<void()> change;
        std::string value;
    };
    const Step steps[] = {
        {"put anew", [&] { Put("[s]\r\nk=2\r\n"); }, "2"},
        {"written", [&] { files.WriteAll(ini, "[s]\r\nk=3\r\n"); }, "3"},
        {"set by us", [&] { profile.SetIniStringValue(ini, "s", "k", "4"); }, "4"},
        {"another file renamed over it",
         [&] {
             files.PutFile(other, "[s]\r\nk=5\r\n");
             files.Rename(other, ini);
         },
         "5"},
        {"another file copied over it",
         [&] {
             files.PutFile(other, "[s]\r\nk=6\r\n");
             files.Copy(other, ini);
         },
         "6"},
        {"made unreadable", [&] { files.FailReadsWhen([](std::string_view) { return true; }); },
         ""},
        {"readable again", [&] { files.FailReadsWhen(nullptr); }, "6"},
        {"removed", [&] { files.Remove(ini); }, ""},
    };
    Put("[s]\r\nk=1\r\n");
    ASSERT_EQ(profile.GetIniStringValue(ini, "s", "k"), "1");
    for (const Step& step : steps) {
        step.change();
        EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), step.value) << step.what;
        EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), step.value) << step.what << ", kept";
    }
}
