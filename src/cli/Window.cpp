#include "cli/Window.h"

#include "discovery/GameStatus.h"
#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "text/Number.h"
#include "text/Split.h"

namespace optera::cli {

void ConsoleDialogs::ShowModal(forms::Form& dialog) {
    if (dialog.Name() == "Confirm") {
        std::string text = dialog.Find("Label1")->Caption();
        if (std::string note = dialog.Find("Label2", 1)->Caption(); !note.empty())
            text += "\r\n\r\n" + note;
        confirmed =
            prompts_.ShowMessage({dialog.Caption(), text, platform::MessageButtons::YesNo,
                                  platform::MessageIcon::Question}) == platform::MessageAnswer::Yes;
        dialog.Find(confirmed ? "YesButton" : "NoButton")->Raise("Click");
        return;
    }
    dialog.SetVisible(false);
}

Window::Window(Session& session)
    : session_(session),
      dialogs_(session.prompts()),
      regFiles_(session.wine().registry(), session.wine().files()),
      logic_({session.machine(), session.profile(), session.registry(), session.prompts(),
              regFiles_, session.programFolder()},
             gui_, dialogs_) {}

bool Window::Start(std::string& error) {
    services::cPrivateProfile& profile = session_.profile();
    const std::string ini = logic_.OpteraIni();
    const std::string skin = profile.GetIniStringValue(ini, "SETUP", "Skin");
    const std::string skinIni =
        platform::JoinPath(session_.programFolder(), "SKINS\\" + skin + "\\skin.ini");
    if (skin.empty() || !platform::FileExists(session_.machine().files, skinIni)) {
        error = "there is no skin: " + session_.HostPathOf(skinIni) +
                " is missing (Optera.ini names the skin in [SETUP] Skin=)";
        return false;
    }
    auto number = [&](const char* key) {
        std::string value = profile.GetIniStringValue(skinIni, "GAMEDETECTIONCOLOURS", key);
        return static_cast<forms::Colour>(
            text::RoundToInt32(text::LeadingNumber(value)).value_or(0));
    };
    gui_.GO_Color = number("GO_Color");
    gui_.GCNF_Color = number("GCNF_Color");
    gui_.GNO_Color = number("GNO_Color");
    gui_.GND_Color = number("GND_Color");
    gui_.GHNTS_Color = number("GHNTS_Color");
    gui_.ShowAllGames =
        text::EqualsNoCase(profile.GetIniStringValue(ini, "SETUP", "ShowAllGames"), "True");
    gui_.NativeMessages.clear();
    for (const std::string& line :
         profile.GetIniSection(ini, "NATIVEMSG").value_or(std::vector<std::string>{""})) {
        std::vector<std::string> pieces = text::Split(line, "=");
        gui_.NativeMessages.push_back(pieces.size() > 1 ? pieces[1] : line);
    }
    logic_.WebSiteAddress = profile.GetIniStringValue(ini, "SETUP", "KelvanOpteraWebSite");
    logic_.BuildResolutionList();
    logic_.FillGameList();
    return true;
}

int Window::LineOf(std::string_view game) {
    std::string_view wanted = game;
    if (text::EndsWithNoCase(wanted, ".txt")) wanted.remove_suffix(4);
    forms::Control& list = gui_.GameList();
    for (int i = 1; i <= list.ItemCount(); ++i)
        if (text::EqualsNoCase(list.Item(i)->Text, wanted)) return i;
    return 0;
}

void Window::Select(int line) {
    gui_.GameList().Select(line);
    gui_.GameList().Raise("Click");
}

void Window::Activate() {
    const forms::ListItem* line = gui_.GameList().SelectedItem();
    if (!line) return;
    recipes::GameRecord& game = logic_.state().CurrentGame;
    game = logic_.reader().ReadRecipe(line->Text);
    gui_.PathLbl().SetCaption(game.UserLoc.empty() ? game.GameLoc : game.UserLoc);
    logic_.SelectGame();
}

bool Window::SelectResolution(std::string_view resolution) {
    forms::Control& rows = gui_.ResListBox();
    for (int i = 1; i <= rows.ItemCount(); ++i) {
        if (!text::EqualsNoCase(rows.Item(i)->Text, resolution)) continue;
        rows.Select(i);
        rows.Raise("Click");
        return true;
    }
    return false;
}

std::string Window::StatusOf(const forms::ListItem& line) {
    return discovery::StatusTextOf(gui_, line.ForeColor);
}

}  // namespace optera::cli
