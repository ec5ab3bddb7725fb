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

void ApplyString(Lines& fileLines, const Lines& lines, const std::string& lineEnd) {
    Lines appended;
    for (const std::string& line : lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        if (pieces.size() < 2 || pieces[0].empty()) continue;
        const std::string& key = pieces[0];
        const std::string& value = pieces[1];
        std::string sep = DetectSeparator(fileLines);
        bool found = false;
        for (std::string& fileLine : fileLines) {
            std::size_t at = fileLine.find(key);
            if (at == std::string::npos) continue;
            fileLine = fileLine.substr(0, at) + key + sep + value + lineEnd;
            found = true;
        }
        if (!found) appended.push_back(key + sep + value + lineEnd);
    }
    fileLines.insert(fileLines.end(), appended.begin(), appended.end());
}

void ApplyStringInsert(Lines& fileLines, const Lines& lines) {
    Lines appended;
    for (const std::string& line : lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        if (pieces.size() < 3 || pieces[0].empty()) continue;
        const std::string& key = pieces[0];
        const std::string& value = pieces[1];
        const std::string& endText = pieces[2];
        std::string sep = DetectSeparator(fileLines);
        bool found = false;
        for (std::string& fileLine : fileLines) {
            std::size_t start = fileLine.find(key);
            if (start == std::string::npos) continue;
            std::size_t stop = fileLine.find(endText, start);
            // Without the end text behind the key, the whole old line stands behind the value.
            std::string rest = stop == std::string::npos ? fileLine : fileLine.substr(stop);
            fileLine = fileLine.substr(0, start) + key + sep + value + rest;
            found = true;
        }
        if (!found) appended.push_back(key + sep + value + endText);
    }
    fileLines.insert(fileLines.end(), appended.begin(), appended.end());
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
