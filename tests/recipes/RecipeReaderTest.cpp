#include <gtest/gtest.h>

#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "recipes/RecipeReader.h"

using namespace optera;
using platform::FakeKeyStore;
using recipes::GameRecord;
using Lines = std::vector<std::string>;

namespace {

class Reader : public ::testing::Test {
  protected:
    platform::FakeMachine fake;
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{fake.files};
    services::cRegistry registry{fake.registry, prompts};
    recipes::RecipeState state;
    recipes::RecipeReader reader{{fake.machine(), profile, registry, "C:\\Optera"}, state};

    void SetUp() override {
        state.Selected = {3840, 1024};
        fake.files.PutFile("C:\\Games\\Foo\\foo.exe", "");
        fake.files.PutFile("C:\\Games\\Foo\\foo.cfg", "");
        fake.files.PutFile("C:\\Games\\Foo\\video.ini", "");
        fake.registry.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Microsoft\\Foo", "Path",
                                "C:\\Games\\Foo");
    }
    void Recipe(std::string_view name, std::string_view text) {
        fake.files.PutFile("C:\\Optera\\MODS\\" + std::string(name) + ".txt", text);
    }
    GameRecord Read(std::string_view name) { return reader.ReadRecipe(name); }
};

const std::string kFoo = "[GAMEINFO]\r\nGAMELOC=HKLM\\Foo\\Path\r\nUSERLOC=\r\nGAMEEXE=foo.exe\r\n";

TEST_F(Reader, NamesWithOrWithoutTxtReadTheSameFile) {
    Recipe("Foo", kFoo);
    GameRecord plain = Read("Foo");
    GameRecord withTxt = Read("foo.TXT");
    EXPECT_EQ(plain.Name, "Foo");
    EXPECT_EQ(withTxt.Name, "foo");
    EXPECT_EQ(plain.GameLoc, "C:\\Games\\Foo");
    EXPECT_EQ(withTxt.GameLoc, plain.GameLoc);
    EXPECT_EQ(reader.RecipePathOf("Foo"), "C:\\Optera\\MODS\\Foo.txt");
}

TEST_F(Reader, TheBlankTemplateAndMissingRecipesGiveTheEmptyRecord) {
    Recipe("_BLANK", kFoo);
    Recipe("_blank copy", kFoo);
    for (std::string_view name : {"_BLANK", "_blank copy", "Missing"}) {
        GameRecord record = Read(name);
        EXPECT_EQ(record.Name, "") << name;
        EXPECT_EQ(record.GameLoc, "") << name;
        EXPECT_TRUE(record.CfgFiles.empty()) << name;
        EXPECT_TRUE(record.HowTo.empty()) << name;
    }
}

TEST_F(Reader, GameInfoValuesAreTrimmedExceptWhereTheyCount) {
    Recipe("Foo",
           "[GAMEINFO]\r\n"
           "GAMEEXE=   foo.exe  \r\n"
           "ShortcutName= Foo Wide \r\n"
           "SHORTCUTPARAMETERS= -w #KELVANW -h #KELVANH \r\n"
           "SHORTCUTSTARTIN=bin^x\r\n"
           "MSG1=first\r\nmsg1=second\r\n"
           "LATESTPATCHREQ=http://example.org/patch\r\n"
           "NativePanolineSupport = TRUE\r\n"
           "forcemodfilestoreadonly=yes\r\n"
           "UNKNOWN=ignored\r\n");
    GameRecord record = Read("Foo");
    EXPECT_EQ(record.GameExe, "foo.exe");
    EXPECT_EQ(record.ShortcutName, "Foo Wide");
    EXPECT_EQ(record.ShortcutParameters, "-w 3840 -h 1024");
    EXPECT_EQ(record.ShortcutStartIn, "bin x");
    EXPECT_EQ(record.Msg1, "second") << "the last of a key wins";
    EXPECT_EQ(record.LatestPatchReq, "http://example.org/patch");
    EXPECT_TRUE(record.NativeSupport);
    EXPECT_FALSE(record.ForceModFilesToReadOnly);
    EXPECT_FALSE(record.Undetectable) << "the location keys are missing, not blank";
}

