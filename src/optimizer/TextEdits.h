#pragma once
// The edits that work on a configuration file as an array of lines, each line keeping its own
// line end. A modification line that lacks the pieces its kind needs is passed over.

#include <string>
#include <vector>

namespace optera::optimizer {

using Lines = std::vector<std::string>;

// What stands between key and value in most lines of the file: " = ", "=", " ", or "" when no
// form is the majority.
std::string DetectSeparator(const Lines& fileLines);

// "<n>=<text>": line n (from 1) becomes its old indent, the text and lineEnd; a line beyond the
// end is added at the end, without indent.
void ApplyLineNumber(Lines& fileLines, const Lines& lines, const std::string& lineEnd);

// "<key>=<value>": every line holding key (case counts) keeps what stands in front of it and
// ends in key, separator, value, lineEnd. Keys no line holds are added at the end.
void ApplyString(Lines& fileLines, const Lines& lines, const std::string& lineEnd);

// "<key>=<value>=<end text>": what lies between key and end text is replaced by the separator
// and value; what follows the end text stays. Keys no line holds are added at the end.
void ApplyStringInsert(Lines& fileLines, const Lines& lines);

// "=<text>": the lines become the whole file, each ended by CR LF.
void ApplyReplaceCfg(Lines& fileLines, const Lines& lines);

}  // namespace optera::optimizer
