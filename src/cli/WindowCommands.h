#pragma once
// The commands that run the main window's logic: each does what the user would do on the
// window, and prints what the window would then show. Exit codes: 0 done; 1 it ran but did not
// do what was asked; 2 bad usage.

#include <iosfwd>
#include <optional>
#include <string>

#include "cli/Window.h"

namespace optera::cli {

struct GameChoice {
    std::string game;
    std::string resolution;  // empty: what the selection picks
};

int ListGames(Window& window, std::optional<bool> all, bool json, std::ostream& out);
int SelectGameCommand(Window& window, const GameChoice& choice, bool json, std::ostream& out,
                      std::ostream& err);
int DetailsCommand(Window& window, const GameChoice& choice, std::ostream& out, std::ostream& err);
int HowToText(Window& window, const std::string& game, std::ostream& out, std::ostream& err);
int ResolutionsCommand(Window& window, const std::string& game, bool json, std::ostream& out,
                       std::ostream& err);
int OptimizeGame(Window& window, const GameChoice& choice, std::ostream& out, std::ostream& err);
int RestoreGame(Window& window, Session& session, const std::string& game, std::ostream& out,
                std::ostream& err);
int LocateGameCommand(Window& window, Session& session, const std::string& game,
                      const std::string& exe, std::ostream& out, std::ostream& err);
int UncheckGame(Window& window, const std::string& game, std::ostream& out, std::ostream& err);
int SearchGame(Window& window, const std::string& game, std::ostream& out, std::ostream& err);
int NewRecipe(Window& window, Session& session, bool openEditor, std::ostream& out);

}  // namespace optera::cli