TEST_F(Reader, OnlyBothLocationKeysStandingBlankMakeAGameUndetectable) {
    Recipe("Both", "[GAMEINFO]\r\nGAMELOC=\r\nUSERLOC=\r\nGAMEEXE=foo.exe\r\n");
    Recipe("One", "[GAMEINFO]\r\nGAMELOC=\r\nGAMEEXE=foo.exe\r\n");
    Recipe("Spaced", "[GAMEINFO]\r\nGAMELOC=\r\nUSERLOC=C:\\Nowhere\\foo.exe\r\n");
    GameRecord both = Read("Both");
    EXPECT_TRUE(both.Undetectable);
    EXPECT_EQ(both.GameLoc, "");
    EXPECT_FALSE(Read("One").Undetectable);
    GameRecord spaced = Read("Spaced");
    EXPECT_FALSE(spaced.Undetectable) << "a USERLOC naming a missing file is not blank";
    EXPECT_EQ(spaced.UserLoc, "");
}

TEST_F(Reader, UserLocWinsOverGameLocForConfigurationPaths) {
    fake.files.PutFile("C:\\Mine\\Foo\\foo.exe", "");
    fake.files.PutFile("C:\\Mine\\Foo\\foo.cfg", "");
    Recipe("Foo", kFoo + "USERLOC= C:\\Mine\\Foo\\foo.exe \r\n[CFG]\r\nCFG.1=foo.cfg\r\n");
    GameRecord record = Read("Foo");
    EXPECT_EQ(record.UserLoc, "C:\\Mine\\Foo\\foo.exe");
    EXPECT_EQ(record.GameLoc, "C:\\Games\\Foo") << "the registry's place is still read";
    ASSERT_EQ(record.CfgFiles.size(), 1u);
    EXPECT_EQ(record.CfgFiles[0].Path, "C:\\Mine\\Foo\\foo.cfg");
}

TEST_F(Reader, CfgLinesBecomeEntriesWithTheirExpandedSections) {
    Recipe("Foo",
           kFoo +
               "[CFG]\r\nCFG.1=foo.cfg\r\nCFG.2=video.ini=lost\r\nCFG.3=\r\nCFG.4=gone.cfg\r\n"
               "[CFG.1]\r\n3=fov #RESDEPENDENT.1\r\n"
               "[CFG.2]\r\nDisplay,Width=#KELVANW\r\n"
               "[RESDEPENDENT.1]\r\n3840x1024=90\r\n");
    GameRecord record = Read("Foo");
    ASSERT_EQ(record.CfgFiles.size(), 3u) << "the empty CFG.3 adds nothing";
    EXPECT_EQ(record.CfgFiles[0].Path, "C:\\Games\\Foo\\foo.cfg");
    EXPECT_EQ(record.CfgFiles[0].Kind, "SINGLE");
    EXPECT_EQ(record.CfgFiles[0].Lines, Lines{"3=fov 90"});
    EXPECT_EQ(record.CfgFiles[1].Path, "C:\\Games\\Foo\\video.ini");
    EXPECT_EQ(record.CfgFiles[1].Lines, Lines{"Display,Width=3840"});
    EXPECT_EQ(record.CfgFiles[2].Path, "C:\\Games\\Foo\\gone.cfg")
        << "a missing file keeps its path";
    EXPECT_EQ(record.CfgFiles[2].Lines, Lines{""}) << "a missing section reads as one empty line";
}

TEST_F(Reader, WithoutUsableCfgLinesOrALocationThereIsOneEmptyEntry) {
    Recipe("NoCfg", kFoo);
    Recipe("EmptyCfg", kFoo + "[CFG]\r\nCFG.1=\r\nCFG.2=\r\n");
    Recipe("Nowhere", "[GAMEINFO]\r\nGAMELOC=HKLM\\Gone\\Path\r\n[CFG]\r\nCFG.1=foo.cfg\r\n");
    for (std::string_view name : {"NoCfg", "EmptyCfg", "Nowhere"}) {
        GameRecord record = Read(name);
        ASSERT_EQ(record.CfgFiles.size(), 1u) << name;
        EXPECT_EQ(record.CfgFiles[0].Path, "") << name;
        EXPECT_EQ(record.CfgFiles[0].Kind, "") << name;
    }
}

