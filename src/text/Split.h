#pragma once
// Splitting and trimming of text.

#include <string>
#include <string_view>
#include <vector>

namespace optera::text {

// Cuts text at every occurrence of the delimiter. There is always at least one piece: an empty
// text gives one empty piece, so "the first piece" of any split exists.
std::vector<std::string> Split(std::string_view text, std::string_view delimiter);

// The piece at index i, or "" when the split gave fewer pieces.
std::string PieceOr(const std::vector<std::string>& pieces, std::size_t i);

// Removes blanks (the space character only) from both ends, as the recipe rules trim values.
std::string_view TrimBlanks(std::string_view s);

// Removes spaces, tabs and line-end characters from both ends.
std::string_view TrimWhite(std::string_view s);

}  // namespace optera::text
