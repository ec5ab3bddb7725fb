#include "core/ProgramFolder.h"

#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace optera::core {

namespace fs = std::filesystem;

namespace {

fs::path FromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? fs::path(value) : fs::path();
}

// What a program folder is made of; the installed data also holds the demo prefix, which is
// not the user's.
constexpr const char* kSeeded[] = {"Optera.ini", "MODS", "SKINS"};

}  // namespace

ProgramFolderChoice ResolveProgramFolder(const fs::path& given, const fs::path& executableFolder) {
    if (!given.empty()) return {given, false};
    if (fs::path home = FromEnvironment("OPTERA_HOME"); !home.empty()) return {home, false};
    std::error_code ignored;
    if (!executableFolder.empty() && fs::exists(executableFolder / "Optera.ini", ignored))
        return {executableFolder, false};
    if (fs::path data = FromEnvironment("XDG_DATA_HOME"); !data.empty())
        return {data / "optera", true};
    return {FromEnvironment("HOME") / ".local" / "share" / "optera", true};
}

std::vector<fs::path> InstalledDataCandidates(const fs::path& executableFolder) {
    std::vector<fs::path> candidates;
    if (!executableFolder.empty())
        candidates.push_back(executableFolder.parent_path() / "share" / "optera");
#ifdef OPTERA_SOURCE_DATA_DIR
    candidates.emplace_back(OPTERA_SOURCE_DATA_DIR);
#endif
    return candidates;
}

bool SeedProgramFolder(const fs::path& folder, const std::vector<fs::path>& candidates,
                       std::string& error) {
    std::error_code ec;
    if (fs::is_directory(folder, ec)) return true;
    const fs::path* source = nullptr;
    for (const fs::path& candidate : candidates)
        if (fs::is_regular_file(candidate / "Optera.ini", ec)) {
            source = &candidate;
            break;
        }
    if (!source) {
        error = "the program folder " + folder.string() +
                " does not exist, and no installed data was found to make it from";
        return false;
    }
    fs::create_directories(folder.parent_path(), ec);
    const fs::path temporary =
        folder.parent_path() / (folder.filename().string() + ".optera-new-" +
                                std::to_string(static_cast<long>(::getpid())));
    fs::remove_all(temporary, ec);
    bool copied = fs::create_directory(temporary, ec);
    for (const char* part : kSeeded) {
        if (!copied) break;
        if (!fs::exists(*source / part, ec)) continue;
        fs::copy(*source / part, temporary / part, fs::copy_options::recursive, ec);
        copied = !ec;
    }
    if (copied) {
        fs::rename(temporary, folder, ec);
        copied = !ec;
    }
    if (!copied) {
        const std::string why = ec.message();
        fs::remove_all(temporary, ec);
        // Another Optera starting at the same moment may have made it first.
        if (fs::is_directory(folder, ec)) return true;
        error = "the program folder " + folder.string() + " could not be made: " + why;
        return false;
    }
    return true;
}

}  // namespace optera::core
