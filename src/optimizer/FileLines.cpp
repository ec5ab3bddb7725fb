#include "optimizer/FileLines.h"

namespace optera::optimizer {

namespace {

struct LineEndCounts {
    int crlf = 0, lf = 0, cr = 0;

    std::string Majority() const {
        if (crlf > lf && crlf > cr) return "\r\n";
        if (lf > crlf && lf > cr) return "\n";
        if (cr > crlf && cr > lf) return "\r";
        return "";
    }
};

}  // namespace

FileLines SplitFileLines(std::string_view bytes, int charLimit) {
    auto kept = [charLimit](char c) { return static_cast<unsigned char>(c) < charLimit; };

    FileLines result;
    LineEndCounts counts;
    std::string line;
    auto endLine = [&](int& count) {
        ++count;
        result.lines.push_back(std::move(line));
        line.clear();
    };
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        char c = bytes[i];
        if (c == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') {
            line += "\r\n";
            ++i;
            endLine(counts.crlf);
        } else if (c == '\r') {
            line += c;
            endLine(counts.cr);
            // The character read to see whether a line feed follows is taken as it is: a
            // second CR is text of the next line, not another line end.
            if (i + 1 < bytes.size() && kept(bytes[i + 1])) line += bytes[i + 1];
            ++i;
        } else if (c == '\n') {
            line += c;
            endLine(counts.lf);
        } else if (kept(c)) {
            line += c;
        }
    }
    result.lines.push_back(std::move(line));
    result.lineEnd = counts.Majority();
    return result;
}

FileLines ReadFileLines(const platform::FileSystem& files, std::string_view path, int charLimit) {
    return SplitFileLines(files.ReadAll(path).value_or(std::string()), charLimit);
}

std::string JoinFileLines(const std::vector<std::string>& lines) {
    std::string bytes;
    for (const std::string& line : lines) bytes += line;
    return bytes;
}

}  // namespace optera::optimizer
