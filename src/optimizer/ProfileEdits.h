#pragma once
// Edits of profile files by section and key: "<section>,<key>=<value>", where the section may
// be a part of a section's name, or "<key>=<value>" for every section that has the key.

#include <string>
#include <string_view>
#include <vector>

#include "services/cPrivateProfile.h"

namespace optera::optimizer {

// Applies the lines of a section of kind PrivProfile to the file at `path`, writing through the
// profile service so that the file keeps its other lines, comments and line ends.
void ApplyPrivProfile(services::cPrivateProfile& profile, std::string_view path,
                      const std::vector<std::string>& lines);

}  // namespace optera::optimizer
