#pragma once
// Conversions between the program's 8-bit text (the Windows-1252 code page), UTF-16 (what
// Windows keeps in the registry and XML parsers hold) and UTF-8 (what Linux names files in).

#include <string>
#include <string_view>

namespace optera::text {

// Windows-1252 bytes to UTF-16, one unit per byte.
std::u16string Utf16FromCodePage(std::string_view bytes);
// UTF-16 to Windows-1252, one byte per unit; units the code page lacks become '?'.
std::string CodePageFromUtf16(std::u16string_view text);

// UTF-8 to UTF-16 and back. Surrogates without their pair travel as three-byte sequences, so
// that any UTF-16 name comes back as it went; bytes that are not UTF-8 become U+FFFD.
std::u16string Utf16FromUtf8(std::string_view text);
std::string Utf8FromUtf16(std::u16string_view text);

// UTF-16 code units as bytes, low byte first unless `bigEndian`, and back; a last odd byte is
// left out.
std::string Utf16Bytes(std::u16string_view units, bool bigEndian = false);
std::u16string Utf16FromBytes(std::string_view bytes, bool bigEndian = false);

// True when every byte is 7-bit: the text reads the same in UTF-8 and in the code page.
inline bool IsAscii(std::string_view bytes) {
    for (char c : bytes)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

inline std::string Utf8FromCodePage(std::string_view bytes) {
    return Utf8FromUtf16(Utf16FromCodePage(bytes));
}
inline std::string CodePageFromUtf8(std::string_view text) {
    return CodePageFromUtf16(Utf16FromUtf8(text));
}

}  // namespace optera::text
