#pragma once
// Edits of XML configuration files: each modification line "<XPath>=<value>" sets the text of
// the node (or attribute) that the XPath selects.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Prompts.h"

namespace optera::optimizer {

// Applies the lines of a section of kind XML to the file at `path`, loading the file afresh for
// each line and saving it after each line.
void ApplyXml(platform::FileSystem& files, platform::Prompts& prompts, std::string_view path,
              const std::vector<std::string>& lines);

}  // namespace optera::optimizer
