#pragma once
// The text rules of Wine's registry files, shared by the hive reader and writer: the case
// folding Wine orders and matches names by, the way it reads UTF-8, and its escapes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace optera::platform::regtext {

// Wine's lower-case mapping of one UTF-16 code unit.
char16_t Fold(char16_t unit);

// Reads UTF-8 as Wine's registry reader reads raw bytes: each well-formed sequence gives its
// UTF-16 code units and every byte that does not begin one is skipped. Encoded surrogates
// (ED A0..BF xx) count as well formed, so any UTF-16 text survives a trip through UTF-8.
class Utf16Reader {
  public:
    explicit Utf16Reader(std::string_view text) : text_(text) {}
    // The next code unit, or -1 at the end.
    int Next();

  private:
    std::string_view text_;
    std::size_t pos_ = 0;
    int pending_ = -1;  // the low half of a surrogate pair
};

// Length of the well-formed UTF-8 sequence at text[pos] (a byte above 0x7F) and its code
// point; 0 when there is none.
std::size_t DecodeUtf8(std::string_view text, std::size_t pos, char32_t& codePoint);

std::u16string ToUtf16(std::string_view utf8);
void AppendUtf8(std::string& out, std::u16string_view utf16);
std::string ToUtf8(std::u16string_view utf16);

// Lower-case hexadecimal digits of a number, with leading zeros up to minDigits.
void AppendHex(std::string& out, std::uint64_t value, int minDigits);

// Decodes escaped text from `pos` up to the first unescaped `end` character (to the end of
// `text` when `end` is -1), appending the code units to `out` when it is not null. Returns the
// position of `end` (text.size() when `end` is -1), or npos when the text stops first.
std::size_t Unescape(std::string_view text, std::size_t pos, int end, std::u16string* out);

// Appends `text` with Wine's escapes; a key path escapes [ and ], anything else ".
void AppendEscaped(std::string& out, std::u16string_view text, bool inKeyPath);

// Wine's order of names: code unit by code unit after folding, a prefix first.
int CompareNames(std::string_view a, std::string_view b);
inline bool SameName(std::string_view a, std::string_view b) {
    return CompareNames(a, b) == 0;
}

}  // namespace optera::platform::regtext
