#pragma once
// Everything Optera needs from the machine it works on, passed down as one value. On Linux the
// machine is a Wine prefix (platform/wine), in tests an in-memory one (platform/fake).

#include "platform/ChangeLock.h"
#include "platform/DesktopLook.h"
#include "platform/DesktopShortcuts.h"
#include "platform/Display.h"
#include "platform/Environment.h"
#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "platform/Shell.h"
#include "platform/SingleInstance.h"
#include "platform/SpecialFolders.h"
#include "platform/UserSettings.h"

namespace optera::platform {

struct Machine {
    FileSystem& files;
    KeyStore& registry;
    Environment& environment;
    SpecialFolders& specialFolders;
    UserSettings& userSettings;
    DesktopShortcuts& shortcuts;
    Display& display;
    Shell& shell;
    ChangeLock& changeLock;
    DesktopLook& look;
    SingleInstance& instance;
};

}  // namespace optera::platform
