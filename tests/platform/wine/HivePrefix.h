#pragma once
// Hive files written by hand for the registry tests, and short ways to read and write a key
// store from a test.

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/WinePrefix.h"
#include "platform/KeyStore.h"

namespace optera::testing {

using platform::DWORD;
using platform::HKEY;
using platform::KeyStore;
using platform::LONG;
using platform::REGSAM;

// A hive file as Wine writes one: its header, the #arch line, then `body`.
inline std::string HiveText(std::string_view arch, std::string_view body,
                            std::string_view root = "\\\\Machine") {
    return "WINE REGISTRY Version 2\n;; All keys relative to " + std::string(root) +
           "\n\n#arch=" + std::string(arch) + "\n\n" + std::string(body);
}

// The data of a REG_LINK value that points at `target` (ASCII), as a hive file holds it.
inline std::string LinkData(std::string_view target) {
    std::string hex = "hex(6):";
    for (char c : target) {
        char pair[8];
        std::snprintf(pair, sizeof pair, "%02x,00,", static_cast<unsigned char>(c));
        hex += pair;
    }
    hex.pop_back();
    return hex;
}

// A value's type and bytes as the store gives them; nullopt when key or value fails.
struct ReadValue {
    DWORD type = 0;
    std::string bytes;
    bool operator==(const ReadValue&) const = default;
};

inline std::optional<ReadValue> Read(KeyStore& store, HKEY root, std::string_view path,
                                     std::string_view name, REGSAM access = 0) {
    HKEY key = 0;
    if (store.RegOpenKeyExA(root, path, 0, access | 0x20019, &key) != 0) return std::nullopt;
    ReadValue value;
    DWORD size = 0;
    LONG code = store.RegQueryValueExA(key, name, &value.type, nullptr, &size);
    value.bytes.assign(size, '\0');
    if (code == 0)
        code = store.RegQueryValueExA(key, name, &value.type,
                                      reinterpret_cast<std::uint8_t*>(value.bytes.data()), &size);
    store.RegCloseKey(key);
    if (code != 0) return std::nullopt;
    return value;
}

// A string value's text without its NUL; "<missing>" when key or value fails.
inline std::string ReadText(KeyStore& store, HKEY root, std::string_view path,
                            std::string_view name, REGSAM access = 0) {
    auto value = Read(store, root, path, name, access);
    if (!value) return "<missing>";
    return value->bytes.substr(0, value->bytes.find('\0'));
}

// Makes the key as needed and sets a value; the first code that is not 0.
inline LONG Write(KeyStore& store, HKEY root, std::string_view path, std::string_view name,
                  DWORD type, std::string_view bytes, REGSAM access = 0) {
    HKEY key = 0;
    LONG code = store.RegCreateKeyExA(root, path, 0, "", 0, access | 0x20006, &key, nullptr);
    if (code != 0) return code;
    code =
        store.RegSetValueExA(key, name, type, reinterpret_cast<const std::uint8_t*>(bytes.data()),
                             static_cast<DWORD>(bytes.size()));
    store.RegCloseKey(key);
    return code;
}

// A REG_SZ's bytes: the text and its NUL.
inline std::string Sz(std::string_view text) {
    return std::string(text) + '\0';
}

// Subkey names in the store's order; {"<missing>"} when the key does not open.
inline std::vector<std::string> Subkeys(KeyStore& store, HKEY root, std::string_view path,
                                        REGSAM access = 0) {
    HKEY key = 0;
    if (store.RegOpenKeyExA(root, path, 0, access | 0x20019, &key) != 0) return {"<missing>"};
    std::vector<std::string> names;
    char name[256];
    DWORD length = sizeof name;
    for (DWORD i = 0; store.RegEnumKeyExA(key, i, name, &length, nullptr, nullptr, nullptr) == 0;
         ++i, length = sizeof name)
        names.emplace_back(name, length);
    store.RegCloseKey(key);
    return names;
}

}  // namespace optera::testing
