#include "text/Split.h"

namespace optera::text {

std::vector<std::string> Split(std::string_view text, std::string_view delimiter) {
    std::vector<std::string> pieces;
    if (delimiter.empty()) {
        pieces.emplace_back(text);
        return pieces;
    }
    std::size_t start = 0;
    while (true) {
        std::size_t at = text.find(delimiter, start);
        if (at == std::string_view::npos) {
            pieces.emplace_back(text.substr(start));
            return pieces;
        }
        pieces.emplace_back(text.substr(start, at - start));
        start = at + delimiter.size();
    }
}

std::string PieceOr(const std::vector<std::string>& pieces, std::size_t i) {
    return i < pieces.size() ? pieces[i] : std::string();
}

namespace {

template <typename IsTrimmed>
std::string_view TrimIf(std::string_view s, IsTrimmed trimmed) {
    while (!s.empty() && trimmed(s.front())) s.remove_prefix(1);
    while (!s.empty() && trimmed(s.back())) s.remove_suffix(1);
    return s;
}

}  // namespace

std::string_view TrimBlanks(std::string_view s) {
    return TrimIf(s, [](char c) { return c == ' '; });
}

std::string_view TrimWhite(std::string_view s) {
    return TrimIf(s, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

}  // namespace optera::text
