#pragma once
// The main window's logic over a fake machine, wired as the program wires it, with Optera in
// C:\Optera and every dialog closed again unanswered.

#include "mainwindow/MainWindowLogic.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "support/NoDialogs.h"

namespace optera::testing {

struct FakeWindow {
    platform::FakeMachine fake;
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{fake.files};
    services::cRegistry registry{fake.registry, prompts};
    optimizer::KeyStoreRegistryFiles regFiles{fake.registry, fake.files};
    mainwindow::MainWindow gui;
    NoDialogs dialogs;
    mainwindow::MainWindowLogic logic{
        {fake.machine(), profile, registry, prompts, regFiles, "C:\\Optera"}, gui, dialogs};
};

}  // namespace optera::testing
