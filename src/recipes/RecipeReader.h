#pragma once
// Turns one recipe file into one GameRecord for this machine and the selected resolution: it
// asks the registry and the disk where the game is, finds the files the recipe means here, and
// expands the resolution keywords in every line. Runs afresh at every need; nothing is kept
// between reads but what the recipe file holds.

#include <string>
#include <string_view>
#include <vector>

#include "platform/Machine.h"
#include "recipes/GameRecord.h"
#include "services/cPrivateProfile.h"
#include "services/cRegistry.h"

namespace optera::recipes {

// What the recipe code reads from: the machine, the one profile and registry service, and the
// program's folder (a Windows path) that holds MODS.
struct RecipeServices {
    platform::Machine machine;  // a bundle of references, held by value
    services::cPrivateProfile& profile;
    services::cRegistry& registry;
    std::string programFolder;
};

class RecipeReader {
  public:
    RecipeReader(RecipeServices services, RecipeState& state)
        : services_(std::move(services)), state_(state) {}

    // The record of a game, named with or without ".txt". The empty record for the blank
    // template (a name holding "_BLANK") and for a recipe that does not exist. Leaves
    // CurrentGame alone; RegistryView keeps the view the location was found in.
    GameRecord ReadRecipe(std::string_view name);

    // <program folder>\MODS\<name>, with ".txt" added unless the name holds it.
    std::string RecipePathOf(std::string_view name) const;

    // NormalizeFolder with the game in hand's executable standing in for an empty name.
    std::string NormalizeFolder(std::string_view path, std::string_view exeName) const;

  private:
    void ReadGameInfo(const std::string& recipePath, GameRecord& record);
    std::vector<CfgEntry> ReadCfgEntries(const std::string& recipePath, const GameRecord& record);
    // The section's lines with keywords expanded; one empty line when it cannot be read.
    std::vector<std::string> ExpandedSection(const std::string& recipePath,
                                             std::string_view section);

    RecipeServices services_;
    RecipeState& state_;
};

// The lines whose text behind the first "=" (up to a second one) is not empty, in order; one
// empty line when there is none.
std::vector<std::string> KeepLinesWithValue(const std::vector<std::string>& lines);

// The names of the files a directory search for the pattern finds, in directory order. Hidden
// and system files and folders are left out. Empty when nothing matches.
std::vector<std::string> ListMatchingFiles(const platform::FileSystem& files,
                                           std::string_view pattern);

}  // namespace optera::recipes
