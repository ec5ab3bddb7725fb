// Optimize and restore a game end to end on a Wine prefix in a temporary folder: configuration
// files, registry values and their backup, the desktop launcher and the recipe's resolution.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "discovery/GameStatus.h"
#include "optimizer/Optimizer.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/HostFiles.h"
#include "platform/wine/WineMachine.h"
#include "platform/wine/WineServerLock.h"
#include "recipes/RecipeReader.h"
#include "support/FakeWineServer.h"
#include "support/WinePrefix.h"
#include "windowmodel/GameMessage.h"

using namespace optera;
namespace fs = std::filesystem;
using platform::MessageAnswer;

namespace {

constexpr char kRecipe[] =
    "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\Sample\\InstallPath\r\nUSERLOC=\r\nGAMEEXE=sample.exe\r\n"
    "SHORTCUTNAME=Sample\r\nSHORTCUTPARAMETERS=-w #KELVANW -h #KELVANH\r\n"
    "[GAMERES]\r\nRES=1024x768\r\n"
    "[Registry]\r\nHKEY_CURRENT_USER\\Software\\Sample,Width,#KELVANW,REG_DWORD\r\n"
    "[CFG]\r\nCFG.1=video.ini\r\nCFG.2=..\\saves\\*.cfg\r\n"
    "[CFG.1]\r\nDisplay,Width=#KELVANW\r\n"
    "[CFG.2]\r\n3=fov #RESDEPENDENT.1\r\n"
    "[RESDEPENDENT.1]\r\n3840x1024=90\r\n5760x1080=100\r\n";
constexpr char kVideo[] = "[Display]\r\nWidth=1024\r\nHeight=768\r\n";
constexpr char kSave[] = "a\r\nb\r\nfov 75\r\n";

std::string Utf16(std::string_view text) {
    std::string bytes = "\xFF\xFE";
    for (char c : text) bytes += {c, '\0'};
    return bytes;
}

class OptimizeRestore : public optera::testing::WinePrefixTest {
  protected:
    OptimizeRestore() {
        temp.Write("system.reg",
                   "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
                   "[Software\\\\Microsoft\\\\Games\\\\Sample] 1700000000\n"
                   "\"InstallPath\"=\"C:\\\\Games\\\\Sample\"\n\n"
                   "[Software\\\\Wow6432Node] 1700000000\n");
        temp.Write(
            "user.reg",
            "WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000"
            "\n\n#arch=win64\n\n[Software\\\\Sample] 1700000000\n\"Width\"=dword:00000400\n");
        // The recipe names these in other cases, and its pattern must pass over the notes.
        temp.Write("drive_c/Games/Sample/Bin/VIDEO.INI", kVideo);
        temp.Write("drive_c/Games/Sample/Saves/one.cfg", kSave);
        temp.Write("drive_c/Games/Sample/Saves/TWO.CFG", kSave);
        temp.Write("drive_c/Games/Sample/Saves/notes.txt", "");
        temp.Write("program/MODS/Sample.txt", kRecipe);

        gui.GameList().Select(gui.GameList().AddItem("Sample"));
        gui.ResListBox().Select(gui.ResListBox().AddItem("3840x1024"));
        gui.ResListBox().AddItem("5760x1080");
        gui.CurrentGameText = "Sample";
        gui.DefaultResolution = "1024x768";
        gui.GO_Color = 1, gui.GCNF_Color = 2, gui.GNO_Color = 3, gui.GND_Color = 4;
        gui.GHNTS_Color = 5;
        optimizer.SelectGame = [this] { SelectGame(); };
        state.Selected = {3840, 1024};
        SelectGame();
    }

    // What a click on the game does, as far as these tests need it.
    void SelectGame() {
        state.CurrentGame = reader.ReadRecipe("Sample");
        discovery::UpdateGameStatus(gui, wine.files(), state.CurrentGame, 1);
    }
    void SelectResolution(int line, std::int16_t width, std::int16_t height) {
        gui.ResListBox().Select(line);
        state.Selected = {width, height};
        SelectGame();
    }
    void Optimize() {
        optimizer.ProceedFlag = true;
        optimizer.OptimizeAndLockButtons();
        SelectGame();
    }

