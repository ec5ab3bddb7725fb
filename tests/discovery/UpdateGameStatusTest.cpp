#include <gtest/gtest.h>

#include "GameOnDisk.h"
#include "discovery/GameStatus.h"
#include "platform/fake/FakeFileSystem.h"

using namespace optera;
using mainwindow::MainWindow;
using optera::testing::GameOnDisk;
using recipes::CfgEntry;
using recipes::GameRecord;

namespace {

constexpr forms::Colour kGO = 0x00A000, kGCNF = 0x0000FF, kGNO = 0x000000, kGND = 0x808080,
                        kGHNTS = 0xFF0000, kUnset = 0x123456;

class Status : public ::testing::Test {
  protected:
    platform::FakeFileSystem files;
    MainWindow gui;

    void SetUp() override {
        gui.GO_Color = kGO;
        gui.GCNF_Color = kGCNF;
        gui.GNO_Color = kGNO;
        gui.GND_Color = kGND;
        gui.GHNTS_Color = kGHNTS;
        gui.GameList().AddItem("Other");
        gui.GameList().SetItemForeColor(gui.GameList().AddItem("Game"), kUnset);
        files.PutFile("C:\\Game\\done.cfg", "");
        files.PutFile("C:\\Game\\done.original", "");
        files.PutFile("C:\\Game\\fresh.cfg", "");
    }
    const forms::ListItem& Line() { return *gui.GameList().Item(2); }
    bool Enabled(int button) { return gui.BtnImageBox(button).Enabled(); }
    bool Shown(int button) { return gui.BtnImageBox(button).Visible(); }
    void Update(const GameRecord& game) { discovery::UpdateGameStatus(gui, files, game, 2); }
};

struct StatusRow {
    const char* name;
    GameRecord game;
    forms::Colour colour;
    const char* status;
    bool checked, optimize, restore;
};

TEST_F(Status, EachClassSetsColoursStatusMarksAndButtons) {
    const StatusRow rows[] = {
        {"not detected", GameOnDisk({"fresh.cfg"}, false, false), kGND, "Game not detected", false,
         false, false},
        {"configuration file missing", GameOnDisk({"gone.cfg"}), kGCNF, "Game CFG file not found",
         true, true, false},
        {"no configuration entry", GameOnDisk({""}), kGCNF, "Game CFG file not found", true, true,
         false},
        {"not optimized", GameOnDisk({"fresh.cfg"}), kGNO, "Game not optimized yet", true, true,
         false},
        {"optimized", GameOnDisk({"done.cfg"}), kGO, "Game has been optimized", true, false, true},
        {"partly optimized", GameOnDisk({"done.cfg", "fresh.cfg"}), kGNO, "Game not optimized yet",
         true, true, false},
        {"one missing outweighs all", GameOnDisk({"fresh.cfg", "done.cfg", "gone.cfg"}), kGCNF,
         "Game CFG file not found", true, true, false},
        {"a bad file name", GameOnDisk({"a|b.cfg"}), kGCNF, "Game CFG file not found", true, false,
         false},
    };
    for (const StatusRow& row : rows) {
        SCOPED_TRACE(row.name);
        SetUp();
        gui.GameList().ClearItems();
        gui.GameList().AddItem("Other");
        gui.GameList().SetItemChecked(gui.GameList().AddItem("Game"), !row.checked);
        Update(row.game);
        EXPECT_EQ(Line().ForeColor, row.colour);
        EXPECT_EQ(gui.PathLbl().ForeColor(), row.colour);
        EXPECT_EQ(gui.StatusLbl().BackColor(), row.colour);
        EXPECT_EQ(gui.StatusLbl().Caption(), row.status);
        EXPECT_EQ(Line().Checked, row.checked);
        EXPECT_EQ(Line().Bold, row.checked);
        EXPECT_EQ(Enabled(0), row.optimize);
        EXPECT_EQ(Enabled(1), row.restore);
        EXPECT_TRUE(Enabled(4) && Shown(4)) << "View is always offered";
        EXPECT_TRUE(gui.ResListBox().Visible());
        EXPECT_FALSE(gui.GameList().Item(1)->Checked) << "other lines are not touched";
    }
}

TEST_F(Status, NativeSupportHidesTheCommandsThatDoNotApply) {
    GameRecord game = GameOnDisk({"fresh.cfg"}, false, false);
    game.NativeSupport = true;
    gui.GameList().SetItemChecked(2, true);
    gui.BtnImageBox(5).SetVisible(false);
    Update(game);
    EXPECT_EQ(Line().ForeColor, kGHNTS);
    EXPECT_EQ(gui.StatusLbl().Caption(), "Game has native support");
    EXPECT_TRUE(Line().Checked) << "the check mark stays as it was";
    EXPECT_FALSE(gui.ResListBox().Visible());
    for (int b = 0; b <= 4; ++b) EXPECT_FALSE(Enabled(b) || Shown(b)) << b;
    for (int b = 5; b <= 7; ++b) EXPECT_TRUE(Enabled(b)) << b;
    EXPECT_FALSE(Shown(5)) << "How-To keeps its visibility";
    EXPECT_TRUE(Shown(6) && Shown(7));
}

TEST_F(Status, PatternMatchesOnlyLeaveColourAndButtonsAlone) {
    gui.BtnImageBox(0).SetEnabled(false);
    Update(GameOnDisk({"*done.cfg", "*fresh.cfg"}));
    EXPECT_EQ(Line().ForeColor, kUnset);
    EXPECT_FALSE(Enabled(0));
    EXPECT_EQ(gui.StatusLbl().Caption(), "StatusLabel") << "no class has the line's colour";
    EXPECT_TRUE(Line().Checked && Line().Bold);

    gui.GameList().SetItemForeColor(2, kGO);
    Update(GameOnDisk({"*done.cfg"}));
    EXPECT_TRUE(Enabled(0)) << "a copied match on a line shown optimized offers Optimize again";
}

TEST_F(Status, NothingToApplyKeepsOptimizeOff) {
    GameRecord game = GameOnDisk({"fresh.cfg"});
    game.CfgFiles[0].Lines = {""};
    Update(game);
    EXPECT_FALSE(Enabled(0));
    game.ShortcutParameters = "-w 3840";
    Update(game);
    EXPECT_TRUE(Enabled(0));
    game.ShortcutParameters.clear();
    game.Registry = {"HKEY_CURRENT_USER\\Software\\Game,W,3840,REG_DWORD"};
    Update(game);
    EXPECT_TRUE(Enabled(0));
}

TEST_F(Status, ClassesOfTheSameColourReadAsTheFirst) {
    gui.GNO_Color = kGO;
    Update(GameOnDisk({"fresh.cfg"}));
    EXPECT_EQ(gui.StatusLbl().Caption(), "Game has been optimized");
}

}  // namespace
