#include "cli/Window.h"
#include "forms/Names.h"

#include "core/StartUp.h"
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
        dialog.Find(confirmed ? "YesButton" : "NoButton")->Raise(forms::event::Click);
        return;
    }
    dialog.SetVisible(false);
}

Window::Window(Session& session)
    : session_(session),
      dialogs_(session.prompts()),
      logic_(session.core().WindowServices(), gui_, dialogs_) {}

bool Window::Start(std::string& error) {
    return core::StartMainWindow(session_.core(), logic_, error);
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
    gui_.GameList().Raise(forms::event::Click);
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
        rows.Raise(forms::event::Click);
        return true;
    }
    return false;
}

std::string Window::StatusOf(const forms::ListItem& line) {
    return discovery::StatusTextOf(gui_, line.ForeColor);
}

}  // namespace optera::cli
