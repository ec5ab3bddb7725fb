#include "platform/DirectoryOrder.h"

#include <algorithm>
#include <array>

#include "text/CodePage.h"
#include "text/NoCase.h"

namespace optera::platform {

namespace {

// The UTF-16 unit of a Windows-1252 byte after upper-casing, from a table made once.
char16_t UpperUnit(char byte) {
    static const std::array<char16_t, 256> kUnits = [] {
        std::array<char16_t, 256> units{};
        for (int b = 0; b < 256; ++b) {
            const char upper = text::FoldUpper(static_cast<char>(b));
            units[static_cast<std::size_t>(b)] =
                text::Utf16FromCodePage(std::string_view(&upper, 1))[0];
        }
        return units;
    }();
    return kUnits[static_cast<unsigned char>(byte)];
}

}  // namespace

bool DirectoryOrderLess(std::string_view a, std::string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const char16_t x = UpperUnit(a[i]);
        const char16_t y = UpperUnit(b[i]);
        if (x != y) return x < y;
    }
    if (a.size() != b.size()) return a.size() < b.size();
    return a < b;
}

void SortInDirectoryOrder(std::vector<DirEntry>& entries) {
    std::sort(entries.begin(), entries.end(), [](const DirEntry& a, const DirEntry& b) {
        return DirectoryOrderLess(a.name, b.name);
    });
}

}  // namespace optera::platform
