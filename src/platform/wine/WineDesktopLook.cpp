#include "platform/wine/WineDesktopLook.h"

#include <sstream>

#include "platform/wine/KeyStoreText.h"

namespace optera::platform {

namespace {

std::optional<DWORD> ReadDword(KeyStore& store, HKEY root, std::string_view path,
                               std::string_view name) {
    HKEY key = 0;
    if (store.RegOpenKeyExA(root, path, 0, regaccess::Read | regaccess::Wow64_64Key, &key) !=
        regerror::Success)
        return std::nullopt;
    DWORD type = 0, value = 0, size = sizeof value;
    const LONG code =
        store.RegQueryValueExA(key, name, &type, reinterpret_cast<std::uint8_t*>(&value), &size);
    store.RegCloseKey(key);
    if (code != regerror::Success || type != regtype::Dword || size != sizeof value)
        return std::nullopt;
    return value;
}

}  // namespace

int WineDesktopLook::DotsPerInch() const {
    const std::pair<HKEY, const char*> places[] = {
        {hkey::CurrentUser, "Control Panel\\Desktop"},
        {hkey::CurrentUser, "Software\\Wine\\Fonts"},
        {hkey::LocalMachine,
         "System\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Fonts"},
    };
    for (const auto& [root, path] : places)
        if (auto dpi = ReadDword(registry_, root, path, "LogPixels");
            dpi && *dpi > 0 && *dpi < 10000)
            return static_cast<int>(*dpi);
    return 96;
}

std::optional<std::uint32_t> WineDesktopLook::SystemColour(int index) const {
    const std::string_view name = SystemColourName(index);
    if (name.empty()) return std::nullopt;
    auto text = ReadRegistryText(registry_, hkey::CurrentUser, "Control Panel\\Colors", name);
    if (!text) return std::nullopt;
    std::istringstream in(text->text);
    int red = -1, green = -1, blue = -1;
    in >> red >> green >> blue;
    if (!in || red < 0 || red > 255 || green < 0 || green > 255 || blue < 0 || blue > 255)
        return std::nullopt;
    return static_cast<std::uint32_t>(red | green << 8 | blue << 16);
}

}  // namespace optera::platform
