#pragma once
// One configuration file changed by its recipe section: the section's kind is read off its
// lines and the matching edit is applied to the file.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Prompts.h"

namespace optera::optimizer {

struct EditServices {
    platform::FileSystem& files;
    platform::Prompts& prompts;
};

struct FileEdit {
    std::string kind;     // the kind of the section that was applied
    std::string failure;  // why the file was left as it was; "" when the edit is on disk
};

// Reads the file once, classifies the section, applies its edit in memory and replaces the file
// once, so that it is never left half edited. A missing file is created (it receives the lines
// as appends); bytes of 128 and above are dropped by the line edits. A file that cannot be read
// or replaced is left as it was, and the result says why.
FileEdit ModifyConfigFile(const EditServices& services, std::string_view path,
                          const std::vector<std::string>& lines);

}  // namespace optera::optimizer
