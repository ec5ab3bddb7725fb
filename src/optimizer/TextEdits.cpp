#include "optimizer/TextEdits.h"

#include "text/Number.h"
#include "text/Split.h"

namespace optera::optimizer {

namespace {

// The leading characters of a line up to its first one above the blank: blanks, tabs, and on
// a line that holds nothing but its line end, that line end.
std::string IndentOf(const std::string& line) {
    std::size_t n = 0;
    while (n < line.size() && static_cast<unsigned char>(line[n]) <= ' ') ++n;
    return line.substr(0, n);
}

std::string JoinFrom(const std::vector<std::string>& pieces, std::size_t first) {
    std::string out;
    for (std::size_t i = first; i < pieces.size(); ++i) {
        if (i > first) out += '=';
        out += pieces[i];
    }
    return out;
}

}  // namespace

std::string DetectSeparator(const Lines& fileLines) {
    int spacedEquals = 0, equals = 0, blank = 0, other = 0;
    for (const std::string& line : fileLines) {
        if (line.find(" = ") != std::string::npos)
            ++spacedEquals;
        else if (line.find('=') != std::string::npos)
            ++equals;
        else if (line.find(' ') != std::string::npos)
            ++blank;
        else if (!line.empty())
            ++other;
    }
    auto wins = [](int a, int b, int c, int d) { return a > b && a > c && a > d; };
    if (wins(spacedEquals, equals, blank, other)) return " = ";
    if (wins(equals, spacedEquals, blank, other)) return "=";
    if (wins(blank, spacedEquals, equals, other)) return " ";
    return "";
}

void ApplyLineNumber(Lines& fileLines, const Lines& lines, const std::string& lineEnd) {
    for (const std::string& line : lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        if (pieces.size() < 2) continue;
        auto index = text::RoundToInt16(text::LeadingNumber(text::TrimBlanks(pieces[0])) - 1);
        if (!index || *index < 0) continue;
        std::string newText = JoinFrom(pieces, 1);
        auto at = static_cast<std::size_t>(*index);
        if (at < fileLines.size())
            fileLines[at] = IndentOf(fileLines[at]) + newText + lineEnd;
        else
            fileLines.push_back(newText + lineEnd);
    }
}

namespace {

// The walk that String and StringInsert share: for each modification line with enough pieces,
// every file line holding its key (case counts) is rewritten from the key's first place on;
// the keys that no line holds are added at the end, after all modification lines, so later
// lines do not see them.
template <typename Rewrite, typename Added>
void ApplyKeyed(Lines& fileLines, const Lines& lines, std::size_t piecesNeeded, Rewrite rewrite,
                Added added) {
    Lines appended;
    for (const std::string& line : lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        if (pieces.size() < piecesNeeded || pieces[0].empty()) continue;
        std::string sep = DetectSeparator(fileLines);
        bool found = false;
        for (std::string& fileLine : fileLines) {
            std::size_t at = fileLine.find(pieces[0]);
            if (at == std::string::npos) continue;
            fileLine = fileLine.substr(0, at) + rewrite(pieces, sep, fileLine, at);
            found = true;
        }
        if (!found) appended.push_back(added(pieces, sep));
    }
    fileLines.insert(fileLines.end(), appended.begin(), appended.end());
}

}  // namespace

void ApplyString(Lines& fileLines, const Lines& lines, const std::string& lineEnd) {
    // Whatever followed the key on the line, its line end included, gives way.
    auto keyed = [&](const std::vector<std::string>& p, const std::string& sep) {
        return p[0] + sep + p[1] + lineEnd;
    };
    ApplyKeyed(
        fileLines, lines, 2,
        [&](const auto& p, const std::string& sep, const std::string&, std::size_t) {
            return keyed(p, sep);
        },
        keyed);
}

void ApplyStringInsert(Lines& fileLines, const Lines& lines) {
    ApplyKeyed(
        fileLines, lines, 3,
        [](const auto& p, const std::string& sep, const std::string& fileLine, std::size_t start) {
            // What follows the end text stays; without the end text behind the key, the whole
            // old line stands behind the value.
            std::size_t stop = fileLine.find(p[2], start);
            return p[0] + sep + p[1] +
                   (stop == std::string::npos ? fileLine : fileLine.substr(stop));
        },
        [](const auto& p, const std::string& sep) { return p[0] + sep + p[1] + p[2]; });
}

void ApplyReplaceCfg(Lines& fileLines, const Lines& lines) {
    fileLines.clear();
    for (const std::string& line : lines) {
        std::string_view trimmed = text::TrimBlanks(line);
        if (!trimmed.empty()) trimmed.remove_prefix(1);
        fileLines.push_back(std::string(trimmed) + "\r\n");
    }
}

}  // namespace optera::optimizer
