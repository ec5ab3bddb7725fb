#pragma once
// One configuration file changed by its recipe section: the section's kind is read off its
// lines and the matching edit is applied to the file.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Prompts.h"
#include "services/cPrivateProfile.h"

namespace optera::optimizer {

struct EditServices {
    platform::FileSystem& files;
    services::cPrivateProfile& profile;
    platform::Prompts& prompts;
};

// Reads the file (creating it empty if it is missing; bytes of 128 and above are dropped),
// classifies the section, applies its edit and writes the file. Profile and XML edits write the
// file themselves. Returns the kind that was applied. Nothing is reported: a file that cannot be
// replaced stays as it was.
std::string ModifyConfigFile(const EditServices& services, std::string_view path,
                             const std::vector<std::string>& lines);

}  // namespace optera::optimizer
