#pragma once
// What one recipe means on this machine at the selected resolution, and the values the recipe
// code shares with the rest of the program.

#include <cstdint>
#include <string>
#include <vector>

#include "recipes/KeywordExpansion.h"

namespace optera::recipes {

// One configuration file of a game and the lines that change it.
struct CfgEntry {
    std::string Path;                // full path; empty when the game has no location
    std::string Kind;                // "SINGLE", "MULTIPLE" (a pattern's match) or empty
    std::vector<std::string> Lines;  // the section's lines, keywords expanded
};

inline constexpr const char* kSingle = "SINGLE";
inline constexpr const char* kMultiple = "MULTIPLE";

// Fields in the order the recipe reader fills them. The empty record (all texts empty, no
// arrays) stands for a recipe that does not exist or is the blank template.
struct GameRecord {
    bool Undetectable = false;
    bool NativeSupport = false;
    bool ForceModFilesToReadOnly = false;
    std::string Msg1;
    std::string Name;
    std::vector<CfgEntry> CfgFiles;
    std::string GameExe;
    std::string LatestPatchReq;
    std::string GameLoc;
    std::string RegKeyMustExist;
    std::vector<std::string> Registry;
    std::string ShortcutIcon;
    std::string ShortcutName;
    std::string ShortcutParameters;
    std::string ShortcutStartIn;
    std::string UserLoc;
    std::vector<std::string> HowTo;
};

// The state the recipe code shares with the optimizer and the main window.
// Whether a section's lines hold something: a first and a last line that are not empty (a
// missing or empty section reads as one empty line).
inline bool HasLines(const std::vector<std::string>& lines) {
    return !lines.empty() && !lines.front().empty() && !lines.back().empty();
}

struct RecipeState {
    GameRecord CurrentGame;         // the game in hand; callers replace it whole
    std::int16_t RegistryView = 0;  // non-zero: the 64-bit view of the registry
    SelectedResolution Selected;    // what keywords are expanded for
};

}  // namespace optera::recipes
