// The sample recipe read against a real Wine prefix layout in a temporary folder: the registry
// names the game's folder, the executable lies one folder deeper (in a folder whose name differs
// in case), a pattern names several save files.

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineMachine.h"
#include "recipes/RecipeReader.h"
#include "support/WinePrefix.h"

using namespace optera;
using Lines = std::vector<std::string>;

namespace {

constexpr char kRecipe[] =
    "[GAMEINFO]\r\n"
    "GAMELOC=HKLM\\Games\\Sample\\InstallPath\r\n"
    "USERLOC=\r\n"
    "GAMEEXE=sample.exe\r\n"
    "SHORTCUTNAME=Sample\r\n"
    "SHORTCUTPARAMETERS=-w #KELVANW -h #KELVANH\r\n"
    "[GAMERES]\r\n"
    "RES=1024x768\r\n"
    "[Registry]\r\n"
    "HKEY_CURRENT_USER\\Software\\Sample,Width,#KELVANW,REG_DWORD\r\n"
    "[CFG]\r\n"
    "CFG.1=video.ini\r\n"
    "CFG.2=..\\saves\\*.cfg\r\n"
    "[CFG.1]\r\n"
    "Display,Width=#KELVANW\r\n"
    "[CFG.2]\r\n"
    "3=fov #RESDEPENDENT.1\r\n"
    "[RESDEPENDENT.1]\r\n"
    "3840x1024=90\r\n";

class WorkedExample : public optera::testing::WinePrefixTest {
  protected:
    WorkedExample() {
        temp.Write("system.reg",
                   "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
                   "[Software\\\\Microsoft\\\\Games\\\\Sample] 1700000000\n"
                   "\"InstallPath\"=\"C:\\\\Games\\\\Sample\"\n\n"
                   "[Software\\\\Wow6432Node] 1700000000\n");
        // The executable and its profile file differ from the recipe's names in case.
        temp.Write("drive_c/Games/Sample/Bin/VIDEO.INI", "[Display]\r\nWidth=1024\r\n");
        temp.Write("drive_c/Games/Sample/Saves/one.cfg", "a\r\nb\r\nfov 75\r\n");
        temp.Write("drive_c/Games/Sample/Saves/TWO.CFG", "a\r\nb\r\nfov 75\r\n");
        temp.Write("drive_c/Games/Sample/Saves/notes.txt", "");
        temp.Write("program/MODS/Sample.txt", kRecipe);
        state.Selected = {3840, 1024};
    }

    platform::WineMachine wine{prefix(), {}, prefix() / "settings.ini"};
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{wine.files()};
    services::cRegistry registry{wine.registry(), prompts};
    recipes::RecipeState state;
    recipes::RecipeReader reader{{wine.machine(), profile, registry, OnZ(prefix() / "program")},
                                 state};
};

TEST_F(WorkedExample, TheRecipeBecomesTheGamesRecordForTheSelectedResolution) {
    recipes::GameRecord game = reader.ReadRecipe("Sample");

    EXPECT_EQ(game.Name, "Sample");
    EXPECT_FALSE(game.Undetectable);
    EXPECT_EQ(game.GameLoc, "C:\\Games\\Sample\\Bin") << "moved to where the executable is";
    EXPECT_EQ(game.ShortcutName, "Sample");
    EXPECT_EQ(game.ShortcutParameters, "-w 3840 -h 1024");
    EXPECT_EQ(game.Registry, Lines{"HKEY_CURRENT_USER\\Software\\Sample,Width,3840,REG_DWORD"});

    ASSERT_EQ(game.CfgFiles.size(), 3u);
    EXPECT_EQ(game.CfgFiles[0].Path, "C:\\Games\\Sample\\Bin\\video.ini");
    EXPECT_EQ(game.CfgFiles[0].Kind, "SINGLE");
    EXPECT_EQ(game.CfgFiles[0].Lines, Lines{"Display,Width=3840"});
    EXPECT_TRUE(platform::FileExists(wine.files(), game.CfgFiles[0].Path))
        << "the recipe's name reaches the file whatever its case on disk";
    for (std::size_t i : {1u, 2u}) {
        EXPECT_EQ(game.CfgFiles[i].Kind, "MULTIPLE");
        EXPECT_EQ(game.CfgFiles[i].Lines, Lines{"3=fov 90"});
        EXPECT_TRUE(platform::FileExists(wine.files(), game.CfgFiles[i].Path));
    }
    Lines saves{game.CfgFiles[1].Path, game.CfgFiles[2].Path};
    std::sort(saves.begin(), saves.end());
    EXPECT_EQ(saves,
              (Lines{"C:\\Games\\Sample\\saves\\TWO.CFG", "C:\\Games\\Sample\\saves\\one.cfg"}));
}

TEST_F(WorkedExample, AMissingRegistryValueLeavesTheGameUnlocated) {
    temp.Write("system.reg",
               "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
               "[Software\\\\Wow6432Node] 1700000000\n");
    recipes::GameRecord game = reader.ReadRecipe("Sample");
    EXPECT_EQ(game.GameLoc, "");
    ASSERT_EQ(game.CfgFiles.size(), 1u);
    EXPECT_EQ(game.CfgFiles[0].Path, "");
    EXPECT_EQ(state.RegistryView, 0);
}

}  // namespace
