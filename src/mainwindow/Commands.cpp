// The eight commands of the main window and the press logic of its image buttons: a press and a
// release only note what happened; Timer1 shows the pressed look and runs the command at the
// release.

#include "discovery/GameStatus.h"
#include "forms/Names.h"
#include "mainwindow/MainWindowLogic.h"
#include "recipes/KeywordExpansion.h"
#include "windowmodel/GameMessage.h"

namespace optera::mainwindow {

namespace {

using platform::MessageButtons;
using platform::MessageIcon;

bool HoldsMarker(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        if (line == recipes::kMissingEntryMarker) return true;
    return false;
}

}  // namespace

std::string FindMissingEntry(const recipes::GameRecord& record) {
    const std::string marker(recipes::kMissingEntryMarker);
    if (record.ShortcutParameters.find(marker) != std::string::npos) return marker;
    for (const recipes::CfgEntry& entry : record.CfgFiles)
        if (recipes::HasLines(entry.Lines) && HoldsMarker(entry.Lines)) return marker;
    if (recipes::HasLines(record.Registry) && HoldsMarker(record.Registry)) return marker;
    return "";
}

void MainWindowLogic::TimerTick() {
    const SkinButtonRecord& b =
        gui_.SkinButtons.at(static_cast<std::size_t>(PressedButton) % button::Count);
    forms::Control& caption = gui_.BtnLabel(PressedButton);
    forms::Control& image = gui_.BtnImageBox(PressedButton);
    if (ButtonUpPending) {
        caption.SetForeColor(static_cast<forms::Colour>(b.FontUpColor));
        caption.Set(forms::property::Left, static_cast<double>(b.Left + b.CaptionOffsetX));
        caption.Set(forms::property::Top, static_cast<double>(b.Top + b.CaptionOffsetY));
        image.Set(forms::property::Picture, b.PictureUp);
        ButtonUpPending = false;
        ButtonShownDown = false;
        RunCommand(PressedButton);
    }
    if (ButtonDownPending) {
        if (!ButtonShownDown) {
            caption.SetForeColor(static_cast<forms::Colour>(b.FontDnColor));
            caption.Set(forms::property::Left, static_cast<double>(b.Left + b.CaptionOffsetX + 10));
            caption.Set(forms::property::Top, static_cast<double>(b.Top + b.CaptionOffsetY + 10));
            image.Set(forms::property::Picture, b.PictureDn);
        }
        ButtonShownDown = true;
        ButtonDownPending = false;
    }
}

void MainWindowLogic::RunCommand(int index) {
    switch (index) {
        case button::Optimize:
            OptimizeCommand();
            break;
        case button::Restore:
            RestoreCommand();
            break;
        case button::Browse:
            LocateGame();
            break;
        case button::Search:
            SearchCommand();
            break;
        case button::View:
            ViewCommand();
            break;
        case button::HowTo:
            HowToCommand();
            break;
        case button::VisitWeb:
            VisitWebCommand();
            break;
        case button::Close:
            CloseCommand();
            break;
        default:
            break;
    }
}

void MainWindowLogic::OptimizeCommand() {
    const recipes::GameRecord& game = state_.CurrentGame;
    if (!FindMissingEntry(game).empty()) {
        services_.prompts.ShowMessage(
            {"Optera - Missing Entry",
             "The \"" + game.Name + ".txt\" file\r\nis missing a " +
                 std::to_string(state_.Selected.SelectedWidth) + "x" +
                 std::to_string(state_.Selected.SelectedHeight) +
                 " resolution dependent\r\nvalue and cannot be optimized for this\r\nresolution "
                 "at this time.",
             MessageButtons::Ok, MessageIcon::Critical});
        return;
    }
    // Before the user is asked anything: a registry that cannot be written now stops here.
    if (!optimizer_.CheckRegistryWritable()) return;
    PrepareConfirm(confirm_, game, gui_.GUI().Left(), gui_.GUI().Top());
    confirm_.Form().SetCaption(
        ConfirmCaption(state_.Selected.SelectedWidth, state_.Selected.SelectedHeight));
    confirm_.Form().SetVisible(true);
    modal_.ShowModal(confirm_.Form());
    if (optimizer_.ProceedFlag) {
        if (auto hold = HoldForChanges())
            optimizer_.OptimizeAndLockButtons();
        else
            optimizer_.ProceedFlag = false;
    }
    SelectGame();
}

void MainWindowLogic::RestoreCommand() {
    // Taken before the restore's question, so that what the user agrees to is what is undone:
    // no other Optera changes the game between the answer and the last write.
    if (auto hold = HoldForChanges()) optimizer_.RestoreOriginals();
}

std::optional<platform::ChangeHold> MainWindowLogic::HoldForChanges() {
    platform::ChangeHold hold(services_.machine.changeLock);
    if (hold.held()) return hold;
    services_.prompts.ShowMessage(
        {"", hold.failure(), MessageButtons::Ok, MessageIcon::Exclamation});
    return std::nullopt;
}

void MainWindowLogic::SearchCommand() {
    forms::Form& form = scanner_.Form();
    form.Set(forms::property::Left, gui_.GUI().Left() + 300);
    form.Set(forms::property::Top, gui_.GUI().Top() + 1500);
    form.SetCaption("Looking for " + SelectedLineText());
    form.Find("Label1")->SetCaption("Searching for: " + state_.CurrentGame.GameExe);
    form.SetVisible(true);
    std::string found = scanner_.StartScan(state_.CurrentGame.GameExe);
    form.SetVisible(false);
    if (!found.empty()) {
        gui_.PathLbl().SetCaption(found);
        services_.profile.SetIniStringValue(RecipePath(SelectedLineText()), "GAMEINFO", "USERLOC",
                                            found);
        if (auto line = SelectedLine()) UpdateStatus(static_cast<std::int16_t>(line->Index));
        SetButtonState(gui_.GUI(), button::Search, button_state::Enabled, false);
        return;
    }
    services_.prompts.ShowMessage({"Not Found",
                                   GameMessage(5, state_.CurrentGame, SelectedLineText()),
                                   MessageButtons::Ok, MessageIcon::None});
    SetButtonState(gui_.GUI(), button::Search, button_state::Enabled, true);
    SetButtonState(gui_.GUI(), button::Search, button_state::Visible, true);
}

void MainWindowLogic::ViewCommand() {
    if (gui_.GameList().ItemCount() == 0) return;
    platform::FileSystem& files = services_.machine.files;
    const std::string path = RecipePath(state_.CurrentGame.Name);
    if (auto attributes = files.Attributes(path);
        attributes && (*attributes & platform::attr::ReadOnly))
        files.SetAttributes(path, *attributes & ~platform::attr::ReadOnly);
    OpenInTextEditor("\"" + path + "\"");
    state_.CurrentGame = reader_.ReadRecipe(state_.CurrentGame.Name);
    if (auto line = SelectedLine()) UpdateStatus(static_cast<std::int16_t>(line->Index));
}

void MainWindowLogic::HowToCommand() {
    auto line = SelectedLine();
    const bool native = line && line->ForeColor == gui_.GHNTS_Color;
    SuppressHowToBox = true;
    ShowReport(native ? "Native" : "HowTo");
}

void MainWindowLogic::VisitWebCommand() {
    if (!services_.machine.shell.Open(WebSiteAddress))
        services_.prompts.ShowMessage(
            {"URL Failed", "Web Page not Opened", MessageButtons::Ok, MessageIcon::Exclamation});
}

void MainWindowLogic::CloseCommand() {
    gui_.GUI().SetVisible(false);
    if (onClose) onClose();
}

void MainWindowLogic::ShowReport(std::string_view mode) {
    report_.Load(mode, state_.CurrentGame, gui_.NativeMessages);
    report_.Form().SetVisible(true);
    modal_.ShowModal(report_.Form());
}

}  // namespace optera::mainwindow
