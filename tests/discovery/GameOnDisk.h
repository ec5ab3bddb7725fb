#pragma once
// Game records for the status tests: a game at C:\Game with configuration files named briefly.

#include <initializer_list>
#include <string>

#include "recipes/GameRecord.h"

namespace optera::testing {

// Each path is a "SINGLE" file in C:\Game, unless it starts with "*" (a pattern's match) or is
// "" (the empty entry of a game without configuration files).
inline recipes::GameRecord GameOnDisk(std::initializer_list<std::string> paths, bool native = false,
                                      bool located = true) {
    recipes::GameRecord game;
    game.GameLoc = located ? "C:\\Game" : "";
    game.NativeSupport = native;
    for (const std::string& path : paths) {
        if (path.empty())
            game.CfgFiles.push_back({"", "", {""}});
        else if (path[0] == '*')
            game.CfgFiles.push_back({"C:\\Game\\" + path.substr(1), "MULTIPLE", {"1=x"}});
        else
            game.CfgFiles.push_back({"C:\\Game\\" + path, "SINGLE", {"1=x"}});
    }
    return game;
}

}  // namespace optera::testing
