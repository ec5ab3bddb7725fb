#include "cli/TerminalText.h"

#include "text/CodePage.h"

namespace optera::cli {

namespace {

bool IsUtf8(std::string_view text) {
    size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        size_t length = lead < 0x80           ? 1
                        : (lead >> 5) == 0x6  ? 2
                        : (lead >> 4) == 0xE  ? 3
                        : (lead >> 3) == 0x1E ? 4
                                              : 0;
        if (length == 0 || i + length > text.size()) return false;
        for (size_t k = 1; k < length; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        i += length;
    }
    return true;
}

nlohmann::ordered_json Converted(const nlohmann::ordered_json& value) {
    if (value.is_string()) return Utf8(value.get_ref<const std::string&>());
    if (value.is_array()) {
        auto array = nlohmann::ordered_json::array();
        for (const auto& item : value) array.push_back(Converted(item));
        return array;
    }
    if (value.is_object()) {
        auto object = nlohmann::ordered_json::object();
        for (const auto& [key, item] : value.items()) object[Utf8(key)] = Converted(item);
        return object;
    }
    return value;
}

}  // namespace

std::string Utf8(std::string_view text) {
    return text::Utf8FromCodePage(text);
}

std::string FromTerminal(std::string_view text) {
    return IsUtf8(text) ? text::CodePageFromUtf8(text) : std::string(text);
}

std::string JsonText(const nlohmann::ordered_json& document, int indent) {
    return Converted(document).dump(indent);
}

}  // namespace optera::cli
