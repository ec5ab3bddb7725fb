#pragma once
// The services the window and the optimizer are built on, over a fake machine, wired as the
// program wires them; the window's model in `gui`.

#include "optimizer/RegistryFiles.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "services/cPrivateProfile.h"
#include "services/cRegistry.h"
#include "windowmodel/MainWindow.h"

namespace optera::testing {

struct FakeServices {
    platform::FakeMachine fake;
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{fake.files};
    services::cRegistry registry{fake.registry, prompts};
    optimizer::KeyStoreRegistryFiles regFiles{fake.registry, fake.files};
    mainwindow::MainWindow gui;
};

}  // namespace optera::testing
