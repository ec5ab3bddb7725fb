#pragma once
// The main window without a view, for the command line: the same model and logic the window
// program runs, started as the window starts (skin colours, settings, resolution list, game
// list), with the dialogs answered through the console's prompts.

#include <memory>
#include <optional>
#include <string>

#include "cli/Session.h"
#include "mainwindow/MainWindowLogic.h"

namespace optera::cli {

// Confirm is asked as a question (its caption and introduction); the report window closes
// once it has been filled.
class ConsoleDialogs : public mainwindow::ModalHost {
  public:
    explicit ConsoleDialogs(platform::Prompts& prompts) : prompts_(prompts) {}
    void ShowModal(forms::Form& dialog) override;
    // Whether the last confirmation was answered Yes.
    bool confirmed = false;

  private:
    platform::Prompts& prompts_;
};

class Window {
  public:
    explicit Window(Session& session);

    // Loads the skin's game-state colours and the settings, then fills both lists. False, with
    // the reason, when there is no skin.
    bool Start(std::string& error);

    mainwindow::MainWindow& gui() { return gui_; }
    mainwindow::MainWindowLogic& logic() { return logic_; }
    ConsoleDialogs& dialogs() { return dialogs_; }

    // The line of a game (name without regard to case, with or without ".txt"); 0 for none.
    int LineOf(std::string_view game);
    // A click on the game's line.
    void Select(int line);
    // What the window does when it becomes active again (after the search window or a dialog):
    // reads the selected game's recipe afresh and brings every control in line with it.
    void Activate();
    // A click on the resolution row; false when the row is not offered.
    bool SelectResolution(std::string_view resolution);
    // The class text the status label shows for a line, from the line's colour.
    std::string StatusOf(const forms::ListItem& line);

  private:
    Session& session_;
    mainwindow::MainWindow gui_;
    ConsoleDialogs dialogs_;
    mainwindow::MainWindowLogic logic_;
};

}  // namespace optera::cli
