#pragma once
// Where Optera keeps its settings, recipes and skins (Optera.ini, MODS, SKINS): the folder given,
// else $OPTERA_HOME, else the executable's folder when it holds Optera.ini (a portable copy),
// else the per-user data folder, which a first run fills from the installed data.

#include <filesystem>
#include <string>
#include <vector>

namespace optera::core {

struct ProgramFolderChoice {
    std::filesystem::path folder;
    bool perUser = false;  // the per-user data folder, which may be seeded
};

ProgramFolderChoice ResolveProgramFolder(const std::filesystem::path& given,
                                         const std::filesystem::path& executableFolder);

// The folders that may hold the installed data, most likely first: beside an installed
// executable (<prefix>/share/optera), then the source tree the program was built from.
std::vector<std::filesystem::path> InstalledDataCandidates(
    const std::filesystem::path& executableFolder);

// Fills a per-user program folder that does not exist yet with Optera.ini, MODS and SKINS from
// the first candidate that holds Optera.ini. The copy is made beside the folder and renamed
// into place in one step, so that a stopped first run leaves no half-filled folder. True when
// the folder exists afterwards (made now, or by another Optera at the same time); false with
// the reason otherwise.
bool SeedProgramFolder(const std::filesystem::path& folder,
                       const std::vector<std::filesystem::path>& candidates, std::string& error);

}  // namespace optera::core
