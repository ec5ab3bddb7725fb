#include "recipes/KeywordExpansion.h"

#include "text/NoCase.h"
#include "text/Split.h"

namespace optera::recipes {

namespace {

constexpr std::string_view kHeight = "#KELVANH";
constexpr std::string_view kWidth = "#KELVANW";
constexpr std::string_view kTable = "#RESDEPENDENT.";

void ReplaceFirst(std::string& s, std::string_view keyword, std::string_view value) {
    std::size_t at = text::FindNoCase(s, keyword);
    if (at != text::npos) s.replace(at, keyword.size(), value);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

std::string KeywordExpander::ExpandKeywords(std::string_view textIn,
                                            std::string_view recipePath) const {
    std::string s(textIn);
    if (s.empty()) return s;
    ReplaceFirst(s, kHeight, std::to_string(selected_.SelectedHeight));
    ReplaceFirst(s, kWidth, std::to_string(selected_.SelectedWidth));
    for (char& c : s)
        if (c == '^') c = ' ';

    std::size_t at = text::FindNoCase(s, kTable);
    if (at == text::npos) return s;
    std::size_t end = at + kTable.size();
    while (end < s.size() && IsDigit(s[end])) ++end;
    // The section is named as the text writes it, less the '#'.
    std::string value =
        LookupResDependent(recipePath, std::string_view(s).substr(at + 1, end - at - 1));
    if (value.empty()) return std::string(kMissingEntryMarker);
    s.replace(at, end - at, value);
    return s;
}

std::string KeywordExpander::LookupResDependent(std::string_view recipePath,
                                                std::string_view sectionName) const {
    auto lines = profile_.GetIniSection(recipePath, sectionName);
    if (!lines) return "";
    std::string wanted =
        std::to_string(selected_.SelectedWidth) + "X" + std::to_string(selected_.SelectedHeight);
    for (const std::string& line : *lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        if (text::ToUpper(pieces[0]) == wanted) return text::PieceOr(pieces, 1);
    }
    return "";
}

std::vector<std::string>& KeywordExpander::ExpandLines(std::vector<std::string>& lines,
                                                       std::string_view recipePath) const {
    if (lines.empty() || lines.front().empty()) return lines;
    for (std::string& line : lines) {
        line = ExpandKeywords(line, recipePath);
        if (line == kMissingEntryMarker) {
            lines.assign(1, std::string(kMissingEntryMarker));
            break;
        }
    }
    return lines;
}

}  // namespace optera::recipes
