#pragma once
// A whole machine in memory for tests: files, registry, environment, special folders, user
// settings.

#include <map>

#include "platform/Machine.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/FakeKeyStore.h"

namespace optera::platform {

class FakeEnvironment : public Environment {
  public:
    std::map<std::string, std::string, text::LessNoCase> variables;
    std::string Get(std::string_view name) const override;
};

class FakeSpecialFolders : public SpecialFolders {
  public:
    std::map<int, std::string> folders;
    std::optional<std::string> Path(int id) const override;
};

// Shortcuts kept by name; Create fails while `failCreate` is set.
class FakeDesktopShortcuts : public DesktopShortcuts {
  public:
    std::map<std::string, ShellLink, text::LessNoCase> links;
    bool failCreate = false;
    bool Create(std::string_view linkName, const ShellLink& link) override;
    void Remove(std::string_view linkName) override;
};

class FakeUserSettings : public UserSettings {
  public:
    std::map<std::string, std::string, text::LessNoCase> values;  // "app\section\key"
    std::string Get(std::string_view app, std::string_view section, std::string_view key,
                    std::string_view fallback) const override;
    bool Set(std::string_view app, std::string_view section, std::string_view key,
             std::string_view value) override;
};

struct FakeMachine {
    FakeFileSystem files;
    FakeKeyStore registry{true};  // a 64-bit machine, with both views
    FakeEnvironment environment;
    FakeSpecialFolders specialFolders;
    FakeUserSettings userSettings;
    FakeDesktopShortcuts shortcuts;

    Machine machine() {
        return Machine{files, registry, environment, specialFolders, userSettings, shortcuts};
    }
};

}  // namespace optera::platform
