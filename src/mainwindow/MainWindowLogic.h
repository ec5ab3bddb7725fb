#pragma once
// Everything the main window does, on the forms model and without a view: the resolution list,
// the game list and its selection, the eight commands with their press logic, the dialogs, the
// drive search and the blank recipe. A view only draws the model and feeds it the user's input;
// the command line drives the same routines.

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "discovery/Scanner.h"
#include "mainwindow/Dialogs.h"
#include "optimizer/Optimizer.h"
#include "platform/Machine.h"
#include "platform/Prompts.h"
#include "recipes/RecipeReader.h"
#include "services/cEnumDisplaySettings.h"
#include "services/cPrivateProfile.h"
#include "services/cRegistry.h"
#include "windowmodel/MainWindow.h"

namespace optera::mainwindow {

struct LogicServices {
    platform::Machine machine;
    services::cPrivateProfile& profile;
    services::cRegistry& registry;
    platform::Prompts& prompts;
    optimizer::RegistryFiles& regFiles;
    std::string programFolder;  // a Windows path; holds Optera.ini and MODS
};

// The ids of one video controller, cut out of its PNPDeviceID.
struct VideoCardIds {
    std::string Vendor;     // 4 characters behind "\VEN_"
    std::string Device;     // 4 behind "&DEV_"
    std::string Subsystem;  // 8 behind "&SUBSYS_"
};

// The controllers whose PNPDeviceID names a vendor; one record of empty ids when none does.
std::vector<VideoCardIds> ReadVideoCardIds(const platform::Display& display);
// The candidates the display can show (by the mode entries' width and height), and the four
// wide modes that stay whatever the display says; one empty text when none passes.
std::vector<std::string> FilterByDisplayModes(services::cEnumDisplaySettings& settings,
                                              const std::vector<std::string>& candidates);
// Rising by width, then by height.
void SortResolutions(std::vector<std::string>& list);
// By name without regard to case, the suffix's length cut from each name's end.
void SortRecipeNames(std::vector<std::string>& names, std::string_view suffix);
// The missing-entry marker when the record holds it where a change would use it, else "".
std::string FindMissingEntry(const recipes::GameRecord& record);

class MainWindowLogic {
  public:
    MainWindowLogic(LogicServices services, MainWindow& gui, ModalHost& modal);
    MainWindowLogic(const MainWindowLogic&) = delete;
    MainWindowLogic& operator=(const MainWindowLogic&) = delete;

    MainWindow& gui() { return gui_; }
    recipes::RecipeState& state() { return state_; }
    recipes::RecipeReader& reader() { return reader_; }
    optimizer::Optimizer& optimizer() { return optimizer_; }
    discovery::Scanner& scanner() { return scanner_; }
    ConfirmDialog& confirm() { return confirm_; }
    ReportDialog& report() { return report_; }
    std::string OpteraIni() const;

    // The resolution list.
    void BuildResolutionList();
    std::int16_t RestrictResolutionList(std::string_view wanted);
    void ResolutionSelected();

    // The game list.
    void FillGameList();
    void SelectGame();
    void GameDoubleClicked();
    void GameChecked(int index);
    void LocateGame();

    // The commands by button index, as a release of the button runs them.
    void RunCommand(int index);
    void OptimizeCommand();
    void RestoreCommand();
    void SearchCommand();
    void ViewCommand();
    void HowToCommand();
    void VisitWebCommand();
    void CloseCommand();
    // What Timer1 does at each tick: the pressed look, and the command at a release.
    void TimerTick();

    // The blank recipe, written anew and opened.
    void NewBlankRecipe();
    // Writes MODS\_BLANK.txt anew with the resolutions of now; its Windows path.
    std::string RewriteBlankRecipe();
    void OpenInTextEditor(std::string_view path);
    bool ShellOpen(std::string_view path);

    // Shows the report window modally in a mode ("Modify", "HowTo", "Native").
    void ShowReport(std::string_view mode);

    // Takes the machine's change lock for a command that writes. When another Optera holds it,
    // says so in one box and gives nothing: the command then changes nothing.
    std::optional<platform::ChangeHold> HoldForChanges();

    // The web address the Visit Web command opens (the skin gives it).
    std::string WebSiteAddress;
    // Called by the Close command once the window is unloaded; the program ends there.
    std::function<void()> onClose;
    // Set by the How-To command: the next selection shows no How-To box.
    bool SuppressHowToBox = false;
    // The press state of the image buttons, between the mouse events and the timer.
    bool ButtonDownPending = false;
    bool ButtonUpPending = false;
    std::int16_t PressedButton = 0;
    bool ButtonShownDown = false;

  private:
    void WireEvents();
    // A copy of the selected line of the game list, so that no reference outlives a change.
    std::optional<forms::ListItem> SelectedLine() const {
        const forms::ListItem* line = gui_.GameList().SelectedItem();
        return line ? std::optional<forms::ListItem>(*line) : std::nullopt;
    }
    std::string SelectedLineText();
    std::string RecipePath(std::string_view name) const;
    void UpdateStatus(std::int16_t index);
    // The caption PathLbl takes for the game in hand: UserLoc, else GameLoc.
    std::string LocationOfGame() const;

    LogicServices services_;
    MainWindow& gui_;
    ModalHost& modal_;
    recipes::RecipeState state_;
    recipes::RecipeReader reader_;
    optimizer::Optimizer optimizer_;
    discovery::Scanner scanner_;
    services::cEnumDisplaySettings displaySettings_;
    ConfirmDialog confirm_;
    ReportDialog report_;
};

}  // namespace optera::mainwindow
