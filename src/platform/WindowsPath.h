#pragma once
// Plain text operations on Windows paths. No file is touched.

#include <string>
#include <string_view>
#include <vector>

namespace optera::platform {

// The folder part of a path, without its trailing backslash ("C:\a\b.txt" -> "C:\a");
// "" when there is no backslash.
std::string_view ParentOf(std::string_view path);
// What follows the last backslash ("C:\a\b.txt" -> "b.txt").
std::string_view NameOf(std::string_view path);
// folder + "\" + name, with exactly one backslash at the seam.
std::string JoinPath(std::string_view folder, std::string_view name);

// The drive letter of a path that starts "X:", upper case; '\0' when it has none.
char DriveLetterOf(std::string_view path);

// The components after the drive, with "." dropped and ".." taking away the one before, as
// Windows normalises a full path. Forward slashes count as backslashes.
std::vector<std::string> ComponentsOf(std::string_view path);

// "C:\a\..\b\" -> "C:\b": a full path in its normal form, no trailing backslash except a root's.
std::string NormalizePath(std::string_view path);

}  // namespace optera::platform
