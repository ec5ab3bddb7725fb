#include "text/NoCase.h"

namespace optera::text {

namespace {

// Windows-1252 pairs outside the ASCII and Latin-1 letter ranges.
constexpr unsigned char kUpperSpecial[] = {0x8A, 0x8C, 0x8E, 0x9F};
constexpr unsigned char kLowerSpecial[] = {0x9A, 0x9C, 0x9E, 0xFF};

bool IsLatinUpper(unsigned char b) {
    return b >= 0xC0 && b <= 0xDE && b != 0xD7;
}
bool IsLatinLower(unsigned char b) {
    return b >= 0xE0 && b <= 0xFE && b != 0xF7;
}

}  // namespace

char FoldLower(char c) {
    auto b = static_cast<unsigned char>(c);
    if (b >= 'A' && b <= 'Z') return static_cast<char>(b + 32);
    if (b < 0x80) return c;
    if (IsLatinUpper(b)) return static_cast<char>(b + 32);
    for (int i = 0; i < 4; ++i)
        if (b == kUpperSpecial[i]) return static_cast<char>(kLowerSpecial[i]);
    return c;
}

char FoldUpper(char c) {
    auto b = static_cast<unsigned char>(c);
    if (b >= 'a' && b <= 'z') return static_cast<char>(b - 32);
    if (b < 0x80) return c;
    if (IsLatinLower(b)) return static_cast<char>(b - 32);
    for (int i = 0; i < 4; ++i)
        if (b == kLowerSpecial[i]) return static_cast<char>(kUpperSpecial[i]);
    return c;
}

std::string ToLower(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = FoldLower(c);
    return out;
}

std::string ToUpper(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = FoldUpper(c);
    return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (FoldLower(a[i]) != FoldLower(b[i])) return false;
    return true;
}

std::size_t FindNoCase(std::string_view haystack, std::string_view needle, std::size_t from) {
    if (from > haystack.size()) return npos;
    if (needle.size() > haystack.size() - from) return npos;
    const std::size_t last = haystack.size() - needle.size();
    for (std::size_t i = from; i <= last; ++i) {
        if (EqualsNoCase(haystack.substr(i, needle.size()), needle)) return i;
    }
    return npos;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && EqualsNoCase(s.substr(s.size() - suffix.size()), suffix);
}

int CompareNoCase(std::string_view a, std::string_view b) {
    const std::size_t n = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < n; ++i) {
        auto x = static_cast<unsigned char>(FoldLower(a[i]));
        auto y = static_cast<unsigned char>(FoldLower(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

}  // namespace optera::text
