#include "platform/KeyStore.h"

#include "text/CodePage.h"

namespace optera::platform {

namespace {

// The longest name the registry allows, in characters, and the largest value read here.
constexpr DWORD kLongestName = 16383;

std::string Narrow(std::u16string_view text) {
    return text::CodePageFromUtf16(text);
}

std::u16string Wide(std::string_view text) {
    return text::Utf16FromCodePage(text);
}

// String data between the two paths: UTF-16LE bytes for "W", code page bytes for "A".
std::vector<std::uint8_t> WideData(DWORD type, std::vector<std::uint8_t> data) {
    if (!IsStringType(type)) return data;
    std::vector<std::uint8_t> wide;
    for (char16_t unit :
         Wide(std::string_view(reinterpret_cast<const char*>(data.data()), data.size()))) {
        wide.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        wide.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return wide;
}

std::vector<std::uint8_t> NarrowData(DWORD type, const std::vector<std::uint8_t>& data) {
    if (!IsStringType(type)) return data;
    std::u16string units;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        units += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    std::string narrow = Narrow(units);
    return std::vector<std::uint8_t>(narrow.begin(), narrow.end());
}

}  // namespace

LONG KeyStore::RegOpenKeyExW(HKEY key, std::u16string_view subKey, DWORD options, REGSAM access,
                             HKEY* result) {
    return RegOpenKeyExA(key, Narrow(subKey), options, access, result);
}

LONG KeyStore::RegCreateKeyExW(HKEY key, std::u16string_view subKey, REGSAM access, HKEY* result,
                               DWORD* disposition) {
    return RegCreateKeyExA(key, Narrow(subKey), 0, "", 0, access, result, disposition);
}

LONG KeyStore::RegEnumKeyExW(HKEY key, DWORD index, std::u16string& name) {
    std::string buffer(kLongestName + 1, '\0');
    DWORD length = kLongestName + 1;
    LONG code = RegEnumKeyExA(key, index, buffer.data(), &length, nullptr, nullptr, nullptr);
    if (code == regerror::Success) name = Wide(std::string_view(buffer.data(), length));
    return code;
}

LONG KeyStore::RegEnumValueW(HKEY key, DWORD index, std::u16string& name, DWORD& type,
                             std::vector<std::uint8_t>& data) {
    DWORD longestData = 0;
    if (LONG code = RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     &longestData, nullptr))
        return code;
    std::string buffer(kLongestName + 1, '\0');
    DWORD length = kLongestName + 1;
    std::vector<std::uint8_t> bytes(longestData + 1);
    DWORD size = static_cast<DWORD>(bytes.size());
    LONG code = RegEnumValueA(key, index, buffer.data(), &length, &type, bytes.data(), &size);
    if (code != regerror::Success) return code;
    bytes.resize(size);
    name = Wide(std::string_view(buffer.data(), length));
    data = WideData(type, std::move(bytes));
    return code;
}

LONG KeyStore::RegQueryValueExW(HKEY key, std::u16string_view valueName, DWORD& type,
                                std::vector<std::uint8_t>& data) {
    const std::string name = Narrow(valueName);
    DWORD size = 0;
    if (LONG code = RegQueryValueExA(key, name, &type, nullptr, &size)) return code;
    std::vector<std::uint8_t> bytes(size);
    if (LONG code = RegQueryValueExA(key, name, &type, bytes.data(), &size)) return code;
    bytes.resize(size);
    data = WideData(type, std::move(bytes));
    return regerror::Success;
}

LONG KeyStore::RegSetValueExW(HKEY key, std::u16string_view valueName, DWORD type,
                              const std::vector<std::uint8_t>& data) {
    std::vector<std::uint8_t> bytes = NarrowData(type, data);
    const auto size = static_cast<DWORD>(bytes.size());
    // The "A" operation looks at the byte after the data to tell a string counted without its
    // terminator; a byte that is not NUL there stores the data exactly as given.
    bytes.push_back(1);
    return RegSetValueExA(key, Narrow(valueName), type, bytes.data(), size);
}

LONG KeyStore::RegDeleteValueW(HKEY key, std::u16string_view valueName) {
    return RegDeleteValueA(key, Narrow(valueName));
}

LONG KeyStore::RegDeleteKeyExW(HKEY key, std::u16string_view subKey, REGSAM access) {
    return RegDeleteKeyExA(key, Narrow(subKey), access, 0);
}

}  // namespace optera::platform