    // Files on C: are read as the game sees them, whatever their case on disk.
    static std::string OnC(std::string relative) {
        std::replace(relative.begin(), relative.end(), '/', '\\');
        return "C:" + relative.substr(std::string("drive_c").size());
    }
    std::string Read(const std::string& relative) {
        if (relative.starts_with("drive_c/"))
            return wine.files().ReadAll(OnC(relative)).value_or("(missing)");
        return platform::ReadHostFile(prefix() / relative).value_or("(missing)");
    }
    bool Exists(const std::string& relative) {
        return platform::FileExists(wine.files(), OnC(relative));
    }
    std::int32_t Width() {
        return registry.GetDWordValue("HKEY_CURRENT_USER\\Software\\Sample", "Width").AsInt();
    }
    fs::path Launcher() { return prefix() / "desk" / "Sample Widescape.desktop"; }
    std::string Status() { return gui.StatusLbl().Caption(); }

    platform::WineMachine wine{
        prefix(),
        {{"HOME", (prefix() / "home").string()}, {"XDG_DESKTOP_DIR", (prefix() / "desk").string()}},
        prefix() / "settings.ini"};
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{wine.files()};
    services::cRegistry registry{wine.registry(), prompts};
    recipes::RecipeState state;
    std::string programFolder = OnZ(prefix() / "program");
    recipes::RecipeReader reader{{wine.machine(), profile, registry, programFolder}, state};
    mainwindow::MainWindow gui;
    optimizer::KeyStoreRegistryFiles regFiles{wine.registry(), wine.files()};
    optimizer::Optimizer optimizer{
        {wine.machine(), profile, registry, prompts, regFiles, programFolder}, state, gui};
};

const std::string kBackup = "drive_c/Games/Sample/Bin/Kelvan_Sample_0.reg";

TEST_F(OptimizeRestore, OptimizeTwiceThenRestoreGivesEverythingBack) {
    ASSERT_EQ(Status(), "Game not optimized yet");
    Optimize();

    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"),
              "[Display]\r\nWidth=3840\r\nHeight=768\r\n");
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.original"), kVideo);
    for (const char* save : {"one", "two"}) {
        EXPECT_EQ(Read("drive_c/Games/Sample/Saves/" + std::string(save) + ".cfg"),
                  "a\r\nb\r\nfov 90\r\n");
        EXPECT_EQ(Read("drive_c/Games/Sample/Saves/" + std::string(save) + ".original"), kSave);
    }
    EXPECT_EQ(Read("drive_c/Games/Sample/Saves/notes.txt"), "");
    EXPECT_FALSE(Exists("drive_c/Games/Sample/Saves/notes.original"));
    EXPECT_EQ(Width(), 3840);
    EXPECT_EQ(Read(kBackup), Utf16("Windows Registry Editor Version 5.00\r\n\r\n"
                                   "[HKEY_CURRENT_USER\\Software\\Sample]\r\n"
                                   "\"Width\"=dword:00000400\r\n\r\n"));
    EXPECT_FALSE(Exists("drive_c/tmpReg.reg"));
    EXPECT_NE(Read(Launcher().lexically_relative(prefix())).find(" -w 3840 -h 1024\n"),
              std::string::npos);
    EXPECT_EQ(profile.GetIniStringValue(reader.RecipePathOf("Sample"), "GAMERES", "RES"),
              "3840x1024");
    ASSERT_EQ(prompts.shown.size(), 1u) << "the launcher's notice only";
    EXPECT_EQ(Status(), "Game has been optimized");
    EXPECT_TRUE(gui.BtnImageBox(1).Enabled());

