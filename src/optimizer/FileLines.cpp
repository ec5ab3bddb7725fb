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

FileLines ReadFileLines(platform::FileSystem& files, std::string_view path, int charLimit) {
    auto content = files.ReadAll(path);
    if (!content) {
        if (!platform::FileExists(files, path)) files.WriteAll(path, "");
        content.emplace();
    }
    auto kept = [charLimit](char c) { return static_cast<unsigned char>(c) < charLimit; };

    FileLines result;
    LineEndCounts counts;
    std::string line;
    const std::string& bytes = *content;
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

bool WriteFileLines(platform::FileSystem& files, std::string_view path,
                    const std::vector<std::string>& lines) {
    std::string bytes;
    for (const std::string& line : lines) bytes += line;
    auto before = files.Attributes(path);
    if (before && (*before & platform::attr::ReadOnly))
        files.SetAttributes(path, platform::attr::Archive);
    if (platform::ReplaceFile(files, path, bytes, "Mod_Cfg.tmp")) return true;
    if (before) files.SetAttributes(path, *before);
    return false;
}

}  // namespace optera::optimizer
