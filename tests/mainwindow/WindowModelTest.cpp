#include <gtest/gtest.h>

#include "mainwindow/model/GameMessage.h"
#include "mainwindow/model/MainWindow.h"

using namespace optera;
using mainwindow::GameMessage;
using mainwindow::MainWindow;
using mainwindow::SetButtonState;

namespace {

TEST(MainWindowModel, HasTheControlsOfTheWindow) {
    MainWindow gui;
    EXPECT_EQ(gui.GameList().Kind(), "ListView");
    EXPECT_EQ(gui.GameList().Get("Checkboxes"), forms::PropertyValue(true));
    EXPECT_EQ(gui.GameList().Get("ToolTipText"),
              forms::PropertyValue(
                  std::string("Right Click toggles between full list and detected list.")));
    EXPECT_EQ(gui.StatusLbl().Caption(), "StatusLabel");
    EXPECT_EQ(gui.PathLbl().Caption(), "PathLabel");
    EXPECT_EQ(gui.Timer1().Get("Interval"), forms::PropertyValue(std::int32_t{50}));
    EXPECT_TRUE(gui.Timer1().Enabled());
    for (int n = 1; n <= 4; ++n) EXPECT_FALSE(gui.Command(n).Visible()) << n;
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(gui.BtnImageBox(i).Index(), i);
        EXPECT_EQ(gui.BtnLabel(i).Kind(), "Label");
    }
    EXPECT_EQ(gui.NativeMessages, std::vector<std::string>{""});
    EXPECT_EQ(gui.GUI().Find("BackGroundImage")->Kind(), "Image");
}

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

TEST(GameMessages, AreTheWindowsTextsToTheByte) {
    recipes::GameRecord game;
    game.Name = "Sample Racer";
    game.GameExe = "racer.exe";
    const std::string line = "Sample Racer (line)";

    EXPECT_EQ(GameMessage(2, game, line),
              "This is not the correct 'exe' file for 'Sample Racer (line)'. \r\n"
              "Please find the 'racer.exe' file.");
    EXPECT_EQ(GameMessage(3, game, line),
              "A game configuration file could not be found!\r\n\r\n"
              "If the game was just installed and has not been run, please run\r\n"
              "the game once to allow the configuration file to be created .");
    EXPECT_EQ(GameMessage(4, game, line),
              "Optera was unable to find the game installation location.\r\n\r\n"
              "Would you like to find the game location yourself ?");
    EXPECT_EQ(GameMessage(5, game, line),
              "A system scan failed to locate the game.\r\n"
              "If you are sure its installed, please try\r\n"
              "using the browse button to locate it.");
    EXPECT_EQ(GameMessage(7, game, line),
              "The following widescape gaming configuration files for\r\n\r\n"
              "\t'Sample Racer' \r\n\r\n"
              "is about to be removed and replaced with the original\r\n"
              "ones. You will loose all changes made to the files.\r\n\r\n"
              "\tDo you wish to do this?");
    EXPECT_EQ(GameMessage(8, game, line), "Unable to process this registry entry");
    EXPECT_EQ(GameMessage(9, game, line),
              "This may cause your game to behave in a way different than expected.");
    EXPECT_EQ(GameMessage(10, game, line), "Invalid Registry Entry");
    EXPECT_EQ(GameMessage(11, game, line),
              "The Optera's Cfg file:\r\n\r\n\tSample Racer.txt\r\n\r\n"
              "does not contain any 'GameLoc' nor 'UserLoc'\r\n"
              "location entry information, therefore the Optera\r\n"
              "cannot detect the game automatically.\r\n\r\n"
              "It is possible that this game may not add any\r\n"
              "information into the windows registry. In cases\r\n"
              "such as these it is nesessary to do a manual\r\n"
              "search for the game.\r\n\r\n"
              "So, if this game is installed, please use either the\r\n\r\n"
              "\tBROWSE   or   SEARCH\r\n\r\n"
              "button to get the games install location.\r\n\r\n");
    for (std::int16_t none : {0, 1, 6, 12, -1})
        EXPECT_EQ(GameMessage(none, game, line), "") << none;
}

}  // namespace
