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

// Shortcuts kept by name; Create fails while `failCreate` is set, saying `failure`.
class FakeDesktopShortcuts : public DesktopShortcuts {
  public:
    std::map<std::string, ShellLink, text::LessNoCase> links;
    bool failCreate = false;
    std::string failure = "the disk is full";
    bool Create(std::string_view linkName, const ShellLink& link) override;
    void Remove(std::string_view linkName) override;
    std::string LastError() const override { return failCreate ? failure : std::string(); }
};

class FakeUserSettings : public UserSettings {
  public:
    std::map<std::string, std::string, text::LessNoCase> values;  // "app\section\key"
    std::string Get(std::string_view app, std::string_view section, std::string_view key,
                    std::string_view fallback) const override;
    bool Set(std::string_view app, std::string_view section, std::string_view key,
             std::string_view value) override;
};

// A display with the modes and devices a test gives it.
class FakeDisplay : public Display {
  public:
    std::vector<DisplayMode> modes;  // of display 1
    std::optional<DisplayMode> current;
    std::vector<DisplayAdapter> adapters;
    std::vector<std::string> controllers;
    std::vector<DisplayMode> Modes(int display) const override {
        return display == 1 ? modes : std::vector<DisplayMode>{};
    }
    std::optional<DisplayMode> Current() const override { return current; }
    std::vector<DisplayAdapter> Adapters() const override { return adapters; }
    std::vector<std::string> VideoControllerIds() const override { return controllers; }
};

// Keeps what was opened and started; each fails while its flag is set.
class FakeShell : public Shell {
  public:
    std::vector<std::string> opened;
    std::vector<std::pair<std::string, std::string>> started;
    bool failOpen = false;
    bool failStart = false;
    bool Open(std::string_view target) override {
        if (failOpen) return false;
        opened.emplace_back(target);
        return true;
    }
    bool Start(std::string_view program, std::string_view argument) override {
        if (failStart) return false;
        started.emplace_back(program, argument);
        return true;
    }
};

// The change lock of a machine in memory. While `heldElsewhere` is set another Optera holds it:
// Acquire fails at once with `busyReason`.
class FakeChangeLock : public ChangeLock {
  public:
    bool heldElsewhere = false;
    std::string busyReason = "Another Optera is busy changing this machine.";
    // True while this program holds the lock.
    bool held() const { return depth_ > 0; }

    std::string Acquire() override {
        if (depth_ == 0 && heldElsewhere) return busyReason;
        ++depth_;
        return {};
    }
    void Release() override {
        if (depth_ > 0) --depth_;
    }

  private:
    int depth_ = 0;
};

// A desktop of 96 dots per inch with the default colours, unless a test sets its own.
class FakeDesktopLook : public DesktopLook {
  public:
    int dotsPerInch = 96;
    std::map<int, std::uint32_t> colours;
    int DotsPerInch() const override { return dotsPerInch; }
    std::optional<std::uint32_t> SystemColour(int index) const override {
        auto it = colours.find(index);
        return it == colours.end() ? std::nullopt : std::optional<std::uint32_t>(it->second);
    }
};

class FakeSingleInstance : public SingleInstance {
  public:
    bool anotherRunning = false;
    bool AnotherIsRunning() override { return anotherRunning; }
};

struct FakeMachine {
    FakeFileSystem files;
    FakeKeyStore registry{true};  // a 64-bit machine, with both views
    FakeEnvironment environment;
    FakeSpecialFolders specialFolders;
    FakeUserSettings userSettings;
    FakeDesktopShortcuts shortcuts;
    FakeDisplay display;
    FakeShell shell;
    FakeChangeLock changeLock;
    FakeDesktopLook look;
    FakeSingleInstance instance;

    Machine machine() {
        return Machine{files,   registry, environment, specialFolders, userSettings, shortcuts,
                       display, shell,    changeLock,  look,           instance};
    }
};

}  // namespace optera::platform
