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

    // A game "Game" in C:\Game whose recipe last applied 1024x768; Restore is not offered yet.
    void SetUpGame() {
        fake.files.PutFile("C:\\Optera\\MODS\\Game.txt", "[GAMERES]\r\nRES=1024x768\r\n");
        fake.files.PutFile("C:\\Game\\game.exe", "MZ");
        game.Name = "Game";
        game.GameExe = "game.exe";
        game.GameLoc = "C:\\Game";
        gui.DefaultResolution = "1024x768";
        gui.CurrentGameText = "Game";
        gui.BtnImageBox(1).SetEnabled(false);
    }
    // Optimize; unanswered, the desktop shortcut's question is answered No.
    void Optimize() {
        optimizer.ProceedFlag = true;
        optimizer.RunOptimization();
    }
    void Restore() {
        prompts.Answer(platform::MessageAnswer::Yes);
        optimizer.RestoreOriginals();
    }
    // The last run's report, one "what: why" line for each thing it could not do.
    std::vector<std::string> Reported() const {
        std::vector<std::string> lines;
        for (const optimizer::Shortfall& item : optimizer.LastReport().items())
            lines.push_back(item.what + ": " + item.why);
        return lines;
    }
};

}  // namespace optera::testing
