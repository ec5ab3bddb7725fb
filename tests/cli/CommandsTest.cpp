#include <gtest/gtest.h>

#include <sstream>

#include "cli/Commands.h"
#include "support/TempFolder.h"

#include <nlohmann/json.hpp>

using namespace optera;

namespace {

// A program folder with two recipes and the blank template, on a prefix whose C: drive holds
// nothing but a user folder.
class CliCommands : public ::testing::Test {
  protected:
    optera::testing::TempFolder root;
    std::unique_ptr<cli::Session> session;
    std::ostringstream out, err;

    void SetUp() override {
        root.Write("home/Optera.ini", "[SETUP]\r\nSkin=Default\r\n");
        root.Write("home/MODS/Sample Racer.txt",
                   "[GAMEINFO]\r\nGAMEEXE=racer.exe\r\n"
                   "[Registry]\r\nHKEY_CURRENT_USER\\Software\\Sample,Width,#KELVANW,REG_DWORD\r\n"
                   "[CFG]\r\nCFG.1=video.ini\r\nCFG.2=fov.cfg\r\n"
                   "[CFG.1]\r\nDisplay,Width=#KELVANW\r\nDisplay,Height=#KELVANH\r\n"
                   "[CFG.2]\r\n3=fov #RESDEPENDENT.1\r\n"
                   "[RESDEPENDENT.1]\r\n3840x1024=90\r\n");
        root.Write("home/MODS/Other Game.txt", "[GAMEINFO]\r\n");
        root.Write("home/MODS/_BLANK.txt", "[GAMEINFO]\r\n");
        root.Write("prefix/drive_c/users/alice/Documents/.keep", "");
        std::filesystem::create_directories(root.path() / "prefix/dosdevices");
        std::filesystem::create_directory_symlink("../drive_c",
                                                  root.path() / "prefix/dosdevices/c:");
        std::filesystem::create_directory_symlink("/", root.path() / "prefix/dosdevices/z:");
        std::string error;
        session = cli::Session::Open({root.path() / "home", root.path() / "prefix", {}}, error);
        ASSERT_TRUE(session) << error;
    }
};

}  // namespace

TEST_F(CliCommands, ListsRecipesWithoutTheTemplate) {
    EXPECT_EQ(cli::ListRecipes(*session, out), 0);
    std::string listed = out.str();
    EXPECT_NE(listed.find("Sample Racer\n"), std::string::npos);
    EXPECT_NE(listed.find("Other Game\n"), std::string::npos);
    EXPECT_EQ(listed.find("_BLANK"), std::string::npos);
    EXPECT_TRUE(session->programFolder().starts_with("Z:\\"));
}

TEST_F(CliCommands, ExpandsARecipeForAResolution) {
    EXPECT_EQ(cli::ExpandRecipe(*session, "sample racer.TXT", "3840X1024", {}, out, err), 0)
        << err.str();
    EXPECT_EQ(out.str(),
              "[Registry]\nHKEY_CURRENT_USER\\Software\\Sample,Width,3840,REG_DWORD\n"
              "[CFG.1]\nDisplay,Width=3840\nDisplay,Height=1024\n"
              "[CFG.2]\n3=fov 90\n");

    out.str("");
    // A resolution without a table value voids that section alone.
    EXPECT_EQ(cli::ExpandRecipe(*session, "Sample Racer", "1024x768", {"CFG.1", "CFG.2"}, out, err),
              0);
    EXPECT_EQ(out.str(),
              "[CFG.1]\nDisplay,Width=1024\nDisplay,Height=768\n"
              "[CFG.2]\nMISSING_OPTERA_RESDEPENDENT_ENTRY\n");
}

TEST_F(CliCommands, RefusesWhatItCannotUse) {
    EXPECT_EQ(cli::ExpandRecipe(*session, "Sample Racer", "wide", {}, out, err), 2);
    EXPECT_EQ(cli::ExpandRecipe(*session, "No Such Game", "3840x1024", {}, out, err), 2);
    EXPECT_NE(err.str().find("no recipe for \"No Such Game\""), std::string::npos);
    EXPECT_FALSE(cli::ParseResolution("3840x"));
    EXPECT_FALSE(cli::ParseResolution("40000x1024")) << "beyond a 16-bit width";
    auto parsed = cli::ParseResolution(" 5760 x 1080 ");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->SelectedWidth, 5760);
    EXPECT_EQ(parsed->SelectedHeight, 1080);

    std::string error;
    EXPECT_FALSE(cli::Session::Open({root.path() / "missing", root.path() / "prefix", {}}, error));
    EXPECT_NE(error.find("does not exist"), std::string::npos);
}

TEST_F(CliCommands, ExpandsPathsOnThePrefix) {
    EXPECT_EQ(cli::ExpandPath(*session, "%USERPROFILE%\\Documents", out), 0);
    std::string shown = out.str();
    EXPECT_TRUE(shown.starts_with("C:\\users\\alice\\Documents\n")) << shown;
    EXPECT_NE(shown.find("prefix/drive_c/users/alice/Documents"), std::string::npos) << shown;
}

TEST_F(CliCommands, ShowsAGamesRecordAsJson) {
    root.Write("prefix/drive_c/Games/Racer/bin/RACER.EXE", "MZ");
    root.Write("prefix/drive_c/Games/Racer/bin/video.ini", "");
    root.Write("home/MODS/Sample Racer.txt",
               "[GAMEINFO]\r\nGAMELOC=\r\nUSERLOC=C:\\Games\\Racer\\bin\\racer.exe\r\n"
               "GAMEEXE=racer.exe\r\nSHORTCUTPARAMETERS=-w #KELVANW\r\n"
               "[GAMERES]\r\nRES=1920x1080\r\n[CFG]\r\nCFG.1=video.ini\r\n");
    ASSERT_EQ(cli::ShowGame(*session, "sample racer", "", true, out, err), 0) << err.str();
    auto record = nlohmann::json::parse(out.str());
    EXPECT_EQ(record["Name"], "Sample Racer");
    EXPECT_EQ(record["ShortcutParameters"], "-w 1920") << "the resolution the recipe last applied";
    EXPECT_EQ(record["GameLoc"], "C:\\Games\\Racer\\bin");
    EXPECT_EQ(record["CfgFiles"][0]["Path"], "C:\\Games\\Racer\\bin\\video.ini");
    EXPECT_EQ(record["CfgFiles"][0]["Kind"], "SINGLE");

    out.str("");
    ASSERT_EQ(cli::ShowGame(*session, "Sample Racer", "3840x1024", false, out, err), 0);
    EXPECT_NE(out.str().find("ShortcutParameters: -w 3840\n"), std::string::npos);
    EXPECT_EQ(cli::ShowGame(*session, "Sample Racer", "wide", false, out, err), 2);
    EXPECT_EQ(cli::ShowGame(*session, "No Such Game", "", false, out, err), 2);
}
