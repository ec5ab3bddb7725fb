#include "recipes/RecipeReader.h"

#include "paths/PathExpansion.h"
#include "platform/WindowsPath.h"
#include "recipes/KeywordExpansion.h"
#include "recipes/Location.h"
#include "text/NoCase.h"
#include "text/Split.h"
#include "text/Wildcard.h"

namespace optera::recipes {

namespace {

constexpr std::string_view kTxt = ".txt";

// A slot of the entry list before anything filled it, and the entry of a game without a place.
CfgEntry EmptyEntry() {
    return CfgEntry{{}, {}, {""}};
}

std::vector<std::string> LinesOr(std::optional<std::vector<std::string>> lines) {
    return lines ? std::move(*lines) : std::vector<std::string>{""};
}

// Which GAMEINFO keys stood with nothing behind their "=".
struct BlankLocations {
    bool gameLoc = false;
    bool userLoc = false;
};

}  // namespace

std::string RecipeReader::RecipePathOf(std::string_view name) const {
    std::string path = platform::JoinPath(services_.programFolder, "MODS");
    path += '\\';
    path += name;
    if (!text::ContainsNoCase(name, kTxt)) path += kTxt;
    return path;
}

std::string RecipeReader::NormalizeFolder(std::string_view path, std::string_view exeName) const {
    if (exeName.empty()) exeName = state_.CurrentGame.GameExe;
    return recipes::NormalizeFolder(services_.machine.files, path, exeName);
}

GameRecord RecipeReader::ReadRecipe(std::string_view name) {
    state_.RegistryView = services_.registry.Is64Bit() ? 1 : 0;
    std::string recipePath = RecipePathOf(name);
    GameRecord record;
    if (text::ContainsNoCase(name, "_BLANK") ||
        !platform::FileExists(services_.machine.files, recipePath))
        return record;

    if (auto howTo = services_.profile.GetIniSection(recipePath, "HOWTO")) record.HowTo = *howTo;
    ReadGameInfo(recipePath, record);
    ResolveLocation(services_.machine.files, services_.registry, state_.RegistryView, record,
                    state_.CurrentGame.GameExe);
    if (auto registry = services_.profile.GetIniSection(recipePath, "REGISTRY")) {
        record.Registry = std::move(*registry);
        KeywordExpander(services_.profile, state_.Selected)
            .ExpandLines(record.Registry, recipePath);
    }
    record.CfgFiles = ReadCfgEntries(recipePath, record);
    record.Name = std::string(name.substr(0, text::FindNoCase(name, kTxt)));
    return record;
}

void RecipeReader::ReadGameInfo(const std::string& recipePath, GameRecord& record) {
    record.NativeSupport = false;
    record.ForceModFilesToReadOnly = false;
    auto lines = services_.profile.GetIniSection(recipePath, "GAMEINFO");
    if (!lines) return;

    KeywordExpander expander(services_.profile, state_.Selected);
    BlankLocations blank;
    for (const std::string& line : *lines) {
        std::size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        std::string key = text::ToLower(std::string_view(line).substr(0, equals + 1));
        std::string_view value = std::string_view(line).substr(equals + 1);
        std::string trimmed(text::TrimBlanks(value));

        if (key == "gameexe=")
            record.GameExe = trimmed;
        else if (key == "shortcuticon=")
            record.ShortcutIcon = trimmed;
        else if (key == "shortcutname=")
            record.ShortcutName = trimmed;
        else if (key == "latestpatchreq=")
            record.LatestPatchReq = trimmed;
        else if (key == "msg1=")
            record.Msg1 = trimmed;
        else if (key == "regkeymustexist=")
            record.RegKeyMustExist = trimmed;
        else if (key == "shortcutparameters=")
            record.ShortcutParameters = expander.ExpandKeywords(trimmed, recipePath);
        else if (key == "shortcutstartin=")
            record.ShortcutStartIn = expander.ExpandKeywords(trimmed, recipePath);
        else if (key == "nativepanolinesupport=")
            record.NativeSupport = text::ToLower(value) == "true";
        else if (key == "forcemodfilestoreadonly=")
            record.ForceModFilesToReadOnly = text::ToLower(value) == "true";
        else if (key == "gameloc=") {
            blank.gameLoc = blank.gameLoc || value.empty();
            record.GameLoc =
                value.empty() ? "" : ReadGameLoc(services_.registry, state_.RegistryView, value);
        } else if (key == "userloc=") {
            blank.userLoc = blank.userLoc || value.empty();
            record.UserLoc = ReadUserLoc(services_.machine.files, value);
        }
    }
    record.Undetectable = blank.gameLoc && blank.userLoc;
}

std::vector<CfgEntry> RecipeReader::ReadCfgEntries(const std::string& recipePath,
                                                   const GameRecord& record) {
    std::vector<std::string> lines =
        KeepLinesWithValue(LinesOr(services_.profile.GetIniSection(recipePath, "CFG")));
    // A folder the user chose wins over the registry's for every configuration path.
    std::string base =
        NormalizeFolder(record.UserLoc.empty() ? record.GameLoc : record.UserLoc, "");
    const platform::FileSystem& files = services_.machine.files;

    std::vector<CfgEntry> entries(1, EmptyEntry());
    for (const std::string& line : lines) {
        if (base.empty()) {
            entries.front() = EmptyEntry();
            continue;
        }
        if (line.empty()) continue;  // no usable line at all
        std::vector<std::string> pieces = text::Split(line, "=");
        const std::string& key = pieces[0];
        std::string path = text::PieceOr(pieces, 1);
        if (path.find('%') != std::string::npos)
            path = discovery::ExpandPercentForms(path, services_.machine);
        if (path.find_first_of("%:") == std::string::npos)
            path = discovery::CombinePath(base, path);
        // A file found below its given place is taken from there; one not found keeps its path.
        LocateFile(files, path);

        if (path.find("*.") != std::string::npos) {
            std::string folder = path.substr(0, path.rfind('\\') + 1);
            const std::vector<std::string> matches = ListMatchingFiles(files, path);
            // Every match gets the same lines: the section is read and expanded once.
            const std::vector<std::string> section =
                matches.empty() ? std::vector<std::string>() : ExpandedSection(recipePath, key);
            for (const std::string& match : matches) {
                entries.back() = CfgEntry{folder + match, kMultiple, section};
                entries.push_back(EmptyEntry());
            }
        } else {
            entries.back() = CfgEntry{path, kSingle, ExpandedSection(recipePath, key)};
            entries.push_back(EmptyEntry());
        }
    }
    if (entries.size() > 1) entries.pop_back();
    return entries;
}

std::vector<std::string> RecipeReader::ExpandedSection(const std::string& recipePath,
                                                       std::string_view section) {
    std::vector<std::string> lines = LinesOr(services_.profile.GetIniSection(recipePath, section));
    KeywordExpander(services_.profile, state_.Selected).ExpandLines(lines, recipePath);
    return lines;
}

std::vector<std::string> KeepLinesWithValue(const std::vector<std::string>& lines) {
    std::vector<std::string> kept;
    for (const std::string& line : lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        if (!text::PieceOr(pieces, 1).empty()) kept.push_back(line);
    }
    if (kept.empty()) kept.emplace_back();
    return kept;
}

std::vector<std::string> ListMatchingFiles(const platform::FileSystem& files,
                                           std::string_view pattern) {
    std::vector<std::string> names;
    // Only the folder, hidden and system bits count here, which the quicker listing gives.
    auto entries = files.ListForSearch(platform::ParentOf(pattern));
    if (!entries) return names;
    std::string mask = text::ToLower(platform::NameOf(pattern));
    constexpr std::uint32_t kLeftOut =
        platform::attr::Directory | platform::attr::Hidden | platform::attr::System;
    for (const platform::DirEntry& entry : *entries)
        if ((entry.attributes & kLeftOut) == 0 && text::MatchesWildcard(entry.name, mask))
            names.push_back(entry.name);
    return names;
}

}  // namespace optera::recipes
