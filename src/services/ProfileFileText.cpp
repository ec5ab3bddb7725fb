#include "services/ProfileFileText.h"

#include "text/CodePage.h"

namespace optera::services {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LeMark = "\xFF\xFE";
constexpr std::string_view kUtf16BeMark = "\xFE\xFF";

std::u16string Utf16Units(std::string_view bytes, bool bigEndian) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    return units;
}

std::string Utf16Bytes(std::u16string_view units, bool bigEndian) {
    std::string bytes;
    bytes.reserve(units.size() * 2);
    for (char16_t unit : units) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        bytes += bigEndian ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

}  // namespace

ProfileFileText ProfileFileText::Decode(std::string_view bytes) {
    ProfileFileText file;
    if (bytes.starts_with(kUtf16LeMark) || bytes.starts_with(kUtf16BeMark)) {
        file.encoding_ = bytes.starts_with(kUtf16LeMark) ? Encoding::Utf16Le : Encoding::Utf16Be;
        bytes.remove_prefix(2);
        if (bytes.size() % 2 != 0) file.oddByte_ = bytes.substr(bytes.size() - 1);
        file.text_ = text::Utf8FromUtf16(Utf16Units(bytes, file.encoding_ == Encoding::Utf16Be));
    } else if (bytes.starts_with(kUtf8Mark)) {
        file.encoding_ = Encoding::Utf8;
        file.text_ = bytes.substr(kUtf8Mark.size());
    } else {
        file.text_ = bytes;
    }
    return file;
}

std::string ProfileFileText::Encode(std::string_view text) const {
    switch (encoding_) {
        case Encoding::CodePage:
            return std::string(text);
        case Encoding::Utf8:
            return std::string(kUtf8Mark).append(text);
        case Encoding::Utf16Le:
        case Encoding::Utf16Be: {
            const bool bigEndian = encoding_ == Encoding::Utf16Be;
            return std::string(bigEndian ? kUtf16BeMark : kUtf16LeMark)
                .append(Utf16Bytes(text::Utf16FromUtf8(text), bigEndian))
                .append(oddByte_);
        }
    }
    return std::string(text);
}

std::string ProfileFileText::FromCaller(std::string_view codePage) const {
    return encoding_ == Encoding::CodePage ? std::string(codePage)
                                           : text::Utf8FromCodePage(codePage);
}

std::string ProfileFileText::ToCaller(std::string_view text) const {
    return encoding_ == Encoding::CodePage ? std::string(text) : text::CodePageFromUtf8(text);
}

}  // namespace optera::services
