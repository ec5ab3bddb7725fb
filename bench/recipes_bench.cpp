// How long reading every recipe of a large collection takes, as filling the game list does: 500
// recipes over a Wine prefix in which half the games are installed, each in a tree of about 200
// files, and half of those one folder deeper than the registry says (so the executable is found
// by walking the tree). Next to it, the floor: reading the same 500 recipe files' bytes.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineMachine.h"
#include "recipes/RecipeReader.h"

namespace fs = std::filesystem;
using namespace optera;

namespace {

constexpr int kGames = 500;
constexpr int kFolders = 10;         // per game
constexpr int kFilesPerFolder = 19;  // plus the executable and the configuration files

void Write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string Name(int game) {
    char name[16];
    std::snprintf(name, sizeof name, "Game%03d", game);
    return name;
}

bool Installed(int game) {
    return game % 2 == 0;
}
bool Deeper(int game) {
    return game % 4 == 0;
}

std::string Recipe(int game) {
    return "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\" + Name(game) +
           "\\InstallPath\r\nUSERLOC=\r\nGAMEEXE=" + Name(game) +
           ".exe\r\nSHORTCUTNAME=\r\nSHORTCUTPARAMETERS=-w #KELVANW -h #KELVANH\r\n"
           "NativePanolineSupport=\r\n[GAMERES]\r\nRES=1024x768\r\n"
           "[GAMERESOLUTIONS]\r\nMin=\r\nMax=\r\n"
           "[Registry]\r\nHKEY_CURRENT_USER\\Software\\" +
           Name(game) +
           ",Width,#KELVANW,REG_DWORD\r\n"
           "[CFG]\r\nCFG.1=video.ini\r\nCFG.2=saves\\*.cfg\r\nCFG.3=\r\n"
           "[CFG.1]\r\nDisplay,Width=#KELVANW\r\nDisplay,Height=#KELVANH\r\n"
           "[CFG.2]\r\n3=fov #RESDEPENDENT.1\r\n"
           "[HOWTO]\r\nMSG=Run the game once before optimizing it.\r\n"
           "[RESDEPENDENT.1]\r\n3840x1024=90\r\n5760x1080=100\r\n";
}

struct Collection {
    fs::path root;
    std::vector<fs::path> recipeFiles;

    Collection() {
        root = fs::temp_directory_path() / ("optera-bench-recipes-" + std::to_string(::getpid()));
        fs::create_directories(root / "dosdevices");
        fs::create_directory_symlink("../drive_c", root / "dosdevices" / "c:");
        fs::create_directory_symlink("/", root / "dosdevices" / "z:");
        std::string system =
            "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n"
            "#arch=win64\n\n[Software\\\\Wow6432Node] 1700000000\n\n";
        for (int game = 0; game < kGames; ++game) {
            recipeFiles.push_back(root / "program" / "MODS" / (Name(game) + ".txt"));
            Write(recipeFiles.back(), Recipe(game));
            if (!Installed(game)) continue;
            system += "[Software\\\\Microsoft\\\\Games\\\\" + Name(game) +
                      "] 1700000000\n\"InstallPath\"=\"C:\\\\Games\\\\" + Name(game) +
                      (Deeper(game) ? "" : "\\\\bin") + "\"\n\n";
            const fs::path folder = root / "drive_c" / "Games" / Name(game);
            for (int f = 0; f < kFolders; ++f)
                for (int i = 0; i < kFilesPerFolder; ++i)
                    Write(folder / ("data" + std::to_string(f)) / ("part" + std::to_string(i)),
                          "x");
            Write(folder / "bin" / (Name(game) + ".exe"), "MZ");
            Write(folder / "bin" / "video.ini", "[Display]\r\nWidth=1024\r\n");
            for (int i = 0; i < 5; ++i)
                Write(folder / "bin" / "saves" / ("slot" + std::to_string(i) + ".cfg"), "a\r\n");
        }
        Write(root / "system.reg", system);
    }
    ~Collection() { fs::remove_all(root); }

    std::string ProgramFolder() const { return "Z:" + (root / "program").string(); }
};

Collection& Files() {
    static Collection collection;
    return collection;
}

std::string WindowsPath(std::string path) {
    for (char& c : path)
        if (c == '/') c = '\\';
    return path;
}

void BM_ReadAllRecipes(benchmark::State& state) {
    Collection& collection = Files();
    platform::WineMachine wine(collection.root, {}, collection.root / "settings.ini");
    platform::ScriptedPrompts prompts;
    services::cPrivateProfile profile(wine.files());
    services::cRegistry registry(wine.registry(), prompts);
    recipes::RecipeState shared;
    shared.Selected = {3840, 1024};
    recipes::RecipeReader reader(
        {wine.machine(), profile, registry, WindowsPath(collection.ProgramFolder())}, shared);
    int located = 0;
    for (auto _ : state) {
        located = 0;
        for (int game = 0; game < kGames; ++game) {
            recipes::GameRecord record = reader.ReadRecipe(Name(game));
            located += record.GameLoc.empty() ? 0 : 1;
            benchmark::DoNotOptimize(record);
        }
    }
    if (located != kGames / 2) state.SkipWithError("not every installed game was located");
    state.counters["located"] = located;
}
BENCHMARK(BM_ReadAllRecipes)->Unit(benchmark::kMillisecond);

void BM_ReadRecipeBytesOnly(benchmark::State& state) {
    Collection& collection = Files();
    for (auto _ : state) {
        std::size_t total = 0;
        for (const fs::path& file : collection.recipeFiles) {
            std::ifstream in(file, std::ios::binary);
            std::string bytes((std::istreambuf_iterator<char>(in)), {});
            total += bytes.size();
        }
        benchmark::DoNotOptimize(total);
    }
}
BENCHMARK(BM_ReadRecipeBytesOnly)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
