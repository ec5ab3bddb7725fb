#include "discovery/GameStatus.h"

#include "text/Split.h"

namespace optera::discovery {

std::string BackupPathOf(std::string_view path) {
    if (path.size() < 3) return {};
    std::string copy(path.substr(0, path.size() - 3));
    copy += "original";
    return std::string(text::TrimBlanks(copy));
}

bool IsBadFileName(std::string_view path) {
    for (std::size_t i = 0; i < path.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(path[i]);
        if (c < 32 || c == '<' || c == '>' || c == '|' || c == '"' || c == '*' || c == '?')
            return true;
        if (c == ':' && i != 1) return true;
    }
    return false;
}

std::string ListClass(const platform::FileSystem& files, const recipes::GameRecord& game) {
    if (game.GameLoc.empty() && game.UserLoc.empty()) return std::string(kGrey);
    std::string word;
    for (const recipes::CfgEntry& entry : game.CfgFiles) {
        if (entry.Kind != recipes::kSingle && !entry.Kind.empty()) continue;
        if (entry.Path.empty()) return std::string(kRed);
        std::string copy = BackupPathOf(entry.Path);
        if (IsBadFileName(copy) || IsBadFileName(entry.Path)) return std::string(kRed);
        if (platform::FileExists(files, copy)) {
            word = kGreen;
            continue;
        }
        if (!platform::FileExists(files, entry.Path)) return std::string(kRed);
        return std::string(game.NativeSupport ? kBlue : kBlack);
    }
    return word;
}

}  // namespace optera::discovery
