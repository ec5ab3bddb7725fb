#include "services/ProfileFileText.h"

#include "text/CodePage.h"

namespace optera::services {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LeMark = "\xFF\xFE";
constexpr std::string_view kUtf16BeMark = "\xFE\xFF";

}  // namespace

ProfileFileText ProfileFileText::Decode(std::string_view bytes) {
    ProfileFileText file;
    if (bytes.starts_with(kUtf16LeMark) || bytes.starts_with(kUtf16BeMark)) {
        file.encoding_ = bytes.starts_with(kUtf16LeMark) ? Encoding::Utf16Le : Encoding::Utf16Be;
        bytes.remove_prefix(2);
        if (bytes.size() % 2 != 0) file.oddByte_ = bytes.substr(bytes.size() - 1);
        file.text_ =
            text::Utf8FromUtf16(text::Utf16FromBytes(bytes, file.encoding_ == Encoding::Utf16Be));
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
                .append(text::Utf16Bytes(text::Utf16FromUtf8(text), bigEndian))
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
