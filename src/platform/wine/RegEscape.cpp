#include "platform/wine/RegEscape.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "platform/wine/RegFile.h"
#include "text/CodePage.h"

namespace optera::platform {
namespace regtext {

namespace {

// Wine's case folding: the simple lower-case mappings of the Basic Multilingual Plane, less the
// titlecase digraphs (U+01C5 ...) and the letters Windows leaves alone (U+03F4, U+1E9E, U+2126,
// U+212A, U+212B). Rows map `first`..`last`, every `step`-th unit, to unit + `delta`.
struct FoldRange {
    std::uint16_t first, last;
    std::int32_t delta;
    std::uint16_t step;
};
constexpr FoldRange kFolds[] = {
    {0x0041, 0x005a, 32, 1},     {0x00c0, 0x00d6, 32, 1},     {0x00d8, 0x00de, 32, 1},
    {0x0100, 0x012e, 1, 2},      {0x0132, 0x0136, 1, 2},      {0x0139, 0x0147, 1, 2},
    {0x014a, 0x0176, 1, 2},      {0x0178, 0x0178, -121, 1},   {0x0179, 0x017d, 1, 2},
    {0x0181, 0x0181, 210, 1},    {0x0182, 0x0184, 1, 2},      {0x0186, 0x0186, 206, 1},
    {0x0187, 0x0187, 1, 1},      {0x0189, 0x018a, 205, 1},    {0x018b, 0x018b, 1, 1},
    {0x018e, 0x018e, 79, 1},     {0x018f, 0x018f, 202, 1},    {0x0190, 0x0190, 203, 1},
    {0x0191, 0x0191, 1, 1},      {0x0193, 0x0193, 205, 1},    {0x0194, 0x0194, 207, 1},
    {0x0196, 0x0196, 211, 1},    {0x0197, 0x0197, 209, 1},    {0x0198, 0x0198, 1, 1},
    {0x019c, 0x019c, 211, 1},    {0x019d, 0x019d, 213, 1},    {0x019f, 0x019f, 214, 1},
    {0x01a0, 0x01a4, 1, 2},      {0x01a6, 0x01a6, 218, 1},    {0x01a7, 0x01a7, 1, 1},
    {0x01a9, 0x01a9, 218, 1},    {0x01ac, 0x01ac, 1, 1},      {0x01ae, 0x01ae, 218, 1},
    {0x01af, 0x01af, 1, 1},      {0x01b1, 0x01b2, 217, 1},    {0x01b3, 0x01b5, 1, 2},
    {0x01b7, 0x01b7, 219, 1},    {0x01b8, 0x01b8, 1, 1},      {0x01bc, 0x01bc, 1, 1},
    {0x01c4, 0x01c4, 2, 1},      {0x01c7, 0x01c7, 2, 1},      {0x01ca, 0x01ca, 2, 1},
    {0x01cd, 0x01db, 1, 2},      {0x01de, 0x01ee, 1, 2},      {0x01f1, 0x01f1, 2, 1},
    {0x01f4, 0x01f4, 1, 1},      {0x01f6, 0x01f6, -97, 1},    {0x01f7, 0x01f7, -56, 1},
    {0x01f8, 0x021e, 1, 2},      {0x0220, 0x0220, -130, 1},   {0x0222, 0x0232, 1, 2},
    {0x023a, 0x023a, 10795, 1},  {0x023b, 0x023b, 1, 1},      {0x023d, 0x023d, -163, 1},
    {0x023e, 0x023e, 10792, 1},  {0x0241, 0x0241, 1, 1},      {0x0243, 0x0243, -195, 1},
    {0x0244, 0x0244, 69, 1},     {0x0245, 0x0245, 71, 1},     {0x0246, 0x024e, 1, 2},
    {0x0370, 0x0372, 1, 2},      {0x0376, 0x0376, 1, 1},      {0x037f, 0x037f, 116, 1},
    {0x0386, 0x0386, 38, 1},     {0x0388, 0x038a, 37, 1},     {0x038c, 0x038c, 64, 1},
    {0x038e, 0x038f, 63, 1},     {0x0391, 0x03a1, 32, 1},     {0x03a3, 0x03ab, 32, 1},
    {0x03cf, 0x03cf, 8, 1},      {0x03d8, 0x03ee, 1, 2},      {0x03f7, 0x03f7, 1, 1},
    {0x03f9, 0x03f9, -7, 1},     {0x03fa, 0x03fa, 1, 1},      {0x03fd, 0x03ff, -130, 1},
    {0x0400, 0x040f, 80, 1},     {0x0410, 0x042f, 32, 1},     {0x0460, 0x0480, 1, 2},
    {0x048a, 0x04be, 1, 2},      {0x04c0, 0x04c0, 15, 1},     {0x04c1, 0x04cd, 1, 2},
    {0x04d0, 0x052e, 1, 2},      {0x0531, 0x0556, 48, 1},     {0x10a0, 0x10c5, 7264, 1},
    {0x10c7, 0x10c7, 7264, 1},   {0x10cd, 0x10cd, 7264, 1},   {0x13a0, 0x13ef, 38864, 1},
    {0x13f0, 0x13f5, 8, 1},      {0x1c90, 0x1cba, -3008, 1},  {0x1cbd, 0x1cbf, -3008, 1},
    {0x1e00, 0x1e94, 1, 2},      {0x1ea0, 0x1efe, 1, 2},      {0x1f08, 0x1f0f, -8, 1},
    {0x1f18, 0x1f1d, -8, 1},     {0x1f28, 0x1f2f, -8, 1},     {0x1f38, 0x1f3f, -8, 1},
    {0x1f48, 0x1f4d, -8, 1},     {0x1f59, 0x1f5f, -8, 2},     {0x1f68, 0x1f6f, -8, 1},
    {0x1f88, 0x1f8f, -8, 1},     {0x1f98, 0x1f9f, -8, 1},     {0x1fa8, 0x1faf, -8, 1},
    {0x1fb8, 0x1fb9, -8, 1},     {0x1fba, 0x1fbb, -74, 1},    {0x1fbc, 0x1fbc, -9, 1},
    {0x1fc8, 0x1fcb, -86, 1},    {0x1fcc, 0x1fcc, -9, 1},     {0x1fd8, 0x1fd9, -8, 1},
    {0x1fda, 0x1fdb, -100, 1},   {0x1fe8, 0x1fe9, -8, 1},     {0x1fea, 0x1feb, -112, 1},
    {0x1fec, 0x1fec, -7, 1},     {0x1ff8, 0x1ff9, -128, 1},   {0x1ffa, 0x1ffb, -126, 1},
    {0x1ffc, 0x1ffc, -9, 1},     {0x2132, 0x2132, 28, 1},     {0x2160, 0x216f, 16, 1},
    {0x2183, 0x2183, 1, 1},      {0x24b6, 0x24cf, 26, 1},     {0x2c00, 0x2c2f, 48, 1},
    {0x2c60, 0x2c60, 1, 1},      {0x2c62, 0x2c62, -10743, 1}, {0x2c63, 0x2c63, -3814, 1},
    {0x2c64, 0x2c64, -10727, 1}, {0x2c67, 0x2c6b, 1, 2},      {0x2c6d, 0x2c6d, -10780, 1},
    {0x2c6e, 0x2c6e, -10749, 1}, {0x2c6f, 0x2c6f, -10783, 1}, {0x2c70, 0x2c70, -10782, 1},
    {0x2c72, 0x2c72, 1, 1},      {0x2c75, 0x2c75, 1, 1},      {0x2c7e, 0x2c7f, -10815, 1},
    {0x2c80, 0x2ce2, 1, 2},      {0x2ceb, 0x2ced, 1, 2},      {0x2cf2, 0x2cf2, 1, 1},
    {0xa640, 0xa66c, 1, 2},      {0xa680, 0xa69a, 1, 2},      {0xa722, 0xa72e, 1, 2},
    {0xa732, 0xa76e, 1, 2},      {0xa779, 0xa77b, 1, 2},      {0xa77d, 0xa77d, -35332, 1},
    {0xa77e, 0xa786, 1, 2},      {0xa78b, 0xa78b, 1, 1},      {0xa78d, 0xa78d, -42280, 1},
    {0xa790, 0xa792, 1, 2},      {0xa796, 0xa7a8, 1, 2},      {0xa7aa, 0xa7aa, -42308, 1},
    {0xa7ab, 0xa7ab, -42319, 1}, {0xa7ac, 0xa7ac, -42315, 1}, {0xa7ad, 0xa7ad, -42305, 1},
    {0xa7ae, 0xa7ae, -42308, 1}, {0xa7b0, 0xa7b0, -42258, 1}, {0xa7b1, 0xa7b1, -42282, 1},
    {0xa7b2, 0xa7b2, -42261, 1}, {0xa7b3, 0xa7b3, 928, 1},    {0xa7b4, 0xa7c2, 1, 2},
    {0xa7c4, 0xa7c4, -48, 1},    {0xa7c5, 0xa7c5, -42307, 1}, {0xa7c6, 0xa7c6, -35384, 1},
    {0xa7c7, 0xa7c9, 1, 2},      {0xa7d0, 0xa7d0, 1, 1},      {0xa7d6, 0xa7d8, 1, 2},
    {0xa7f5, 0xa7f5, 1, 1},      {0xff21, 0xff3a, 32, 1}};

bool IsXDigit(int c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

int HexValue(char c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

char16_t ControlEscape(char c) {
    switch (c) {
        case 'a':
            return u'\a';
        case 'b':
            return u'\b';
        case 'e':
            return 0x1B;
        case 'f':
            return u'\f';
        case 'n':
            return u'\n';
        case 'r':
            return u'\r';
        case 't':
            return u'\t';
        case 'v':
            return u'\v';
        default:
            return 0;
    }
}

void AppendOctal(std::string& out, unsigned value, int minDigits) {
    char digits[8];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + (value & 7));
        value >>= 3;
    } while (value != 0);
    for (int i = n; i < minDigits; ++i) out += '0';
    while (n > 0) out += digits[--n];
}

}  // namespace

char16_t Fold(char16_t unit) {
    if (unit < 0x80) return unit >= 'A' && unit <= 'Z' ? static_cast<char16_t>(unit + 32) : unit;
    auto it = std::upper_bound(std::begin(kFolds), std::end(kFolds), unit,
                               [](char16_t u, const FoldRange& r) { return u < r.first; });
    if (it == std::begin(kFolds)) return unit;
    const FoldRange& range = *(it - 1);
    if (unit > range.last || (unit - range.first) % range.step != 0) return unit;
    return static_cast<char16_t>(unit + range.delta);
}

std::size_t DecodeUtf8(std::string_view text, std::size_t pos, char32_t& codePoint) {
    const auto lead = static_cast<unsigned char>(text[pos]);
    std::size_t length;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        codePoint = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (text.size() - pos < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[pos + i]);
        if ((byte & 0xC0) != 0x80) return 0;
        codePoint = (codePoint << 6) | (byte & 0x3F);
    }
    if (length == 3 && codePoint < 0x800) return 0;
    if (length == 4 && (codePoint < 0x10000 || codePoint > 0x10FFFF)) return 0;
    return length;
}

int Utf16Reader::Next() {
    if (pending_ >= 0) {
        const int unit = pending_;
        pending_ = -1;
        return unit;
    }
    while (pos_ < text_.size()) {
        const auto byte = static_cast<unsigned char>(text_[pos_]);
        if (byte < 0x80) {
            ++pos_;
            return byte;
        }
        char32_t c;
        const std::size_t length = DecodeUtf8(text_, pos_, c);
        if (length == 0) {
            ++pos_;
            continue;
        }
        pos_ += length;
        if (c < 0x10000) return static_cast<int>(c);
        c -= 0x10000;
        pending_ = static_cast<int>(0xDC00 | (c & 0x3FF));
        return static_cast<int>(0xD800 | (c >> 10));
    }
    return -1;
}

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    Utf16Reader reader(utf8);
    for (int unit = reader.Next(); unit >= 0; unit = reader.Next())
        out += static_cast<char16_t>(unit);
    return out;
}

