// Whole roads a user takes through the main window, on a Wine prefix in a temporary folder with
// scripted answers: selecting games of every class, optimizing with YES and NO, a recipe that
// lacks a resolution value, restoring, locating a game by hand, taking a wrong location back,
// and searching the disks.

#include <gtest/gtest.h>

#include <deque>
#include <filesystem>

#include "mainwindow/MainWindowLogic.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/HostFiles.h"
#include "platform/wine/PrefixChangeLock.h"
#include "platform/wine/WineMachine.h"
#include "support/FormMirror.h"
#include "support/WinePrefix.h"
#include "windowmodel/GameMessage.h"

using namespace optera;
using optera::testing::FormMirror;
namespace fs = std::filesystem;
using platform::MessageAnswer;
using platform::MessageIcon;

namespace {

constexpr char kIni[] =
    "[RESOLUTIONS]\r\n5760x1080\r\n3840x1024\r\n2560x1024\r\n[DEFAULTRES]\r\nDefault=3840x1024\r\n";
constexpr char kSample[] =
    "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\Sample\\InstallPath\r\nUSERLOC=\r\nGAMEEXE=sample.exe\r\n"
    "SHORTCUTNAME=Sample\r\n"
    "[GAMERES]\r\nRES=3840x1024\r\n"
    "[Registry]\r\nHKEY_CURRENT_USER\\Software\\Sample,Width,#KELVANW,REG_DWORD\r\n"
    "[CFG]\r\nCFG.1=video.ini\r\n"
    "[CFG.1]\r\n2=Width=#KELVANW\r\n"
    "[HOWTO]\r\nMSG=Start the game once before optimizing it.\r\n";
constexpr char kVideo[] = "[Display]\r\nWidth=1024\r\n";
// Found nowhere until the user shows where it is; its folder lacks nothing.
constexpr char kAbsent[] =
    "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\Absent\\InstallPath\r\nUSERLOC=\r\nGAMEEXE=absent.exe\r\n"
    "[CFG]\r\nCFG.1=absent.ini\r\n[CFG.1]\r\n1=x #KELVANW\r\n";
constexpr char kNative[] =
    "[GAMEINFO]\r\nGAMELOC=\r\nUSERLOC=\r\nGAMEEXE=native.exe\r\nNativePanolineSupport = True\r\n"
    "[HOWTO]\r\nMSG1=Choose the width in the game's own menu.\r\nMSG2=Then restart it.\r\n";
// Offers only two resolutions and has a value for one of them.
constexpr char kPartial[] =
    "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\Sample\\InstallPath\r\nUSERLOC=\r\nGAMEEXE=sample.exe\r\n"
    "[GAMERESOLUTIONS]\r\nMin=3840x1024\r\n"
    "[CFG]\r\nCFG.1=video.ini\r\n[CFG.1]\r\n2=Width=#RESDEPENDENT.1\r\n"
    "[RESDEPENDENT.1]\r\n3840x1024=90\r\n";

// Answers the dialogs as a user would: Confirm with the next scripted button, the report by
// closing it after it was read.
class ScriptedDialogs : public mainwindow::ModalHost {
  public:
    std::deque<std::string> confirmButtons;
    std::vector<std::string> captions;
    std::vector<std::string> reports;

