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

// Each text names the game, its program or its recipe where it should; the numbers without a
// text give none.
TEST(GameMessages, NameTheGameAndItsFileWhereTheyShould) {
    recipes::GameRecord game;
    game.Name = "Sample Racer";
    game.GameExe = "racer.exe";
    const std::string line = "Sample Racer (line)";
    const std::pair<std::int16_t, std::vector<std::string>> rows[] = {
        {2, {"for 'Sample Racer (line)'. \r\n", "find the 'racer.exe' file."}},
        {3, {}},
        {4, {}},
        {5, {}},
        {7, {"\r\n\r\n\t'Sample Racer' \r\n\r\n"}},
        {8, {}},
        {9, {}},
        {10, {}},
        {11, {"\r\n\r\n\tSample Racer.txt\r\n\r\n"}},
    };
    for (const auto& [number, holds] : rows) {
        const std::string text = GameMessage(number, game, line);
        EXPECT_FALSE(text.empty()) << number;
        for (const std::string& piece : holds)
            EXPECT_NE(text.find(piece), std::string::npos) << number << ": " << text;
    }
    for (std::int16_t none : {0, 1, 6, 12, -1})
        EXPECT_EQ(GameMessage(none, game, line), "") << none;
}

}  // namespace
