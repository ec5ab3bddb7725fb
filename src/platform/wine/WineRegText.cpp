#include "platform/wine/WineRegText.h"

#include <algorithm>

#include "platform/wine/RegEscape.h"

namespace optera::platform {

std::vector<std::uint8_t> Utf16LeBytes(std::u16string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() * 2);
    for (char16_t unit : text) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

std::u16string Utf16FromLeBytes(const std::vector<std::uint8_t>& bytes) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        text += static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
    return text;
}

std::u16string FoldName(std::string_view utf8) {
    std::u16string text = Utf16FromUtf8(utf8);
    for (char16_t& unit : text) unit = regtext::Fold(unit);
    return text;
}

int CompareFoldedNames(std::u16string_view a, std::u16string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i)
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

}  // namespace optera::platform
