#pragma once
// The optimizer over a fake machine, wired as the program wires it: Optera in C:\Optera, the
// game's record in `game`, the window's logic in `gui`.

#include "optimizer/Optimizer.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"

namespace optera::testing {

struct FakeOptimizer {
    platform::FakeMachine fake;
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile{fake.files};
    services::cRegistry registry{fake.registry, prompts};
    optimizer::KeyStoreRegistryFiles regFiles{fake.registry, fake.files};
    recipes::RecipeState state;
    mainwindow::MainWindow gui;
    optimizer::Optimizer optimizer{
        {fake.machine(), profile, registry, prompts, regFiles, "C:\\Optera"}, state, gui};
    recipes::GameRecord& game = state.CurrentGame;
};

}  // namespace optera::testing
