#include "platform/fake/FakeMachine.h"

namespace optera::platform {

namespace {
std::string SettingKey(std::string_view app, std::string_view section, std::string_view key) {
    std::string out(app);
    out.append("\\").append(section).append("\\").append(key);
    return out;
}
}  // namespace

std::string FakeEnvironment::Get(std::string_view name) const {
    auto it = variables.find(name);
    return it == variables.end() ? std::string() : it->second;
}

std::optional<std::string> FakeSpecialFolders::Path(int id) const {
    auto it = folders.find(id);
    if (it == folders.end()) return std::nullopt;
    return it->second;
}

std::string FakeUserSettings::Get(std::string_view app, std::string_view section,
                                  std::string_view key, std::string_view fallback) const {
    auto it = values.find(SettingKey(app, section, key));
    return it == values.end() ? std::string(fallback) : it->second;
}

bool FakeUserSettings::Set(std::string_view app, std::string_view section, std::string_view key,
                           std::string_view value) {
    values[SettingKey(app, section, key)] = std::string(value);
    return true;
}

bool FakeDesktopShortcuts::Create(std::string_view linkName, const ShellLink& link) {
    if (failCreate) return false;
    links[std::string(linkName)] = link;
    return true;
}

void FakeDesktopShortcuts::Remove(std::string_view linkName) {
    if (auto it = links.find(linkName); it != links.end()) links.erase(it);
}

}  // namespace optera::platform