    // A second run at another resolution keeps the first originals and the first backup.
    const std::string backup = Read(kBackup);
    SelectResolution(2, 5760, 1080);
    Optimize();
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"),
              "[Display]\r\nWidth=5760\r\nHeight=768\r\n");
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.original"), kVideo);
    EXPECT_EQ(Read("drive_c/Games/Sample/Saves/one.cfg"), "a\r\nb\r\nfov 100\r\n");
    EXPECT_EQ(Read("drive_c/Games/Sample/Saves/one.original"), kSave);
    EXPECT_EQ(Read(kBackup), backup);
    EXPECT_EQ(Width(), 5760);
    EXPECT_EQ(profile.GetIniStringValue(reader.RecipePathOf("Sample"), "GAMERES", "RES"),
              "5760x1080");

    prompts.shown.clear();
    prompts.Answer(MessageAnswer::Yes);
    optimizer.RestoreOriginals();
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"), kVideo);
    EXPECT_EQ(Read("drive_c/Games/Sample/Saves/one.cfg"), kSave);
    EXPECT_EQ(Read("drive_c/Games/Sample/Saves/two.cfg"), kSave);
    for (const char* copy : {"Bin/video.original", "Saves/one.original", "Saves/two.original"})
        EXPECT_FALSE(Exists(std::string("drive_c/Games/Sample/") + copy)) << copy;
    EXPECT_EQ(Width(), 1024);
    EXPECT_FALSE(Exists(kBackup));
    EXPECT_FALSE(fs::exists(Launcher()));
    EXPECT_EQ(profile.GetIniStringValue(reader.RecipePathOf("Sample"), "GAMERES", "RES"),
              "1024x768");
    EXPECT_EQ(Status(), "Game not optimized yet");
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].title, "Restore Original Cfg Files");
    EXPECT_EQ(prompts.shown[0].text, mainwindow::GameMessage(7, state.CurrentGame, "Sample"));
    EXPECT_EQ(prompts.shown[0].icon, platform::MessageIcon::Question);
}

// A pattern matching many files edits each once, against one original copy each: a copy made
// earlier in another case counts as the file's copy, and no second one is made.
TEST_F(OptimizeRestore, APatternOverManyFilesEditsAndRestoresEachOfThem) {
    constexpr int kMany = 300;
    auto slot = [](int n) {
        char number[8];
        std::snprintf(number, sizeof number, "%03d", n);
        return "drive_c/Games/Sample/Saves/Slot" + std::string(number);
    };
    for (int n = 0; n < kMany; ++n) temp.Write(slot(n) + ".CFG", kSave);
    temp.Write("drive_c/Games/Sample/Saves/SLOT000.ORIGINAL", "earlier copy");
    SelectGame();
    Optimize();
    for (int n = 0; n < kMany; ++n) {
        EXPECT_EQ(Read(slot(n) + ".CFG"), "a\r\nb\r\nfov 90\r\n") << n;
        EXPECT_EQ(Read(slot(n) + ".original"), n == 0 ? "earlier copy" : kSave) << n;
    }
    int copies = 0;
    for (const auto& entry : fs::directory_iterator(prefix() / "drive_c/Games/Sample/Saves"))
        copies +=
            entry.path().extension() == ".original" || entry.path().extension() == ".ORIGINAL";
    EXPECT_EQ(copies, kMany + 2);  // with one.original and TWO.original

    prompts.Answer(MessageAnswer::Yes);
    optimizer.RestoreOriginals();
    for (int n = 0; n < kMany; ++n) {
        EXPECT_EQ(Read(slot(n) + ".CFG"), n == 0 ? "earlier copy" : kSave) << n;
        EXPECT_FALSE(Exists(slot(n) + ".original")) << n;
    }
}

// While something holds the prefix's wineserver lock no file may change, and the one message box
// must say why. (That a real wineserver holds it is checked with Wine itself in the interop test.)
TEST_F(OptimizeRestore, WhileWineRunsInThePrefixNothingIsChanged) {
    temp.Write("wineserver", "wine-optera-test-" + prefix().filename().string() + "\n");
    optera::testing::FakeServer server(platform::WineServerFolders(prefix()).at(1));
    ASSERT_TRUE(server.held);
    const std::string userReg = Read("user.reg");
    Optimize();
    EXPECT_EQ(Read("drive_c/Games/Sample/Bin/video.ini"), kVideo);
    EXPECT_FALSE(Exists("drive_c/Games/Sample/Bin/video.original"));
    EXPECT_FALSE(Exists(kBackup));
    EXPECT_FALSE(fs::exists(Launcher()));
    EXPECT_EQ(Read("user.reg"), userReg);
    EXPECT_EQ(profile.GetIniStringValue(reader.RecipePathOf("Sample"), "GAMERES", "RES"),
              "1024x768");
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].icon, platform::MessageIcon::Exclamation);
    EXPECT_FALSE(wine.registry().WhyNotWritable().empty());
    EXPECT_NE(prompts.shown[0].text.find(wine.registry().WhyNotWritable()), std::string::npos)
        << prompts.shown[0].text;
    std::error_code ignored;
    for (const fs::path& folder : platform::WineServerFolders(prefix()))
        fs::remove_all(folder, ignored);
}

}  // namespace
