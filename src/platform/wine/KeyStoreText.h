#pragma once
// Reading string values through any key store, for the parts of the Wine machine that take
// their settings from the prefix's registry (environment, shell folders).

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/KeyStore.h"

namespace optera::platform {

// A REG_SZ or REG_EXPAND_SZ value's text up to its first NUL, and its type.
struct RegistryText {
    DWORD type = regtype::Sz;
    std::string text;
};

// The string value `name` of the key `path` below `root`, read in the 64-bit view unless
// `access` says otherwise; nullopt when the key or the value is missing or holds no string.
std::optional<RegistryText> ReadRegistryText(KeyStore& store, HKEY root, std::string_view path,
                                             std::string_view name,
                                             REGSAM access = regaccess::Read |
                                                             regaccess::Wow64_64Key);

// Every string value of a key, with its name, in the store's order.
std::vector<std::pair<std::string, RegistryText>> ReadRegistryTexts(
    KeyStore& store, HKEY root, std::string_view path,
    REGSAM access = regaccess::Read | regaccess::Wow64_64Key);

}  // namespace optera::platform
