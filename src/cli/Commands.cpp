#include "cli/Commands.h"

#include "cli/RecordJson.h"
#include "cli/TerminalText.h"

#include <ostream>

#include "paths/PathExpansion.h"
#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "text/Number.h"
#include "text/Split.h"

namespace optera::cli {

namespace {

bool IsBlankTemplate(std::string_view name) {
    return text::ContainsNoCase(name, "_BLANK");
}

std::vector<std::string> RecipeNames(Session& session) {
    std::vector<std::string> names;
    for (const std::string& file :
         session.profile().GetListOfFiles(session.modsFolder() + "\\*.txt")) {
        if (file.size() <= 4 || IsBlankTemplate(file)) continue;
        names.push_back(file.substr(0, file.size() - 4));
    }
    return names;
}

// Sections that hold lines with keywords: [Registry] and the modification sections. The
// others describe the game or hold the tables the keywords read.
bool HoldsKeywordLines(std::string_view section) {
    for (std::string_view other : {"GAMEINFO", "GAMERES", "GAMERESOLUTIONS", "CFG", "HOWTO"})
        if (text::EqualsNoCase(section, other)) return false;
    return !text::StartsWithNoCase(section, "RESDEPENDENT.");
}

}  // namespace

std::optional<recipes::SelectedResolution> ParseResolution(std::string_view textIn) {
    std::vector<std::string> halves = text::Split(text::ToLower(textIn), "x");
    if (halves.size() != 2) return std::nullopt;
    auto width = text::RoundToInt16(text::LeadingNumber(text::TrimWhite(halves[0])));
    auto height = text::RoundToInt16(text::LeadingNumber(text::TrimWhite(halves[1])));
    if (!width || !height || *width <= 0 || *height <= 0) return std::nullopt;
    return recipes::SelectedResolution{*width, *height};
}

std::optional<std::string> FindRecipe(Session& session, std::string_view game) {
    std::string_view wanted = game;
    if (text::EndsWithNoCase(wanted, ".txt")) wanted.remove_suffix(4);
    for (const std::string& name : RecipeNames(session))
        if (text::EqualsNoCase(name, wanted)) return session.modsFolder() + "\\" + name + ".txt";
    return std::nullopt;
}

int ListRecipes(Session& session, std::ostream& out) {
    for (const std::string& name : RecipeNames(session)) out << Utf8(name) << '\n';
    return 0;
}

int ExpandRecipe(Session& session, std::string_view game, std::string_view resolution,
                 const std::vector<std::string>& sections, std::ostream& out, std::ostream& err) {
    auto selected = ParseResolution(resolution);
    if (!selected) {
        err << "optera-cli: \"" << Utf8(resolution)
            << "\" is no resolution; write it as 3840x1024\n";
        return 2;
    }
    auto recipe = FindRecipe(session, game);
    if (!recipe) {
        err << "optera-cli: there is no recipe for \"" << Utf8(game) << "\" in "
            << session.HostPathOf(session.modsFolder()) << '\n';
        return 2;
    }
    std::vector<std::string> wanted = sections;
    if (wanted.empty()) {
        auto names = session.profile().GetIniSectionNames(*recipe);
        for (const std::string& name : names.value_or(std::vector<std::string>{}))
            if (!name.empty() && HoldsKeywordLines(name)) wanted.push_back(name);
    }
    recipes::KeywordExpander expander(session.profile(), *selected);
    for (const std::string& section : wanted) {
        auto lines = session.profile().GetIniSection(*recipe, section);
        if (!lines) {
            err << "optera-cli: section [" << Utf8(section) << "] is too long to read\n";
            return 1;
        }
        out << '[' << Utf8(section) << "]\n";
        for (const std::string& line : expander.ExpandLines(*lines, *recipe))
            if (!line.empty()) out << Utf8(line) << '\n';
    }
    return 0;
}

int ShowGame(Session& session, std::string_view game, std::string_view resolution, bool json,
             std::ostream& out, std::ostream& err) {
    auto recipe = FindRecipe(session, game);
    if (!recipe) {
        err << "optera-cli: there is no recipe for \"" << Utf8(game) << "\" in "
            << session.HostPathOf(session.modsFolder()) << '\n';
        return 2;
    }
    std::string applied = session.profile().GetIniStringValue(*recipe, "GAMERES", "RES");
    std::string_view wanted = resolution.empty() ? std::string_view(applied) : resolution;
    auto selected = ParseResolution(wanted);
    if (!selected && !resolution.empty()) {
        err << "optera-cli: \"" << Utf8(resolution)
            << "\" is no resolution; write it as 3840x1024\n";
        return 2;
    }
    session.recipeState().Selected = selected.value_or(recipes::SelectedResolution{});
    std::string name(platform::NameOf(*recipe));
    recipes::GameRecord record = session.reader().ReadRecipe(name);
    nlohmann::ordered_json fields = RecordJson(record);
    if (json) {
        out << JsonText(fields) << '\n';
        return 0;
    }
    for (const auto& [key, value] : fields.items())
        out << key << ": "
            << (value.is_string() ? Utf8(value.get<std::string>()) : JsonText(value, -1)) << '\n';
    return 0;
}

int ExpandPath(Session& session, std::string_view textIn, std::ostream& out) {
    std::string expanded = discovery::ExpandPercentForms(textIn, session.machine());
    out << Utf8(expanded) << '\n';
    std::string host = session.HostPathOf(expanded);
    if (!host.empty()) out << host << '\n';
    return 0;
}

}  // namespace optera::cli
