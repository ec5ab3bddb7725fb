// The confirmation dialog's layout, the report texts, and the blank recipe written anew.

#include <gtest/gtest.h>

#include "mainwindow/Dialogs.h"
#include "recipes/BlankRecipe.h"
#include "support/FakeWindow.h"

using namespace optera;

namespace {

TEST(Confirm, LaysItselfOutFromTheRecipesTexts) {
    recipes::GameRecord game;
    struct Case {
        std::size_t patch, note;
        double width, fields, noteHeight, buttonsBelowNote;
    } cases[] = {
        {0, 0, 6175, 5850, 195, 375},     {65, 65, 6175, 5850, 195, 375},
        {100, 0, 9500, 9000, 195, 375},   {0, 66, 6175, 5850, 390, 765},
        {100, 100, 9500, 9000, 195, 375}, {100, 201, 9500, 9000, 585, 960},
    };
    for (const Case& c : cases) {
        mainwindow::ConfirmDialog dialog;
        game.LatestPatchReq = std::string(c.patch, 'p');
        game.Msg1 = std::string(c.note, 'n');
        mainwindow::PrepareConfirm(dialog, game, 100, 200);
        const std::string label = std::to_string(c.patch) + "/" + std::to_string(c.note);
        EXPECT_EQ(dialog.Form().Width(), c.width) << label;
        EXPECT_EQ(dialog.Text1().Width(), c.fields) << label;
        EXPECT_EQ(dialog.Label2(1).Height(), c.noteHeight) << label;
        EXPECT_EQ(dialog.YesButton().Top() - dialog.Label2(1).Top(), c.buttonsBelowNote) << label;
        EXPECT_EQ(dialog.NoButton().Left(), c.width / 2 - 600) << label;
        EXPECT_EQ(dialog.Form().Height(), dialog.YesButton().Top() + 375 + 550) << label;
        EXPECT_EQ(dialog.Text1().Visible(), c.patch > 0) << label;
        EXPECT_EQ(dialog.Label2(1).BackColor(), c.note > 0 ? 0xFFFFFFu : 0x8000000Fu) << label;
    }
    EXPECT_EQ(mainwindow::ConfirmCaption(3840, 1024), "Proceed with  3840 x 1024  optimizations?");
}

TEST(Report, ShowsOnlyWhatWillBeDone) {
    recipes::GameRecord game;
    game.Name = "Sample";
    game.ShortcutParameters = "-w 3840";
    game.CfgFiles = {{"C:\\G\\empty.ini", "SINGLE", {""}}, {"C:\\G\\a.ini", "SINGLE", {"1=x"}}};
    game.Registry = {""};
    game.HowTo = {"MSG=Read me", "no equals sign"};
    auto modify = mainwindow::BuildReport("Modify", game, {""});
    ASSERT_TRUE(modify);
    EXPECT_EQ(modify->text,
              "The following game configuration modification(s) will be done:\r\n"
              "\r\n\tDesktop Shortcut Icon - Launch Parameter\r\n\r\n-w 3840\r\n"
              "\r\n\t'C:\\G\\a.ini'\r\n\r\n1=x\r\n\r\n\r\n\r\n");
    auto howTo = mainwindow::BuildReport("HowTo", game, {""});
    EXPECT_EQ(howTo->caption, "How To information");
    EXPECT_EQ(howTo->text,
              "'HOW TO' configuration info for:  \r\n\r\n\t'Sample'\r\n\r\nRead me\r\n");
    EXPECT_EQ(mainwindow::BuildReport("Native", game, {"One", "Two"})->text,
              "\r\n\tSample  (has native support)\r\n\r\nOne\r\n\r\nTwo\r\n\r\nRead me\r\n");
    EXPECT_EQ(mainwindow::BuildReport("Other", game, {""}), std::nullopt);
}

TEST(BlankRecipe, IsWrittenAnewReadOnlyAndOpened) {
    const std::string text = recipes::BlankRecipeText("3840x1024", {"3840x1024", "5120x1024"});
    // The default resolution is the one last applied, and each offered one has its table line.
    EXPECT_NE(text.find("\r\nRES=3840x1024\r\n"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("\r\n[RESDEPENDENT.1]\r\n3840x1024=\r\n5120x1024=\r\n")) << text;

    optera::testing::FakeWindow window;
    auto& fake = window.fake;
    auto& gui = window.gui;
    auto& logic = window.logic;
    fake.environment.variables["windir"] = "C:\\windows";
    fake.files.PutFile("C:\\Optera\\MODS\\_BLANK.txt", "old");
    fake.files.SetAttributes("C:\\Optera\\MODS\\_BLANK.txt", platform::attr::ReadOnly);
    fake.files.PutFile("C:\\Optera\\MODS\\Game.txt",
                       "[GAMEINFO]\r\nUSERLOC=C:\\Game\\game.exe\r\nGAMEEXE=game.exe\r\n");
    fake.files.PutFile("C:\\Game\\game.exe", "MZ");
    fake.shell.failOpen = true;
    gui.ShowAllGames = true;
    gui.DefaultResolution = "3840x1024";
    gui.Resolutions = {"3840x1024", "5120x1024"};
    logic.NewBlankRecipe();
    EXPECT_EQ(fake.files.ReadAll("C:\\Optera\\MODS\\_BLANK.txt"), text);
    EXPECT_TRUE(*fake.files.Attributes("C:\\Optera\\MODS\\_BLANK.txt") & platform::attr::ReadOnly);
    // No program is associated with the file: the system's editor opens it.
    using Started = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(
        fake.shell.started,
        (Started{{"C:\\windows\\system32\\notepad.exe", "\"C:\\Optera\\MODS\\_BLANK.txt\""}}));
    ASSERT_EQ(gui.GameList().ItemCount(), 1);
    EXPECT_EQ(gui.PathLbl().Caption(), "C:\\Game\\game.exe");
}

}  // namespace
