#include "recipes/Location.h"

#include <set>
#include <utility>

#include "paths/PathExpansion.h"
#include "text/NoCase.h"
#include "text/Split.h"
#include "text/Wildcard.h"

namespace optera::recipes {

namespace {

using platform::DirEntry;
using platform::FileSystem;

constexpr std::string_view kHklmShorthand = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft";

bool IsFolder(const DirEntry& entry) {
    return (entry.attributes & platform::attr::Directory) != 0;
}

bool HasWildcards(std::string_view name) {
    return name.find_first_of("*?") != std::string_view::npos;
}

// A directory search for files only: any attribute but the folder bit, hidden ones included.
// An empty name searches the whole folder, as a search for "folder\" does.
bool MatchesFile(const DirEntry& entry, std::string_view leaf) {
    return !IsFolder(entry) && (leaf.empty() || text::MatchesWildcard(entry.name, leaf));
}

// A path split after its last backslash.
struct SplitPath {
    std::string_view folder;  // with its trailing backslash; empty when there is none
    std::string_view leaf;
};

SplitPath SplitAtLastBackslash(std::string_view path) {
    std::size_t cut = path.rfind('\\');
    if (cut == std::string_view::npos) return {{}, path};
    return {path.substr(0, cut + 1), path.substr(cut + 1)};
}

// Whether a directory search for the path finds a file.
bool AnyFileMatches(const FileSystem& files, std::string_view path) {
    SplitPath split = SplitAtLastBackslash(path);
    if (!split.leaf.empty() && !HasWildcards(split.leaf)) return platform::FileExists(files, path);
    // Only the folder bit counts here, which the quicker listing gives for every entry.
    auto entries = files.ListForSearch(split.folder);
    if (!entries) return false;
    for (const DirEntry& entry : *entries)
        if (MatchesFile(entry, split.leaf)) return true;
    return false;
}

using FolderIds = std::set<std::pair<std::uint64_t, std::uint64_t>>;

// Notes a folder as entered; false when it was entered before, through a link to it (a link to
// "." or to a folder above would otherwise make the walk endless). A folder whose identity the
// platform cannot tell counts as new.
bool FirstEntry(FolderIds& entered, const DirEntry& entry) {
    if (entry.device == 0 && entry.fileNumber == 0) return true;
    return entered.insert({entry.device, entry.fileNumber}).second;
}

// Looks for the leaf in the subfolders of `folder` (whose entries are given), depth first in
// directory order: each subfolder's own files are tested before its subfolders are entered.
// Every folder is listed once. On a hit `found` is the folder that holds the match.
bool SearchSubfolders(const FileSystem& files, const std::string& folder,
                      const std::vector<DirEntry>& entries, std::string_view leaf,
                      FolderIds& entered, std::string& found) {
    for (const DirEntry& entry : entries) {
        if (!IsFolder(entry) || !FirstEntry(entered, entry)) continue;
        std::string subfolder = folder + entry.name + '\\';
        auto subEntries = files.List(subfolder);
        if (!subEntries) continue;
        for (const DirEntry& candidate : *subEntries) {
            if (MatchesFile(candidate, leaf)) {
                found = std::move(subfolder);
                return true;
            }
        }
        if (SearchSubfolders(files, subfolder, *subEntries, leaf, entered, found)) return true;
    }
    return false;
}

// A location that names a file rather than a folder: a three-letter extension at its end, or
// an executable or library anywhere in it (a whole command line, say).
bool LooksLikeFile(std::string_view location) {
    std::size_t dot = location.rfind('.');
    bool threeLetterEnd = dot != std::string_view::npos && dot + 4 == location.size();
    return threeLetterEnd || text::ContainsNoCase(location, ".exe") ||
           text::ContainsNoCase(location, ".dll");
}

// The text in front of the last backslash, without it; the text itself when it has none.
std::string FolderWithoutBackslash(std::string_view path) {
    std::size_t cut = path.rfind('\\');
    return std::string(cut == std::string_view::npos ? path : path.substr(0, cut));
}

// Whether REGKEYMUSTEXIST names an existing key, or an existing value with its key.
bool RequiredKeyExists(services::cRegistry& registry, std::int16_t registryView,
                       std::string_view required) {
    std::string_view key, valueName;
    std::size_t cut = required.rfind('\\');
    if (cut != std::string_view::npos) {
        key = required.substr(0, cut);
        valueName = required.substr(cut + 1);
    }
    bool keyExists = registry.KeyExist(required, registryView).AsBool();
    bool valueExists = registry.KeyValueExist(key, valueName, registryView).AsBool();
    return keyExists || valueExists;
}

}  // namespace

std::string StripQuotes(std::string_view textIn) {
    std::string s;
    s.reserve(textIn.size());
    for (char c : textIn)
        if (c != '"') s += c;
    return s;
}

std::string NormalizeFolder(const FileSystem& files, std::string_view pathIn,
                            std::string_view exeName) {
    if (pathIn.empty()) return {};
    std::string path(pathIn);
    if (!exeName.empty()) {
        std::size_t at = text::FindNoCase(path, exeName);
        if (at != text::npos) path.resize(at);
    }
    if (path.find('.') != std::string::npos && AnyFileMatches(files, path)) {
        std::size_t cut = path.rfind('\\');
        path.resize(cut == std::string::npos ? 0 : cut + 1);
    }
    if (!path.ends_with('\\')) path += '\\';
    return path;
}

bool LocateFile(const FileSystem& files, std::string& path) {
    if (AnyFileMatches(files, path)) return true;
    SplitPath split = SplitAtLastBackslash(path);
    if (split.folder.find(':') == std::string_view::npos) return false;
    std::string folder(split.folder);
    auto entries = files.List(folder);
    if (!entries) return false;
    FolderIds entered;
    if (auto self = files.FileIdentity(folder)) entered.insert(*self);
    std::string found;
    if (!SearchSubfolders(files, folder, *entries, split.leaf, entered, found)) return false;
    path = found + std::string(split.leaf);
    return true;
}

std::string ReadGameLoc(services::cRegistry& registry, std::int16_t& registryView,
                        std::string_view value) {
    std::string location(value);
    if (text::ToUpper(location.substr(0, 4)) == "HKLM")
        location = std::string(kHklmShorthand) + location.substr(4);
    std::size_t cut = location.rfind('\\');
    if (cut == std::string::npos) return {};
    std::string key = location.substr(0, cut);
    std::string valueName = location.substr(cut + 1);

    std::string read;
    if (registryView != 0) {
        registryView = 1;
        read = registry.GetStringValue(key, valueName, 1).AsText();
        if (read == "Error") {
            read = registry.GetStringValue(key, valueName, 0).AsText();
            if (read == "Error") registryView = 0;
        }
    } else {
        read = registry.GetStringValue(key, valueName, 1).AsText();
    }
    std::string folder = StripQuotes(read);
    return folder == "Error" ? std::string() : folder;
}

std::string ReadUserLoc(const FileSystem& files, std::string_view value) {
    std::string_view trimmed = text::TrimBlanks(value);
    return platform::FileExists(files, trimmed) ? std::string(trimmed) : std::string();
}

void ResolveLocation(const FileSystem& files, services::cRegistry& registry,
                     std::int16_t registryView, GameRecord& record, std::string_view fallbackExe) {
    std::string& gameLoc = record.GameLoc;
    if (LooksLikeFile(gameLoc) && gameLoc.find('\\') != std::string::npos)
        gameLoc = FolderWithoutBackslash(gameLoc);

    std::string_view exeName = record.GameExe.empty() ? fallbackExe : record.GameExe;
    gameLoc = NormalizeFolder(files, gameLoc.empty() ? record.UserLoc : gameLoc, exeName);

    std::string exePath = discovery::CombinePath(gameLoc, record.GameExe);
    std::string iconPath = discovery::CombinePath(gameLoc, record.ShortcutIcon);
    if (gameLoc.empty()) return;

    if (!LocateFile(files, exePath)) {
        gameLoc.clear();
        return;
    }
    // The folder that really holds the executable, which may lie below the one named.
    std::string exeFolder = FolderWithoutBackslash(exePath);
    if (!exeFolder.empty() && exeFolder != gameLoc) gameLoc = exeFolder;

    if (!record.ShortcutIcon.empty()) {
        if (LocateFile(files, iconPath))
            record.ShortcutIcon = iconPath;
        else
            gameLoc.clear();
    }
    if (!record.RegKeyMustExist.empty() &&
        !RequiredKeyExists(registry, registryView, record.RegKeyMustExist))
        gameLoc.clear();
}

}  // namespace optera::recipes
