#pragma once
// Case-insensitive text rules. Text is bytes in the Windows-1252 code page: ASCII letters and
// the code page's accented letters fold to lower case; every other byte stands for itself.

#include <cstddef>
#include <string>
#include <string_view>

namespace optera::text {

inline constexpr std::size_t npos = std::string_view::npos;

// The lower-case and upper-case forms of one byte.
char FoldLower(char c);
char FoldUpper(char c);

std::string ToLower(std::string_view s);
std::string ToUpper(std::string_view s);

// True when a and b are the same text apart from letter case.
bool EqualsNoCase(std::string_view a, std::string_view b);

// Position of the first occurrence of needle at or after `from`, letter case ignored;
// npos when there is none. An empty needle is found at `from`.
std::size_t FindNoCase(std::string_view haystack, std::string_view needle, std::size_t from = 0);

inline bool ContainsNoCase(std::string_view haystack, std::string_view needle) {
    return FindNoCase(haystack, needle) != npos;
}
bool StartsWithNoCase(std::string_view s, std::string_view prefix);
bool EndsWithNoCase(std::string_view s, std::string_view suffix);

// Orders two texts as a case-insensitive byte comparison would (<0, 0, >0).
int CompareNoCase(std::string_view a, std::string_view b);

// For maps keyed by names that are compared without regard to case.
struct LessNoCase {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const {
        return CompareNoCase(a, b) < 0;
    }
};

}  // namespace optera::text
