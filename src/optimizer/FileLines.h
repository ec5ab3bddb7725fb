#pragma once
// A configuration file as an array of lines, each keeping its own line end, read and written
// through the machine's files.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace optera::optimizer {

struct FileLines {
    std::vector<std::string> lines;  // at least one; the last has no line end
    std::string lineEnd;             // "\r\n", "\n" or "\r" when one form is the majority, else ""
};

// Reads a file byte by byte. Bytes whose code is at or above `charLimit` are dropped, so with
// 128 only 7-bit text remains. CR LF, LF and a lone CR end a line and stay in it. A missing file
// is created empty, as opening it for the edit would.
FileLines ReadFileLines(platform::FileSystem& files, std::string_view path, int charLimit);

// Puts the lines, exactly as they are, in the file's place: they are written to "Mod_Cfg.tmp"
// in the file's folder, the file's read-only mark is lifted, and the temporary file is renamed
// over it, so that a crash leaves the old file or the new one. Returns false (and leaves the
// file as it was, mark included) when that cannot be done.
bool WriteFileLines(platform::FileSystem& files, std::string_view path,
                    const std::vector<std::string>& lines);

}  // namespace optera::optimizer