    void ShowModal(forms::Form& dialog) override {
        captions.push_back(dialog.Caption());
        if (dialog.Name() == "Confirm") {
            std::string button = confirmButtons.empty() ? "NoButton" : confirmButtons.front();
            if (!confirmButtons.empty()) confirmButtons.pop_front();
            if (button == "DetailButton") {
                dialog.Find(button)->Raise("Click");
                button = "YesButton";
            }
            dialog.Find(button)->Raise("Click");
        } else {
            reports.push_back(dialog.Find("Text1")->Text());
            dialog.SetVisible(false);
        }
    }
};

class UserRoads : public optera::testing::WinePrefixTest {
  protected:
    UserRoads() {
        temp.Write("system.reg",
                   "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
                   "[Software\\\\Microsoft\\\\Games\\\\Sample] 1700000000\n"
                   "\"InstallPath\"=\"C:\\\\Games\\\\Sample\"\n");
        temp.Write(
            "user.reg",
            "WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000"
            "\n\n#arch=win64\n\n[Software\\\\Sample] 1700000000\n\"Width\"=dword:00000400\n");
        temp.Write("drive_c/Games/Sample/Bin/video.ini", kVideo);
        temp.Write("drive_c/Other/Absent/absent.exe", "MZ");
        temp.Write("drive_c/Other/Absent/absent.ini", "x 1024\r\n");
        temp.Write("drive_c/Other/Absent/readme.txt", "");
        temp.Write("drive_c/Other/Absent/notabsent.exe", "MZ");
        temp.Write("drive_c/Wrong/absent.exe", "MZ");
        temp.Write("drive_c/Optera/Optera.ini", kIni);
        temp.Write("drive_c/Optera/MODS/Sample.txt", kSample);
        temp.Write("drive_c/Optera/MODS/Absent.txt", kAbsent);
        temp.Write("drive_c/Optera/MODS/Native.txt", kNative);
        temp.Write("drive_c/Optera/MODS/Partial.txt", kPartial);
        temp.Write("drive_c/Optera/MODS/_BLANK.txt", "");

        gui.GO_Color = 1, gui.GCNF_Color = 2, gui.GNO_Color = 3, gui.GND_Color = 4;
        gui.GHNTS_Color = 5;
        gui.ShowAllGames = true;
        logic.BuildResolutionList();
        logic.FillGameList();
    }

    // A click on the game's line.
    void Select(const std::string& name) {
        forms::Control& list = gui.GameList();
        for (int i = 1; i <= list.ItemCount(); ++i)
            if (list.Item(i)->Text == name) list.Select(i);
        list.Raise("Click");
        EXPECT_TRUE(mirror.MatchesForm());
    }
    forms::ListItem Line(const std::string& name) {
        forms::Control& list = gui.GameList();
        for (int i = 1; i <= list.ItemCount(); ++i)
            if (list.Item(i)->Text == name) return *list.Item(i);
        throw std::runtime_error("no line " + name);
    }
    // A press and release of an image button, as the timer takes them up.
    void Press(int button) {
        gui.BtnImageBox(button).Raise("MouseDown");
        gui.Timer1().Tick();
        gui.BtnImageBox(button).Raise("MouseUp");
        gui.Timer1().Tick();
        EXPECT_TRUE(mirror.MatchesForm());
    }
    // Every road ends with the window as a listener has heard it.
    void TearDown() override { EXPECT_TRUE(mirror.MatchesForm()); }
    // Which buttons are enabled and shown: "E" enabled and shown, "s" shown only, "-" hidden.
    std::string Buttons() {
        std::string states;
        for (int i = 0; i < mainwindow::button::Count; ++i) {
            const forms::Control& image = gui.BtnImageBox(i);
            states += !image.Visible() ? '-' : image.Enabled() ? 'E' : 's';
        }
        return states;
    }
    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        for (const forms::ListItem& row : gui.ResListBox().Items())
            rows.push_back(row.Selected ? "[" + row.Text + "]" : row.Text);
        return rows;
    }
    std::string Status() { return gui.StatusLbl().Caption(); }
    std::string Read(const std::string& relative) {
        return platform::ReadHostFile(prefix() / relative).value_or("(missing)");
    }
    std::string UserLoc(const std::string& game) {
        return profile.GetIniStringValue("C:\\Optera\\MODS\\" + game + ".txt", "GAMEINFO",
                                         "USERLOC");
    }

