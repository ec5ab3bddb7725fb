#pragma once
// File-name patterns as Windows matches them in directory searches.

#include <string_view>

namespace optera::text {

// True when a file name matches a pattern, letter case ignored.
//  *   any run of characters;
//  ?   one character, or none at the end of the name or before a dot;
//  *.  at the end: names without an extension ("*." matches "readme", not "readme.txt");
//  .*  and .?  also match a name that has no dot at all ("game.*" matches "game");
//  *.* matches every name.
bool MatchesWildcard(std::string_view name, std::string_view pattern);

}  // namespace optera::text
