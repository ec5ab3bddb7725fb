#pragma once
// The order in which an NTFS volume lists a folder: names compared upper-cased, unit by unit in
// UTF-16. Host file systems list in an order of their own (a hash on Linux), so entries are put
// in this order for a recipe to behave the same on every machine.

#include <string_view>
#include <vector>

#include "platform/FileAttributes.h"

namespace optera::platform {

// True when `a` comes before `b`. Names that differ only in letter case (which NTFS cannot
// hold side by side) are ordered by their bytes, so that the order is still the same everywhere.
bool DirectoryOrderLess(std::string_view a, std::string_view b);

// Sorts entries in that order: O(n log n) comparisons of names, each folding letters on the fly.
void SortInDirectoryOrder(std::vector<DirEntry>& entries);

}  // namespace optera::platform
