// Feeds arbitrary bytes to the recipe reader as a recipe, over a small machine with a game that
// has folders, a registry entry and environment variables, and checks what must always hold:
//  - every configuration entry has a kind of SINGLE, MULTIPLE or nothing, and a path exactly
//    when it has a kind;
//  - every entry has at least one line, and a game without a place has one empty entry;
//  - the record's name is the recipe's;
//  - nothing crashes, hangs or reads out of bounds (the sanitizers watch).
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "recipes/RecipeReader.h"

using namespace optera;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platform::FakeMachine fake;
    fake.files.PutFile("C:\\Games\\Foo\\bin\\foo.exe", "MZ");
    fake.files.PutFile("C:\\Games\\Foo\\bin\\video.ini", "[Display]\r\n");
    fake.files.PutFile("C:\\Games\\Foo\\saves\\a.cfg", "");
    fake.files.PutFile("C:\\Games\\Foo\\saves\\b.cfg", "");
    fake.registry.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Microsoft\\Games\\Foo",
                            "InstallPath", "C:\\Games\\Foo");
    fake.environment.variables["GAMES"] = "C:\\Games";
    fake.environment.variables["LOOP"] = "%LOOP%%LOOP%";
    fake.files.PutFile("C:\\Optera\\MODS\\Fuzz.txt",
                       std::string(reinterpret_cast<const char*>(data), size));

    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile(fake.files);
    services::cRegistry registry(fake.registry, prompts);
    recipes::RecipeState state;
    state.Selected = {3840, 1024};
    recipes::RecipeReader reader({fake.machine(), profile, registry, "C:\\Optera"}, state);

    for (int round = 0; round < 2; ++round) {
        recipes::GameRecord record = reader.ReadRecipe("Fuzz");
        Check(record.Name == "Fuzz");
        Check(!record.CfgFiles.empty());
        for (const recipes::CfgEntry& entry : record.CfgFiles) {
            Check(entry.Kind.empty() || entry.Kind == "SINGLE" || entry.Kind == "MULTIPLE");
            Check(entry.Kind.empty() == entry.Path.empty() || entry.Kind == "SINGLE");
            Check(!entry.Lines.empty());
        }
        if (record.GameLoc.empty() && record.UserLoc.empty()) Check(record.CfgFiles.size() == 1);
        // The second round reads with this record in hand, as selecting the game again does.
        state.CurrentGame = record;
    }
    return 0;
}
