#include "mainwindow/MainWindowLogic.h"
#include "forms/Names.h"

#include "discovery/GameStatus.h"
#include "platform/WindowsPath.h"
#include "recipes/BlankRecipe.h"
#include "text/Split.h"

namespace optera::mainwindow {

MainWindowLogic::MainWindowLogic(LogicServices services, MainWindow& gui, ModalHost& modal)
    : services_(std::move(services)),
      gui_(gui),
      modal_(modal),
      reader_({services_.machine, services_.profile, services_.registry, services_.programFolder},
              state_),
      optimizer_({services_.machine, services_.profile, services_.registry, services_.prompts,
                  services_.regFiles, services_.programFolder},
                 state_, gui_),
      scanner_(services_.machine.files, services_.prompts),
      displaySettings_(services_.machine.display) {
    optimizer_.SelectGame = [this] { SelectGame(); };
    WireEvents();
}

void MainWindowLogic::WireEvents() {
    using forms::Control;
    using forms::EventArgs;
    Control& games = gui_.GameList();
    games.On(forms::event::Click, [this](Control&, EventArgs&) { SelectGame(); });
    games.On(forms::event::DblClick, [this](Control&, EventArgs&) { GameDoubleClicked(); });
    games.On(forms::event::KeyUp, [this](Control&, EventArgs& args) {
        if (args.keyCode == forms::key::Up || args.keyCode == forms::key::Down) SelectGame();
    });
    // The tip is there to be read once: the first press takes it away.
    games.On(forms::event::MouseDown, [](Control& list, EventArgs&) {
        list.Set(forms::property::ToolTipText, std::string());
    });
    games.On(forms::event::MouseUp, [this](Control&, EventArgs& args) {
        if (args.button != forms::kRightButton) return;
        gui_.ShowAllGames = !gui_.ShowAllGames;
        FillGameList();
    });
    games.On(forms::event::ItemCheck,
             [this](Control&, EventArgs& args) { GameChecked(args.line); });
    gui_.ResListBox().On(forms::event::Click,
                         [this](Control&, EventArgs&) { ResolutionSelected(); });

    for (int i = 0; i < button::Count; ++i) {
        for (Control* part : {&gui_.BtnImageBox(i), &gui_.BtnLabel(i)}) {
            // A disabled button gets no mouse events.
            part->On(forms::event::MouseDown, [this, i](Control& sender, EventArgs&) {
                if (!sender.Enabled()) return;
                ButtonDownPending = true;
                PressedButton = static_cast<std::int16_t>(i);
            });
            part->On(forms::event::MouseUp, [this](Control& sender, EventArgs&) {
                if (sender.Enabled()) ButtonUpPending = true;
            });
        }
    }
    gui_.Timer1().On(forms::event::Timer, [this](Control&, EventArgs&) { TimerTick(); });

    auto hide = [](forms::Form& form) { form.SetVisible(false); };
    confirm_.YesButton().On(forms::event::Click, [this, hide](Control&, EventArgs&) {
        optimizer_.ProceedFlag = true;
        hide(confirm_.Form());
    });
    confirm_.NoButton().On(forms::event::Click, [this, hide](Control&, EventArgs&) {
        optimizer_.ProceedFlag = false;
        hide(confirm_.Form());
    });
    confirm_.DetailButton().On(forms::event::Click,
                               [this](Control&, EventArgs&) { ShowReport("Modify"); });
}

std::string MainWindowLogic::OpteraIni() const {
    return platform::JoinPath(services_.programFolder, "Optera.ini");
}

std::string MainWindowLogic::SelectedLineText() {
    auto line = SelectedLine();
    return line ? line->Text : std::string();
}

std::string MainWindowLogic::RecipePath(std::string_view name) const {
    return reader_.RecipePathOf(name);
}

void MainWindowLogic::UpdateStatus(std::int16_t index) {
    discovery::UpdateGameStatus(gui_, services_.machine.files, state_.CurrentGame, index);
}

std::string MainWindowLogic::LocationOfGame() const {
    const recipes::GameRecord& game = state_.CurrentGame;
    return game.UserLoc.empty() ? game.GameLoc : game.UserLoc;
}

bool MainWindowLogic::ShellOpen(std::string_view path) {
    return services_.machine.shell.Open(path);
}

void MainWindowLogic::OpenInTextEditor(std::string_view path) {
    if (ShellOpen(path)) return;
    const std::string windir = services_.machine.environment.Get("windir");
    services_.machine.shell.Start(windir + "\\system32\\notepad.exe", path);
}

std::string MainWindowLogic::RewriteBlankRecipe() {
    platform::FileSystem& files = services_.machine.files;
    const std::string path = platform::JoinPath(services_.programFolder, "MODS\\_BLANK.txt");
    // The template is never kept: it is written anew with the resolutions of now. Removal
    // takes it whatever its read-only mark.
    files.Remove(path);
    recipes::WriteBlankRecipe(files, path, gui_.DefaultResolution, gui_.Resolutions);
    return path;
}

void MainWindowLogic::NewBlankRecipe() {
    OpenInTextEditor("\"" + RewriteBlankRecipe() + "\"");
    FillGameList();
    gui_.GameList().Select(1);
    if (const forms::ListItem* first = gui_.GameList().Item(1))
        state_.CurrentGame = reader_.ReadRecipe(first->Text);
    gui_.PathLbl().SetCaption(LocationOfGame());
}

}  // namespace optera::mainwindow
