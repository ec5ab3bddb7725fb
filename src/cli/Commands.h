#pragma once
// The commands of optera-cli. Each writes its result to `out`, its complaints to `err`, and
// returns the process exit code: 0 done, 1 the command failed, 2 the arguments were wrong.

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Session.h"
#include "recipes/KeywordExpansion.h"

namespace optera::cli {

// "3840x1024" (either case of x, blanks allowed around the numbers).
std::optional<recipes::SelectedResolution> ParseResolution(std::string_view text);

// The Windows path of a game's recipe, its name matched without regard to case, with or
// without ".txt"; nullopt when there is none.
std::optional<std::string> FindRecipe(Session& session, std::string_view game);

// recipes: the games that have recipes, one name a line; the blank template is left out.
int ListRecipes(Session& session, std::ostream& out);

// expand GAME --resolution WxH [SECTION...]: the recipe's modification and registry sections
// (or the ones named) with their keywords expanded for the resolution.
int ExpandRecipe(Session& session, std::string_view game, std::string_view resolution,
                 const std::vector<std::string>& sections, std::ostream& out, std::ostream& err);

// show GAME [--resolution WxH] [--json]: the game's record for this machine and resolution
// (by default the one the recipe last applied), as "Field: value" lines or as JSON.
int ShowGame(Session& session, std::string_view game, std::string_view resolution, bool json,
             std::ostream& out, std::ostream& err);

// path TEXT: the text with its %name% forms expanded on this machine, and where that is on
// the host.
int ExpandPath(Session& session, std::string_view text, std::ostream& out);

}  // namespace optera::cli
