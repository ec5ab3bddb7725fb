// The game list: one line per recipe in the colour of the game's class, its selection (which
// brings the game in, narrows the resolution list and sets the buttons), its check marks, and
// locating a game by hand.

#include "discovery/GameStatus.h"
#include "mainwindow/ExchangeSort.h"
#include "mainwindow/MainWindowLogic.h"
#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "text/Split.h"
#include "windowmodel/GameMessage.h"

namespace optera::mainwindow {

namespace {

using platform::MessageButtons;
using platform::MessageIcon;

// A path ending in a file ("C:\Games\Sample\sample.exe") shown as its folder.
std::string FolderForLabel(std::string path) {
    if (path.find('.') != std::string::npos && path.find('\\') != std::string::npos &&
        path.size() > 3)
        path.erase(path.rfind('\\'));
    return path;
}

}  // namespace

void SortRecipeNames(std::vector<std::string>& names, std::string_view suffix) {
    // Compared in upper case without the extension, in the exchange sort's order of ties.
    ExchangeSortOrder(names, [&suffix](const std::string& name) {
        std::string upper = text::ToUpper(name);
        upper.resize(upper.size() > suffix.size() ? upper.size() - suffix.size() : 0);
        return upper;
    });
}

void MainWindowLogic::FillGameList() {
    forms::Control& list = gui_.GameList();
    list.ClearItems();
    list.ClearColumnHeaders();
    list.AddColumnHeader(gui_.ShowAllGames ? "Supported Games" : "Modifiable Games");
    std::vector<std::string> names = recipes::ListMatchingFiles(
        services_.machine.files, platform::JoinPath(services_.programFolder, "MODS\\*.txt"));
    SortRecipeNames(names, ".txt");
    // One look at the registry serves the whole list, and one at each recipe serves its reads.
    platform::HeldReads heldRegistry(services_.machine.registry);
    services::HeldProfileReads heldRecipes(services_.profile);
    std::int16_t count = 0;
    for (const std::string& name : names) {
        state_.CurrentGame = reader_.ReadRecipe(name);
        if (text::ToUpper(name).find("_BLANK") != std::string::npos) continue;
        if (!gui_.ShowAllGames) {
            std::string kind =
                text::ToUpper(discovery::ListClass(services_.machine.files, state_.CurrentGame));
            if (kind == "GREY" || kind == "BLUE") continue;
        }
        list.AddItem(state_.CurrentGame.Name);
        UpdateStatus(++count);
    }
}

void MainWindowLogic::SelectGame() {
    forms::Control& list = gui_.GameList();
    if (list.ItemCount() == 0) return;
    auto line = SelectedLine();
    if (!line) return;
    const std::string lineText = line->Text;
    const auto index = static_cast<std::int16_t>(line->Index);
    const bool named = !text::TrimBlanks(lineText).empty();

    if (named && line->ForeColor == gui_.GHNTS_Color) {
        state_.CurrentGame = reader_.ReadRecipe(lineText);
        gui_.CurrentGameText = lineText;
        UpdateStatus(index);
        auto section = services_.profile.GetIniSection(RecipePath(lineText), "HOWTO");
        if (section && section->size() >= 2 && !SuppressHowToBox) {
            std::string text;
            for (const std::string& howTo : *section) {
                std::string piece = text::PieceOr(text::Split(howTo, "="), 1);
                if (piece.size() > 2) text += piece + "\r\n";
            }
            if (!text::TrimBlanks(text).empty())
                services_.prompts.ShowMessage(
                    {"How To Information", text, MessageButtons::Ok, MessageIcon::None});
        }
        SuppressHowToBox = false;
        return;
    }

    if (named) {
        std::string wanted =
            line->ForeColor == gui_.GO_Color
                ? services_.profile.GetIniStringValue(RecipePath(lineText), "GAMERES", "RES")
                : gui_.DefaultResolution;
        std::int16_t row = RestrictResolutionList(wanted);
        gui_.ResListBox().SetVisible(true);
        gui_.ResListBox().Select(row);
        ResolutionSelected();
        state_.CurrentGame = reader_.ReadRecipe(lineText);
        gui_.CurrentGameText = lineText;
        forms::Form& form = gui_.GUI();
        // Every button shows but How-To, whose place the recipe's how-to text decides below.
        for (int i : {button::Optimize, button::Restore, button::Browse, button::Search,
                      button::View, button::VisitWeb, button::Close})
            SetButtonState(form, i, button_state::Visible, true);
        SetButtonState(form, button::Browse, button_state::Enabled, false);
        SetButtonState(form, button::Search, button_state::Enabled, false);
        SetButtonState(form, button::Browse, button_state::Visible, gui_.BrowseButtonWanted);
        SetButtonState(form, button::Search, button_state::Visible, gui_.SearchButtonWanted);
        SetButtonState(form, button::View, button_state::Enabled, true);
        const auto& howTo = state_.CurrentGame.HowTo;
        SetButtonState(form, button::HowTo, button_state::Enabled,
                       !howTo.empty() && text::TrimBlanks(howTo.back()).size() > 4);
        SetButtonState(form, button::VisitWeb, button_state::Enabled, true);
        SetButtonState(form, button::Close, button_state::Enabled, true);
    }

    gui_.PathLbl().SetCaption(FolderForLabel(LocationOfGame()));
    if (gui_.BtnImageBox(button::Browse).Enabled())
        SetButtonState(gui_.GUI(), button::Optimize, button_state::Enabled, false);
    SetButtonState(gui_.GUI(), button::Restore, button_state::Enabled, false);
    UpdateStatus(index);
    if (!gui_.PathLbl().Caption().empty()) {
        LocateGame();
        return;
    }
    if (state_.CurrentGame.Undetectable)
        services_.prompts.ShowMessage({"Optera - Undetectable Game",
                                       GameMessage(11, state_.CurrentGame, lineText),
                                       MessageButtons::Ok, MessageIcon::Exclamation});
    for (int i : {button::Browse, button::Search}) {
        SetButtonState(gui_.GUI(), i, button_state::Enabled, true);
        SetButtonState(gui_.GUI(), i, button_state::Visible, true);
    }
}

void MainWindowLogic::GameDoubleClicked() {
    if (gui_.GameList().ItemCount() == 0) return;
    auto line = SelectedLine();
    if (!line) return;
    state_.CurrentGame = reader_.ReadRecipe(line->Text);
    if (!state_.CurrentGame.GameLoc.empty() || !state_.CurrentGame.UserLoc.empty()) {
        gui_.GameList().Select(line->Index);
        gui_.PathLbl().SetCaption(LocationOfGame());
        LocateGame();
        return;
    }
    if (services_.prompts.ShowMessage(
            {"Locate game executable", GameMessage(4, state_.CurrentGame, line->Text),
             MessageButtons::YesNo, MessageIcon::Question}) == platform::MessageAnswer::Yes)
        LocateGame();
}

void MainWindowLogic::GameChecked(int index) {
    forms::Control& list = gui_.GameList();
    if (!list.Item(index)) return;
    const forms::ListItem item = *list.Item(index);
    if (item.ForeColor == gui_.GND_Color && item.Checked) {
        list.SetItemChecked(index, false);
        list.Select(index);
    } else if ((item.ForeColor == gui_.GNO_Color || item.ForeColor == gui_.GHNTS_Color ||
                item.ForeColor == gui_.GO_Color) &&
               !item.Checked) {
        list.SetItemChecked(index, true);
        list.Select(index);
    } else if (item.ForeColor == gui_.GCNF_Color && !item.Checked) {
        // The user takes back a location they gave by hand.
        const std::string name = item.Text;
        list.Select(index);
        services_.profile.SetIniStringValue(RecipePath(name), "GAMEINFO", "USERLOC", "");
        state_.CurrentGame = reader_.ReadRecipe(name);
        SelectGame();
    }
}

void MainWindowLogic::LocateGame() {
    auto line = SelectedLine();
    if (!line || text::TrimBlanks(line->Text).empty()) {
        services_.prompts.ShowMessage(
            {"", "Please select a game first", MessageButtons::Ok, MessageIcon::None});
        return;
    }
    const std::string lineText = line->Text;
    const auto index = static_cast<std::int16_t>(line->Index);
    const platform::FileSystem& files = services_.machine.files;

    std::optional<std::string> location;
    if (gui_.PathLbl().Caption().empty()) {
        std::optional<std::string> chosen = services_.prompts.ChooseFile(
            "Locate " + state_.CurrentGame.GameExe, "Programs (*.exe)|*.exe");
        if (!chosen) return;
        if (!text::EndsWithNoCase(*chosen, ".exe")) {
            services_.prompts.ShowMessage({"Optera - Error Msg",
                                           GameMessage(3, state_.CurrentGame, lineText),
                                           MessageButtons::Ok, MessageIcon::Critical});
            return;
        }
        std::string exe(text::TrimBlanks(state_.CurrentGame.GameExe));
        std::string tail =
            chosen->size() > exe.size() ? chosen->substr(chosen->size() - exe.size()) : *chosen;
        if (!text::EqualsNoCase(tail, exe)) {
            services_.prompts.ShowMessage({"Optera - Error Msg",
                                           GameMessage(2, state_.CurrentGame, lineText),
                                           MessageButtons::Ok, MessageIcon::Critical});
            return;
        }
        location = *chosen;
    }

    std::optional<bool> lastExists;
    for (const recipes::CfgEntry& entry : state_.CurrentGame.CfgFiles) {
        if (entry.Path.empty() || entry.Kind != recipes::kSingle) continue;
        lastExists = platform::FileExists(files, entry.Path);
        if (!*lastExists) break;
    }
    if (lastExists && *lastExists) {
        const std::string copy = discovery::BackupPathOf(state_.CurrentGame.CfgFiles.front().Path);
        auto attributes = files.Attributes(copy);
        const bool normal = attributes && !(*attributes & platform::attr::Directory) &&
                            !(*attributes & (platform::attr::Hidden | platform::attr::System));
        SetButtonState(gui_.GUI(), button::Restore, button_state::Enabled, normal);
    } else {
        SetButtonState(gui_.GUI(), button::Optimize, button_state::Enabled, false);
        SetButtonState(gui_.GUI(), button::Restore, button_state::Enabled, false);
        if (line->Checked)
            services_.prompts.ShowMessage({"Optera info",
                                           GameMessage(3, state_.CurrentGame, lineText),
                                           MessageButtons::Ok, MessageIcon::Exclamation});
    }

    if (location) {
        services_.profile.SetIniStringValue(RecipePath(lineText), "GAMEINFO", "USERLOC", *location);
        gui_.PathLbl().SetCaption(*location);
        state_.CurrentGame = reader_.ReadRecipe(lineText);
        UpdateStatus(index);
    }
}

}  // namespace optera::mainwindow
