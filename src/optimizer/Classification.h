#pragma once
// The kind of a modification section, read off the form of its lines.

#include <string>
#include <string_view>
#include <vector>

namespace optera::optimizer {

// Kinds are texts, as recipes and reports show them.
namespace kind {
inline constexpr std::string_view LineNumber = "LineNumber";
inline constexpr std::string_view PrivProfile = "PrivProfile";
inline constexpr std::string_view Xml = "XML";
inline constexpr std::string_view ReplaceCfg = "ReplaceCFG";
inline constexpr std::string_view StringInsert = "StringInsert";
inline constexpr std::string_view String = "String";
inline constexpr std::string_view None = "None";
}  // namespace kind

// The kind of a section: decided by its first line that fits a kind other than String, whatever
// the other lines look like. "None" for a section with nothing in it.
std::string ClassifyLines(const std::vector<std::string>& lines);

// The decimal text of a number as the settings' number-to-text conversion writes it: no
// trailing zeros, at most 15 significant digits ("12", "12.5", "1E+20", "1E-05").
std::string DecimalText(double value);

}  // namespace optera::optimizer
