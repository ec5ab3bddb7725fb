#include <gtest/gtest.h>

#include "windowmodel/GameMessage.h"
#include "windowmodel/MainWindow.h"

using namespace optera;
using mainwindow::GameMessage;
using mainwindow::MainWindow;
using mainwindow::SetButtonState;

namespace {

TEST(MainWindowModel, SetButtonStateSetsImageAndCaptionTogether) {
    MainWindow gui;
    SetButtonState(gui.GUI(), 3, 0, false);
    EXPECT_FALSE(gui.BtnImageBox(3).Enabled());
    EXPECT_FALSE(gui.BtnLabel(3).Enabled());
    EXPECT_TRUE(gui.BtnImageBox(3).Visible());
    SetButtonState(gui.GUI(), 3, 1, false);
    EXPECT_FALSE(gui.BtnImageBox(3).Visible());
    EXPECT_FALSE(gui.BtnLabel(3).Visible());
    SetButtonState(gui.GUI(), 3, 0, true);
    EXPECT_TRUE(gui.BtnLabel(3).Enabled());

    SetButtonState(gui.GUI(), 5, 2, false);
    SetButtonState(gui.GUI(), 9, 0, false);
    SetButtonState(gui.GUI(), -1, 1, false);
    for (int i = 0; i < 8; ++i) {
        if (i == 3) continue;
        EXPECT_TRUE(gui.BtnImageBox(i).Enabled() && gui.BtnImageBox(i).Visible()) << i;
        EXPECT_TRUE(gui.BtnLabel(i).Enabled() && gui.BtnLabel(i).Visible()) << i;
    }
}

// Each text names the game where it should, and the numbers without a text give none.
TEST(GameMessages, NameTheGameAndItsFileWhereTheyShould) {
    recipes::GameRecord game;
    game.Name = "Sample Racer";
    game.GameExe = "racer.exe";
    const std::string line = "Sample Racer (line)";
    const struct {
        std::int16_t number;
        std::vector<std::string> holds;
    } rows[] = {
        {2, {"'Sample Racer (line)'. \r\n", "Please find the 'racer.exe' file."}},
        {3, {"A game configuration file could not be found!\r\n\r\n", "to be created ."}},
        {4, {"installation location.\r\n\r\nWould you like", "yourself ?"}},
        {5, {"A system scan failed to locate the game.\r\n"}},
        {7, {"files for\r\n\r\n\t'Sample Racer' \r\n\r\n", "\tDo you wish to do this?"}},
        {8, {"Unable to process this registry entry"}},
        {9, {"different than expected."}},
        {10, {"Invalid Registry Entry"}},
        {11,
         {"Cfg file:\r\n\r\n\tSample Racer.txt\r\n\r\n", "\tBROWSE   or   SEARCH\r\n",
          "install location.\r\n\r\n"}},
    };
    for (const auto& row : rows) {
        const std::string text = GameMessage(row.number, game, line);
        for (const std::string& piece : row.holds)
            EXPECT_NE(text.find(piece), std::string::npos) << row.number << ": " << text;
    }
    EXPECT_TRUE(GameMessage(11, game, line).ends_with("location.\r\n\r\n"));
    for (std::int16_t none : {0, 1, 6, 12, -1})
        EXPECT_EQ(GameMessage(none, game, line), "") << none;
}

}  // namespace
