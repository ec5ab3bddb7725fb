#include "platform/wine/KeyStoreText.h"

#include <cstdint>

namespace optera::platform {

namespace {

// Closes a key when it goes.
class OpenKey {
  public:
    OpenKey(KeyStore& store, HKEY root, std::string_view path, REGSAM access) : store_(store) {
        if (store.RegOpenKeyExA(root, path, 0, access, &key_) != regerror::Success) key_ = 0;
    }
    ~OpenKey() {
        if (key_) store_.RegCloseKey(key_);
    }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    HKEY key() const { return key_; }

  private:
    KeyStore& store_;
    HKEY key_ = 0;
};

std::optional<RegistryText> TextOf(DWORD type, const std::string& data) {
    if (type != regtype::Sz && type != regtype::ExpandSz) return std::nullopt;
    return RegistryText{type, data.substr(0, data.find('\0'))};
}

}  // namespace

std::optional<RegistryText> ReadRegistryText(KeyStore& store, HKEY root, std::string_view path,
                                             std::string_view name, REGSAM access) {
    OpenKey key(store, root, path, access);
    DWORD type = 0;
    DWORD size = 0;
    if (!key.key() ||
        store.RegQueryValueExA(key.key(), name, &type, nullptr, &size) != regerror::Success)
        return std::nullopt;
    std::string data(size, '\0');
    if (store.RegQueryValueExA(key.key(), name, &type, reinterpret_cast<std::uint8_t*>(data.data()),
                               &size) != regerror::Success)
        return std::nullopt;
    data.resize(size);
    return TextOf(type, data);
}

std::vector<std::pair<std::string, RegistryText>> ReadRegistryTexts(KeyStore& store, HKEY root,
                                                                    std::string_view path,
                                                                    REGSAM access) {
    std::vector<std::pair<std::string, RegistryText>> texts;
    OpenKey key(store, root, path, access);
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD longestData = 0;
    if (!key.key() || store.RegQueryInfoKeyA(key.key(), nullptr, nullptr, nullptr, nullptr, &count,
                                             &longestName, &longestData, nullptr) != 0)
        return texts;
    for (DWORD index = 0; index < count; ++index) {
        std::string name(longestName + 1, '\0');
        std::string data(longestData + 1, '\0');
        DWORD nameLength = longestName + 1;
        DWORD dataLength = longestData + 1;
        DWORD type = 0;
        if (store.RegEnumValueA(key.key(), index, name.data(), &nameLength, &type,
                                reinterpret_cast<std::uint8_t*>(data.data()),
                                &dataLength) != regerror::Success)
            continue;
        data.resize(dataLength);
        if (auto text = TextOf(type, data)) texts.emplace_back(name.substr(0, nameLength), *text);
    }
    return texts;
}

}  // namespace optera::platform
