#pragma once
// The text conversions between the key store's callers and Wine's registry files: callers pass
// names and strings in the Windows-1252 code page, the hive files (RegFile) hold names in UTF-8
// and string data in UTF-16LE. Also the way Wine compares and orders key and value names.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "text/CodePage.h"

namespace optera::platform {

// The code-page and Unicode conversions live with the other text rules.
using text::CodePageFromUtf16;
using text::CodePageFromUtf8;
using text::Utf16FromCodePage;
using text::Utf16FromUtf8;
using text::Utf8FromCodePage;
using text::Utf8FromUtf16;

// UTF-16 text as little-endian bytes, and back (an odd last byte is dropped).
std::vector<std::uint8_t> Utf16LeBytes(std::u16string_view text);
std::u16string Utf16FromLeBytes(const std::vector<std::uint8_t>& bytes);

// A name in the form Wine compares it: each UTF-16 unit through Wine's lower-case table.
std::u16string FoldName(std::string_view utf8);
// Wine's order of names: folded units compared one by one, then the shorter name first. Zero
// means the names are the same name.
int CompareFoldedNames(std::u16string_view a, std::u16string_view b);

}  // namespace optera::platform
