#pragma once
// A configuration file as an array of lines, each keeping its own line end.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace optera::optimizer {

struct FileLines {
    std::vector<std::string> lines;  // at least one; the last has no line end
    std::string lineEnd;             // "\r\n", "\n" or "\r" when one form is the majority, else ""
};

// Cuts a file's bytes into lines. Bytes whose code is at or above `charLimit` are dropped, so
// with 128 only 7-bit text remains. CR LF, LF and a lone CR end a line and stay in it; the
// character after a lone CR is the first of the next line whatever it is, so that "\r\r\n" is
// a CR line followed by an LF line.
FileLines SplitFileLines(std::string_view bytes, int charLimit);

// Reads a file and cuts it into lines; a missing or unreadable file gives one empty line.
FileLines ReadFileLines(const platform::FileSystem& files, std::string_view path, int charLimit);

// The lines joined again, exactly as they are.
std::string JoinFileLines(const std::vector<std::string>& lines);

}  // namespace optera::optimizer