    // Only C: is a disk here, so that a search stays inside the prefix.
    bool onlyDriveC = fs::remove(devices() / "z:");
    platform::WineMachine wine{
        prefix(),
        {{"HOME", (prefix() / "home").string()},
         {"XDG_DESKTOP_DIR", (prefix() / "desk").string()},
         {"OPTERA_DISPLAY_MODES", "5760x1080x32@60,3840x1024x32@60,1920x1080x32@60,800x600x8@60"},
         {"OPTERA_LOCK_WAIT_MS", "50"}},
        prefix() / "settings.ini"};
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{wine.files()};
    services::cRegistry registry{wine.registry(), prompts};
    optimizer::KeyStoreRegistryFiles regFiles{wine.registry(), wine.files()};
    mainwindow::MainWindow gui;
    // A listener from before the first line was filled, as the window's view is.
    FormMirror mirror{gui.GUI()};
    ScriptedDialogs dialogs;
    mainwindow::MainWindowLogic logic{
        {wine.machine(), profile, registry, prompts, regFiles, "C:\\Optera"}, gui, dialogs};
};

TEST_F(UserRoads, EachClassShowsItsColourStatusPathButtonsAndRows) {
    // The blank template is never a game; the names come sorted.
    std::vector<std::string> names;
    for (const forms::ListItem& line : gui.GameList().Items()) names.push_back(line.Text);
    EXPECT_EQ(names, (std::vector<std::string>{"Absent", "Native", "Partial", "Sample"}));
    EXPECT_EQ(gui.Resolutions, (std::vector<std::string>{"3840x1024", "5760x1080"}));

    Select("Sample");
    EXPECT_EQ(Status(), "Game not optimized yet");
    EXPECT_EQ(gui.StatusLbl().BackColor(), gui.GNO_Color);
    EXPECT_EQ(gui.PathLbl().Caption(), "C:\\Games\\Sample\\Bin");
    EXPECT_EQ(Buttons(), "EsssEEEE");
    EXPECT_EQ(Rows(), (std::vector<std::string>{"[3840x1024]", "5760x1080"}));
    EXPECT_TRUE(Line("Sample").Checked);
    EXPECT_TRUE(prompts.shown.empty());

    Select("Partial");
    EXPECT_EQ(Rows(), (std::vector<std::string>{"[3840x1024]", "5760x1080"}));

    Select("Absent");
    EXPECT_EQ(Status(), "Game not detected");
    EXPECT_EQ(Line("Absent").ForeColor, gui.GND_Color);
    EXPECT_EQ(gui.PathLbl().Caption(), "");
    EXPECT_EQ(Buttons(), "ssEEEsEE");
    EXPECT_FALSE(Line("Absent").Checked);

    Select("Native");
    EXPECT_EQ(Status(), "Game has native support");
    EXPECT_FALSE(gui.ResListBox().Visible());
    EXPECT_EQ(Buttons().substr(0, 4), "----");
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].title, "How To Information");
    EXPECT_EQ(prompts.shown[0].text,
              "Choose the width in the game's own menu.\r\nThen restart it.\r\n");
    // The How-To command shows the native note instead, and the next selection no box.
    Press(mainwindow::button::HowTo);
    ASSERT_EQ(dialogs.reports.size(), 1u);
    EXPECT_EQ(dialogs.reports[0],
              "\r\n\tNative  (has native support)\r\n\r\n\r\n\r\n"
              "Choose the width in the game's own menu.\r\nThen restart it.\r\n");
    Select("Native");
    EXPECT_EQ(prompts.shown.size(), 1u);

    Select("Sample");
    EXPECT_TRUE(gui.ResListBox().Visible());
}

