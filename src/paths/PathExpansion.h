#pragma once
// Turns the loose path text of recipes and registry values into plain Windows paths. Pure text
// operations: nothing on disk is touched.

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Machine.h"

namespace optera::discovery {

// Joins a folder and a relative path: the base is cut to start at its last drive letter, each
// leading "..\" of relative takes a folder off the base, and one backslash goes between them.
std::string CombinePath(std::string_view base, std::string_view relative);

// How many %name% forms ExpandPercentForms replaces at most before it gives up.
inline constexpr std::size_t kMaxPercentReplacements = 256;

// Replaces each %name% form by the environment variable, else the special folder, else the name.
std::string ExpandPercentForms(std::string_view text, const platform::Machine& machine);

}  // namespace optera::discovery
