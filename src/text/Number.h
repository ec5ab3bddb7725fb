#pragma once
// The number rule for numeric text read from skins, settings and recipes, and the rounding of
// such numbers to the 16- and 32-bit integers that lengths, colours and resolutions are kept in.

#include <cstdint>
#include <optional>
#include <string_view>

namespace optera::text {

// The leading number of a text: white space is skipped, then the longest decimal number with
// optional sign, decimal point and exponent is taken, or a hexadecimal number written with the
// prefix &H. Whatever follows is ignored. A text without a number gives 0.
double LeadingNumber(std::string_view s);

// Rounds to the nearest integer, ties to the even neighbour, as the settings' integers are
// rounded. A result outside the type's range (or a value that is not finite) is a failure.
std::optional<std::int16_t> RoundToInt16(double value);
std::optional<std::int32_t> RoundToInt32(double value);

}  // namespace optera::text