TEST_F(UserRoads, OptimizeWithNoThenYesThenRestore) {
    Select("Sample");
    gui.ResListBox().Select(2);
    gui.ResListBox().Raise("Click");

    dialogs.confirmButtons = {"NoButton"};
    Press(mainwindow::button::Optimize);
    EXPECT_EQ(dialogs.captions.back(), "Proceed with  5760 x 1080  optimizations?");
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"), kVideo);
    EXPECT_EQ(Status(), "Game not optimized yet");
    // The game is selected again afterwards, at the default resolution.
    EXPECT_EQ(Rows(), (std::vector<std::string>{"[3840x1024]", "5760x1080"}));

    // DETAILS first, then YES.
    gui.ResListBox().Select(2);
    gui.ResListBox().Raise("Click");
    dialogs.confirmButtons = {"DetailButton"};
    Press(mainwindow::button::Optimize);
    ASSERT_EQ(dialogs.reports.size(), 1u);
    // The details name the file and the registry value at the resolution chosen.
    EXPECT_NE(dialogs.reports[0].find("video.ini'\r\n\r\n2=Width=5760\r\n"), std::string::npos);
    EXPECT_NE(dialogs.reports[0].find("Software\\Sample,Width,5760,REG_DWORD"), std::string::npos);
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"), "[Display]\r\nWidth=5760\r\n");
    EXPECT_EQ(Status(), "Game has been optimized");
    EXPECT_EQ(Line("Sample").ForeColor, gui.GO_Color);
    EXPECT_EQ(Buttons().substr(0, 2), "sE");
    // Selected again later, the game shows the resolution it was optimized for.
    Select("Absent");
    Select("Sample");
    EXPECT_EQ(Rows(), (std::vector<std::string>{"3840x1024", "[5760x1080]"}));

    prompts.Answer(MessageAnswer::Yes);
    Press(mainwindow::button::Restore);
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"), kVideo);
    EXPECT_EQ(Status(), "Game not optimized yet");
    EXPECT_EQ(Buttons().substr(0, 2), "Es");
}

// Optimize and Restore hold the prefix's change lock through their writes; while another Optera
// holds it, they say so before any question and change nothing. (The wait for another process
// and its message are tried with real processes in the command line's tests.)
TEST_F(UserRoads, AnotherOpterasRunStopsOptimizeAndRestoreBeforeAnyChange) {
    platform::PrefixChangeLock other(prefix(), std::chrono::milliseconds(0));
    int boxesWhileHeld = 0;  // boxes shown while this window held the lock
    prompts.onMessage = [&](const platform::PromptMessage&) {
        if (other.Acquire().empty())
            other.Release();
        else
            ++boxesWhileHeld;
    };
    Select("Sample");
    const std::string user = Read("user.reg");
    for (int button : {mainwindow::button::Optimize, mainwindow::button::Restore}) {
        const bool optimize = button == mainwindow::button::Optimize;
        ASSERT_EQ(other.Acquire(), "");
        dialogs.confirmButtons = {"YesButton"};
        prompts.Answer(MessageAnswer::Yes);
        prompts.shown.clear();
        Press(button);
        other.Release();
        ASSERT_EQ(prompts.shown.size(), 1u) << "no question is asked";
        EXPECT_TRUE(prompts.shown[0].text.starts_with("Another Optera is busy"));
        EXPECT_EQ(prompts.shown[0].icon, MessageIcon::Exclamation);
        EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"),
                  optimize ? kVideo : "[Display]\r\nWidth=3840\r\n");
        if (optimize) {
            EXPECT_EQ(Read("user.reg"), user);
        }
        // Once the other has finished, the same press goes through, holding the lock meanwhile.
        dialogs.confirmButtons = {"YesButton"};
        prompts.Answer(MessageAnswer::Yes);
        boxesWhileHeld = 0;
        Press(button);
        EXPECT_EQ(boxesWhileHeld, 1) << "the launcher's question, or the restore's";
        EXPECT_EQ(Status(), optimize ? "Game has been optimized" : "Game not optimized yet");
    }
}

TEST_F(UserRoads, ARecipeWithoutAValueForTheResolutionIsNotOptimized) {
    Select("Partial");
    gui.ResListBox().Select(2);
    gui.ResListBox().Raise("Click");
    Press(mainwindow::button::Optimize);
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0],
              (platform::PromptMessage{"Optera - Missing Entry",
                                       "The \"Partial.txt\" file\r\nis missing a 5760x1080 "
                                       "resolution dependent\r\nvalue and cannot be optimized "
                                       "for this\r\nresolution at this time.",
                                       platform::MessageButtons::Ok, MessageIcon::Critical}));
    EXPECT_TRUE(dialogs.captions.empty());
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"), kVideo);
}

