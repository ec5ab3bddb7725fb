#pragma once
// The blank recipe "_BLANK.txt": every section and key a recipe can have, with the machine's
// resolutions filled in, as a start for writing a recipe by hand. The game list never shows it.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace optera::recipes {

// The template's text, lines ended by CR LF.
std::string BlankRecipeText(std::string_view defaultResolution,
                            const std::vector<std::string>& resolutions);

// Writes the template to the file (replacing it in one step) and marks it read-only.
bool WriteBlankRecipe(platform::FileSystem& files, std::string_view path,
                      std::string_view defaultResolution,
                      const std::vector<std::string>& resolutions);

}  // namespace optera::recipes
