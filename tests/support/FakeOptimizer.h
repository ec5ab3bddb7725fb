#pragma once
// The optimizer over a fake machine, wired as the program wires it: Optera in C:\Optera, the
// game's record in `game`, the window's logic in `gui`.

#include "optimizer/Optimizer.h"
#include "support/FakeServices.h"

namespace optera::testing {

struct FakeOptimizer : FakeServices {
    recipes::RecipeState state;
    optimizer::Optimizer optimizer{
        {fake.machine(), profile, registry, prompts, regFiles, "C:\\Optera"}, state, gui};
    recipes::GameRecord& game = state.CurrentGame;
};

}  // namespace optera::testing
