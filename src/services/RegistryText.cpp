// The text helpers of cRegistry: conversions between bytes and hexadecimal text, and the words
// for the store's return codes.

#include <algorithm>

#include "services/cRegistry.h"
#include "text/NoCase.h"
#include "text/Split.h"

namespace optera::services {

namespace {

constexpr char kUpperHex[] = "0123456789ABCDEF";

// Each byte as two upper-case hexadecimal digits, the pairs joined by `separator`.
std::string HexPairs(std::string_view bytes, char separator) {
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        auto b = static_cast<unsigned char>(bytes[i]);
        if (i > 0) out += separator;
        out += kUpperHex[b >> 4];
        out += kUpperHex[b & 15];
    }
    return out;
}

// The character of a code; codes beyond one byte keep their low byte.
char CharOf(std::int32_t code) {
    return static_cast<char>(static_cast<std::uint32_t>(code) & 0xFF);
}

}  // namespace

std::string cRegistry::StripTerminator(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

std::string cRegistry::GetBinaryDataFromString(std::string_view szData) {
    return HexPairs(szData, ',');
}

std::string cRegistry::RegBinaryToHex(std::string_view sHexVal) {
    if (text::EqualsNoCase(sHexVal, "error")) return {};
    return HexPairs(sHexVal, ' ');
}

std::int32_t cRegistry::HexToDec(std::string_view szHexVal) {
    // Read from the last digit to the first; the sum wraps at 32 bits.
    std::uint32_t value = 0;
    std::uint32_t weight = 1;
    for (auto it = szHexVal.rbegin(); it != szHexVal.rend(); ++it) {
        char c = *it;
        std::uint32_t digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<std::uint32_t>(c - '0');
        } else if (c >= 'A' && c <= 'F') {
            digit = static_cast<std::uint32_t>(c - 'A' + 10);
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<std::uint32_t>(c - 'a' + 10);
        } else {
            return 0;
        }
        value += digit * weight;
        weight *= 16;
    }
    return static_cast<std::int32_t>(value);
}

std::string cRegistry::HexToString(std::string_view szHexVal, std::string_view sDelimiter) {
    std::string out;
    for (const std::string& piece : text::Split(szHexVal, sDelimiter)) {
        out += StripTerminator(std::string(1, CharOf(HexToDec(piece))));
    }
    return out;
}

std::string cRegistry::GetStringFromBinaryData(std::string_view szData) {
    std::string out;
    std::string_view rest = szData;
    while (rest.find(',') != std::string_view::npos) {
        out += CharOf(HexToDec(rest.substr(0, 2)));
        rest.remove_prefix(std::min<std::size_t>(3, rest.size()));
    }
    if (!rest.empty()) out += CharOf(HexToDec(rest));
    return out;
}

std::vector<std::string> cRegistry::SplitBinaryText(std::string_view text) {
    std::string lower = text::ToLower(text);
    std::string_view rest = text;
    if (std::size_t at = lower.find("hex:"); at != std::string::npos) {
        rest.remove_prefix(at + 4);
    } else if (std::size_t bare = lower.find("hex"); bare != std::string::npos) {
        rest.remove_prefix(bare + 3);
    }
    if (rest.size() < 3) return {std::string(rest)};
    return text::Split(rest, rest.substr(1, 1));
}

std::string cRegistry::RegBinaryToStr(std::string_view sHexVal) {
    if (text::EqualsNoCase(sHexVal, "error")) return {};
    std::string out;
    for (const std::string& piece : SplitBinaryText(sHexVal)) out += piece;
    return out;
}

std::string cRegistry::GetErrorText(platform::LONG code) {
    switch (code) {
        case 2:
        case 1010:
            return "Bad Key Name";
        case 4:
        case 1012:
            return "Can't Read Key";
        case 5:
            return "Access to this key is denied";
        case 8:
        case 14:
            return "Out of memory";
        case 87:
            return "Invalid Parameter";
        case 234:
            return "There is more data than the buffer has been allocated to hold.";
        case 1009:
        case 1015:
            return "The Registry Database is corrupt!";
        case 1011:
            return "Can't Open Key";
        case 1013:
            return "Can't Write Key";
        default:
            break;
    }
    // A number turned to text keeps a blank where a minus sign would stand.
    std::string number = std::to_string(code);
    if (code >= 0) number.insert(0, 1, ' ');
    return "Undefined Error Code:  " + number;
}

}  // namespace optera::services