void AppendUtf8(std::string& out, std::u16string_view utf16) {
    // A lone surrogate travels as a three-byte sequence, which Wine's reader takes back.
    out += text::Utf8FromUtf16(utf16);
}

void AppendHex(std::string& out, std::uint64_t value, int minDigits) {
    char digits[16];
    int n = 0;
    do {
        digits[n++] = "0123456789abcdef"[value & 0xF];
        value >>= 4;
    } while (value != 0);
    for (int i = n; i < minDigits; ++i) out += '0';
    while (n > 0) out += digits[--n];
}

std::string ToUtf8(std::u16string_view utf16) {
    std::string out;
    out.reserve(utf16.size());
    AppendUtf8(out, utf16);
    return out;
}

std::size_t Unescape(std::string_view text, std::size_t pos, int end, std::u16string* out) {
    const std::size_t n = text.size();
    if (!out) {
        // Only the end is wanted. An escape never ends on the end character: the character after
        // a backslash is taken whatever it is, and the digits of \x and octal escapes and the
        // bytes of UTF-8 sequences are never it.
        for (; pos < n; ++pos) {
            if (static_cast<unsigned char>(text[pos]) == end) return pos;
            if (text[pos] == '\\' && ++pos == n) return std::string_view::npos;
        }
        return end < 0 ? n : std::string_view::npos;
    }
    auto put = [out](unsigned unit) {
        if (out) *out += static_cast<char16_t>(unit);
    };
    while (pos < n) {
        if (static_cast<unsigned char>(text[pos]) == end) return pos;
        if (text[pos] == '\\') {
            // A backslash as the last character escapes the end of the line: Wine's reader runs
            // past it, so the text has no end.
            if (++pos == n) return std::string_view::npos;
            const char c = text[pos];
            if (const char16_t control = ControlEscape(c)) {
                put(control);
                ++pos;
                continue;
            }
            if (c == 'x') {  // up to four hex digits; without one it is the letter
                unsigned unit = 0;
                ++pos;
                if (pos < n && IsXDigit(text[pos])) {
                    for (int i = 0; i < 4 && pos < n && IsXDigit(text[pos]); ++i, ++pos)
                        unit = unit * 16 + HexValue(text[pos]);
                } else {
                    unit = 'x';
                }
                put(unit);
                continue;
            }
            if (c >= '0' && c <= '7') {  // up to three octal digits
                unsigned unit = c - '0';
                ++pos;
                for (int i = 0; i < 2 && pos < n && text[pos] >= '0' && text[pos] <= '7';
                     ++i, ++pos)
                    unit = unit * 8 + (text[pos] - '0');
                put(unit);
                continue;
            }
            // Any other character stands for itself, the backslash dropped.
        }
        const auto byte = static_cast<unsigned char>(text[pos]);
        if (byte < 0x80) {
            put(byte);
            ++pos;
            continue;
        }
        char32_t c;
        const std::size_t length = DecodeUtf8(text, pos, c);
        if (length == 0) {  // not UTF-8: Wine skips the byte
            ++pos;
            continue;
        }
        pos += length;
        if (c < 0x10000) {
            put(c);
        } else {
            put(0xD800 | ((c - 0x10000) >> 10));
            put(0xDC00 | ((c - 0x10000) & 0x3FF));
        }
    }
    return end < 0 ? n : std::string_view::npos;
}

