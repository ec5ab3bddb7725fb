#include "text/Number.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

namespace optera::text {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

double ParseHex(std::string_view digits) {
    double value = 0;
    for (char c : digits) {
        int d = HexDigitValue(c);
        if (d < 0) break;
        value = value * 16 + d;
    }
    return value;
}

// Length of the decimal number at the front of s: [sign] digits [. digits] [e [sign] digits].
// An exponent only counts when digits follow it.
std::size_t DecimalLength(std::string_view s) {
    std::size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    std::size_t digits = 0;
    while (i < s.size() && IsDigit(s[i])) ++i, ++digits;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && IsDigit(s[i])) ++i, ++digits;
    }
    if (digits == 0) return 0;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) ++j;
        if (j < s.size() && IsDigit(s[j])) {
            while (j < s.size() && IsDigit(s[j])) ++j;
            i = j;
        }
    }
    return i;
}

template <typename Int>
std::optional<Int> RoundTo(double value) {
    if (!std::isfinite(value)) return std::nullopt;
    // nearbyint rounds in the current mode, which is to-nearest with ties to even.
    double rounded = std::nearbyint(value);
    if (rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
        rounded > static_cast<double>(std::numeric_limits<Int>::max()))
        return std::nullopt;
    return static_cast<Int>(rounded);
}

}  // namespace

double LeadingNumber(std::string_view s) {
    std::size_t start = 0;
    while (start < s.size() && IsSpace(s[start])) ++start;
    s.remove_prefix(start);
    if (s.size() >= 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h')) return ParseHex(s.substr(2));

    std::size_t len = DecimalLength(s);
    if (len == 0) return 0;
    std::string_view number = s.substr(0, len);
    if (number.front() == '+') number.remove_prefix(1);
    double value = 0;
    auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Beyond a double: a large exponent saturates with the number's sign, a small one is 0.
        std::size_t e = number.find_first_of("eE");
        if (e != std::string_view::npos && number[e + 1] == '-') return 0;
        double infinity = std::numeric_limits<double>::infinity();
        return number.front() == '-' ? -infinity : infinity;
    }
    return value;
}

std::optional<std::int16_t> RoundToInt16(double value) {
    return RoundTo<std::int16_t>(value);
}

std::optional<std::int32_t> RoundToInt32(double value) {
    return RoundTo<std::int32_t>(value);
}

}  // namespace optera::text