TEST_F(UserRoads, LocatingByHandChecksTheFileAndAWrongPlaceCanBeTakenBack) {
    Select("Absent");
    const recipes::GameRecord absent = logic.state().CurrentGame;
    prompts.Choose("C:\\Other\\Absent\\readme.txt");
    prompts.Choose("C:\\Other\\Absent\\other.exe");
    Press(mainwindow::button::Browse);
    Press(mainwindow::button::Browse);
    ASSERT_EQ(prompts.shown.size(), 2u);
    EXPECT_EQ(prompts.shown[0].title, "Optera - Error Msg");
    EXPECT_EQ(prompts.shown[0].text, mainwindow::GameMessage(3, absent, "Absent"));
    EXPECT_EQ(prompts.shown[1].text, mainwindow::GameMessage(2, absent, "Absent"));
    EXPECT_EQ(prompts.shown[1].icon, MessageIcon::Critical);
    EXPECT_EQ(UserLoc("Absent"), "");

    // A cancelled dialog changes nothing; then a folder that lacks the configuration file.
    Press(mainwindow::button::Browse);
    EXPECT_EQ(UserLoc("Absent"), "");
    prompts.Choose("C:\\Wrong\\absent.exe");
    Press(mainwindow::button::Browse);
    EXPECT_EQ(UserLoc("Absent"), "C:\\Wrong\\absent.exe");
    EXPECT_EQ(Status(), "Game CFG file not found");
    EXPECT_TRUE(Line("Absent").Checked);

    // Unticking the game takes the wrong place back.
    gui.GameList().UserChecks(Line("Absent").Index);
    EXPECT_EQ(UserLoc("Absent"), "");
    EXPECT_EQ(Status(), "Game not detected");
    EXPECT_FALSE(Line("Absent").Checked);

    prompts.Choose("C:\\Other\\Absent\\ABSENT.EXE");
    Press(mainwindow::button::Browse);
    EXPECT_EQ(UserLoc("Absent"), "C:\\Other\\Absent\\ABSENT.EXE");
    EXPECT_EQ(Status(), "Game not optimized yet");
    EXPECT_EQ(prompts.fileDialogs, 5);
}

TEST_F(UserRoads, SearchFindsNothingFindsAndCanBeCancelled) {
    // Cancelled at once: nothing is kept, and the user is told nothing was found.
    Select("Absent");
    prompts.onPendingEvents = [this] { logic.scanner().Form().Find("CancelBtn")->Raise("Click"); };
    Press(mainwindow::button::Search);
    EXPECT_EQ(UserLoc("Absent"), "");
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].title, "Not Found");
    EXPECT_TRUE(gui.BtnImageBox(mainwindow::button::Search).Enabled());

    prompts.onPendingEvents = nullptr;
    fs::remove_all(driveC() / "Wrong");
    Press(mainwindow::button::Search);
    EXPECT_EQ(UserLoc("Absent"), "C:\\Other\\Absent\\absent.exe");
    EXPECT_EQ(gui.PathLbl().Caption(), "C:\\Other\\Absent\\absent.exe");
    EXPECT_FALSE(gui.BtnImageBox(mainwindow::button::Search).Enabled());
    EXPECT_EQ(logic.scanner().Form().Caption(), "Looking for Absent");
    EXPECT_FALSE(logic.scanner().Form().Visible());

    // A game whose program is nowhere on the disks.
    temp.Write("drive_c/Optera/MODS/Ghost.txt",
               "[GAMEINFO]\r\nGAMELOC=\r\nUSERLOC=\r\nGAMEEXE=ghost.exe\r\n");
    logic.FillGameList();
    Select("Ghost");
    prompts.shown.clear();
    Press(mainwindow::button::Search);
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].text,
              mainwindow::GameMessage(5, logic.state().CurrentGame, "Ghost"));
    EXPECT_EQ(UserLoc("Ghost"), "");
}

}  // namespace
