#pragma once
// A Wine prefix as the machine Optera works on: its files, its registry, the environment and
// special folders a process in it sees (taken from that registry), and the user's settings.

#include <filesystem>

#include "platform/Machine.h"
#include "platform/wine/HostDisplay.h"
#include "platform/wine/HostShell.h"
#include "platform/wine/HostSingleInstance.h"
#include "platform/wine/PrefixChangeLock.h"
#include "platform/wine/UserSettingsFile.h"
#include "platform/wine/WineDesktopLook.h"
#include "platform/wine/WineDesktopShortcuts.h"
#include "platform/wine/WineEnvironment.h"
#include "platform/wine/WineFileSystem.h"
#include "platform/wine/WineKeyStore.h"
#include "platform/wine/WineSpecialFolders.h"

namespace optera::platform {

class WineMachine {
  public:
    // The prefix as this process's environment and the default settings file describe it.
    explicit WineMachine(std::filesystem::path prefix);
    WineMachine(std::filesystem::path prefix, const EnvironmentVariables& host,
                std::filesystem::path settingsFile);
    // The parts refer to each other: the machine stays where it was made.
    WineMachine(const WineMachine&) = delete;
    WineMachine& operator=(const WineMachine&) = delete;

    // $WINEPREFIX when set, else ~/.wine.
    static std::filesystem::path DefaultPrefix(const EnvironmentVariables& host);
    static std::filesystem::path DefaultPrefix() { return DefaultPrefix(ProcessEnvironment()); }

    const std::filesystem::path& prefix() const { return files_.prefix(); }
    WineFileSystem& files() { return files_; }
    KeyStore& registry() { return registry_; }
    WineEnvironment& environment() { return environment_; }
    WineSpecialFolders& specialFolders() { return specialFolders_; }
    UserSettingsFile& userSettings() { return userSettings_; }
    WineDesktopShortcuts& shortcuts() { return shortcuts_; }
    HostDisplay& display() { return display_; }
    HostShell& shell() { return shell_; }
    PrefixChangeLock& changeLock() { return changeLock_; }
    WineDesktopLook& look() { return look_; }
    HostSingleInstance& instance() { return instance_; }

    Machine machine() {
        return Machine{files_,        registry_,  environment_, specialFolders_,
                       userSettings_, shortcuts_, display_,     shell_,
                       changeLock_,   look_,      instance_};
    }

  private:
    WineFileSystem files_;
    WineKeyStore registry_;
    WineEnvironment environment_;
    WineSpecialFolders specialFolders_;
    UserSettingsFile userSettings_;
    WineDesktopShortcuts shortcuts_;
    HostDisplay display_;
    HostShell shell_;
    PrefixChangeLock changeLock_;
    WineDesktopLook look_;
    HostSingleInstance instance_;
};

}  // namespace optera::platform