void AppendEscaped(std::string& out, std::u16string_view text, bool inKeyPath) {
    static constexpr char kLetters[33] = ".......abtnvfr.............e....";
    const char quote1 = inKeyPath ? '[' : '"';
    const char quote2 = inKeyPath ? ']' : '"';
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        const bool hasNext = i + 1 < text.size();
        const char16_t next = hasNext ? text[i + 1] : 0;
        if (c > 127) {
            // A hex digit after the escape would be read as part of it: write all four digits.
            out += "\\x";
            AppendHex(out, c, hasNext && next < 128 && IsXDigit(next) ? 4 : 1);
        } else if (c < 32) {
            out += '\\';
            if (kLetters[c] != '.')
                out += kLetters[c];
            else
                AppendOctal(out, c, hasNext && next >= '0' && next <= '7' ? 3 : 1);
        } else {
            if (c == '\\' || c == quote1 || c == quote2) out += '\\';
            out += static_cast<char>(c);
        }
    }
}

int CompareNames(std::string_view a, std::string_view b) {
    Utf16Reader left(a), right(b);
    for (;;) {
        const int x = left.Next(), y = right.Next();
        if (x < 0 || y < 0) return x == y ? 0 : (x < 0 ? -1 : 1);
        const int fx = Fold(static_cast<char16_t>(x)), fy = Fold(static_cast<char16_t>(y));
        if (fx != fy) return fx < fy ? -1 : 1;
    }
}

}  // namespace regtext

std::string EscapeRegString(std::u16string_view text, bool inKeyPath) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    regtext::AppendEscaped(out, text, inKeyPath);
    return out;
}

std::optional<std::u16string> UnescapeRegString(std::string_view text) {
    std::u16string out;
    if (regtext::Unescape(text, 0, -1, &out) == std::string_view::npos) return std::nullopt;
    return out;
}

}  // namespace optera::platform