TEST_F(Reader, PatternsGiveOneMultipleEntryPerVisibleMatch) {
    for (std::string_view name : {"a.cfg", "b.cfg", "c.cfg", "d.cfg", "hidden.cfg", "note.txt"})
        fake.files.PutFile("C:\\Games\\Foo\\saves\\" + std::string(name), "");
    fake.files.SetAttributes("C:\\Games\\Foo\\saves\\hidden.cfg", platform::attr::Hidden);
    Recipe("Foo", kFoo + "[CFG]\r\nCFG.1=saves\\*.cfg\r\nCFG.2=*.sav\r\n[CFG.1]\r\n1=#KELVANH\r\n");
    GameRecord record = Read("Foo");
    ASSERT_EQ(record.CfgFiles.size(), 4u) << "the pattern matching nothing adds no entry";
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(record.CfgFiles[i].Kind, "MULTIPLE");
        EXPECT_EQ(record.CfgFiles[i].Lines, Lines{"1=1024"});
    }
    EXPECT_EQ(record.CfgFiles[0].Path, "C:\\Games\\Foo\\saves\\a.cfg");
    EXPECT_EQ(record.CfgFiles[3].Path, "C:\\Games\\Foo\\saves\\d.cfg");
}

TEST_F(Reader, PercentFormsAndFullPathsAreNotJoinedToTheGameFolder) {
    fake.environment.variables["GAMEDATA"] = "D:\\Data";
    fake.files.PutFile("D:\\Data\\Foo\\prefs.ini", "");
    Recipe("Foo",
           kFoo + "[CFG]\r\nCFG.1=%GAMEDATA%\\Foo\\prefs.ini\r\nCFG.2=D:\\Data\\Foo\\x.ini\r\n");
    GameRecord record = Read("Foo");
    ASSERT_EQ(record.CfgFiles.size(), 2u);
    EXPECT_EQ(record.CfgFiles[0].Path, "D:\\Data\\Foo\\prefs.ini");
    EXPECT_EQ(record.CfgFiles[1].Path, "D:\\Data\\Foo\\x.ini");
}

TEST_F(Reader, AMissingTableValueVoidsOnlyTheRegistrySection) {
    Recipe("Foo", kFoo +
                      "[Registry]\r\nHKEY_CURRENT_USER\\Software\\Foo,W,#KELVANW,REG_DWORD\r\n"
                      "HKEY_CURRENT_USER\\Software\\Foo,Fov,#RESDEPENDENT.1,REG_DWORD\r\n"
                      "[CFG]\r\nCFG.1=foo.cfg\r\n[CFG.1]\r\n1=#KELVANW\r\n"
                      "[RESDEPENDENT.1]\r\n1024x768=75\r\n");
    GameRecord record = Read("Foo");
    EXPECT_EQ(record.Registry, Lines{std::string(recipes::kMissingEntryMarker)});
    ASSERT_EQ(record.CfgFiles.size(), 1u);
    EXPECT_EQ(record.CfgFiles[0].Lines, Lines{"1=3840"});
}

TEST_F(Reader, HowToLinesAreRaw) {
    Recipe("Foo", kFoo + "[HOWTO]\r\nMSG=Run the game once.\r\nMSG=Then #KELVANW.\r\n");
    EXPECT_EQ(Read("Foo").HowTo, (Lines{"MSG=Run the game once.", "MSG=Then #KELVANW."}));
}

TEST_F(Reader, EachReadStartsFromTheRegistryViewOfTheProcess) {
    Recipe("Gone", "[GAMEINFO]\r\nGAMELOC=HKLM\\Gone\\Path\r\n");
    Read("Gone");
    EXPECT_EQ(state.RegistryView, 0) << "found in neither view";
    Recipe("Foo", kFoo);
    Read("Foo");
    EXPECT_EQ(state.RegistryView, 1);
}

TEST(KeepLinesWithValue, KeepsLinesWithTextBetweenTheFirstAndSecondEquals) {
    using recipes::KeepLinesWithValue;
    EXPECT_EQ(KeepLinesWithValue({"a=1", "b=", "c", "d==x", "e=2=y"}), (Lines{"a=1", "e=2=y"}));
    EXPECT_EQ(KeepLinesWithValue({"b=", ""}), Lines{""});
}

}  // namespace
