#include "optimizer/Classification.h"

#include <cmath>
#include <cstdio>

#include "text/Number.h"
#include "text/Split.h"

namespace optera::optimizer {

std::string DecimalText(double value) {
    if (value == std::floor(value) && std::fabs(value) < 1e15) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.0f", value);
        return digits;
    }
    // Fractions and large numbers: 15 significant digits, exponents as "1E+20" and "1E-05".
    char text[40];
    std::snprintf(text, sizeof text, "%.15G", value);
    return text;
}

namespace {

// "12" and "12.5" are line numbers; "012", "12a", "+12" and "0" are not: the left side must be
// exactly the text of its positive number.
bool IsLineNumber(std::string_view left) {
    if (text::LeadingNumber(left) <= 0) return false;
    std::string_view trimmed = text::TrimBlanks(left);
    return DecimalText(text::LeadingNumber(trimmed)).size() == trimmed.size();
}

}  // namespace

std::string ClassifyLines(const std::vector<std::string>& lines) {
    if (lines.empty() || (lines.size() == 1 && lines[0].empty())) return std::string(kind::None);
    for (const std::string& line : lines) {
        std::vector<std::string> pieces = text::Split(line, "=");
        const std::string& left = pieces[0];
        std::string_view found;
        // Later tests override earlier ones: a left side with a comma and "//" is XML.
        if (IsLineNumber(left)) found = kind::LineNumber;
        if (left.find(',') != std::string::npos) found = kind::PrivProfile;
        if (left.find("//") != std::string::npos) found = kind::Xml;
        if (text::TrimBlanks(left).empty()) found = kind::ReplaceCfg;
        if (found.empty() && pieces.size() == 3) found = kind::StringInsert;
        if (!found.empty()) return std::string(found);
    }
    return std::string(kind::String);
}

}  // namespace optera::optimizer
