#include "text/CodePage.h"

#include <algorithm>
#include <iterator>

namespace optera::text {

namespace {

// Windows-1252 0x80..0x9F; the five bytes the code page leaves undefined stand for the C1
// control characters of the same number, as Windows converts them.
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char ByteOf(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<char>(unit);
    const auto* found = std::find(std::begin(kHighControls), std::end(kHighControls), unit);
    if (found == std::end(kHighControls)) return '?';
    return static_cast<char>(0x80 + (found - std::begin(kHighControls)));
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// The code point of the UTF-8 sequence at text[i], advancing i; U+FFFD for a bad sequence.
char32_t NextCodePoint(std::string_view text, std::size_t& i) {
    const auto lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80) return lead;
    int more = lead >= 0xF0 && lead < 0xF5 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : -1;
    if (lead >= 0xF5) more = -1;
    if (more < 0 || i + more > text.size()) return 0xFFFD;
    char32_t c = lead & (0x3F >> more);
    for (int k = 0; k < more; ++k) {
        const auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80) return 0xFFFD;
        c = (c << 6) | (next & 0x3F);
    }
    i += more;
    const char32_t least[] = {0, 0x80, 0x800, 0x10000};
    return c < least[more] || c > 0x10FFFF ? 0xFFFD : c;
}

}  // namespace

std::u16string Utf16FromCodePage(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (char byte : bytes) {
        const auto b = static_cast<unsigned char>(byte);
        text += b >= 0x80 && b < 0xA0 ? kHighControls[b - 0x80] : static_cast<char16_t>(b);
    }
    return text;
}

std::string CodePageFromUtf16(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (char16_t unit : text) bytes += ByteOf(unit);
    return bytes;
}

std::u16string Utf16FromUtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        char32_t c = NextCodePoint(text, i);
        if (c < 0x10000) {
            out += static_cast<char16_t>(c);
        } else {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        }
    }
    return out;
}

std::string Utf8FromUtf16(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        }
        AppendUtf8(out, c);
    }
    return out;
}

std::string Utf16Bytes(std::u16string_view units, bool bigEndian) {
    std::string bytes;
    bytes.reserve(units.size() * 2);
    for (char16_t unit : units) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

std::u16string Utf16FromBytes(std::string_view bytes, bool bigEndian) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    return units;
}

}  // namespace optera::text
