#pragma once
// The folder keywords that recipes may write as %keyword%, and their paths on a machine.

#include <string>
#include <string_view>

#include "platform/Machine.h"

namespace optera::discovery {

// The path of a folder keyword (case ignored); an unknown keyword unchanged; "" if the machine
// has no such folder. "user" and "username" give the last component of the profile folder.
std::string SpecialFolderPath(std::string_view keyword, const platform::Machine& machine);

}  // namespace optera::discovery
