// The drive search over a tree of about 300,000 files in which the file is nowhere, against
// `find ROOT -name NAME` over the same tree in the same run. The tree is made once, in a
// temporary folder that is drive C: of a small Wine prefix: 60 top folders, each with 50
// subfolders of 100 files (300,000 files, 3,061 folders).
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "discovery/Scanner.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineFileSystem.h"

namespace fs = std::filesystem;
using namespace optera;

namespace {

constexpr int kTop = 60;
constexpr int kSub = 50;
constexpr int kFiles = 100;

struct Tree {
    Tree() {
        root = fs::temp_directory_path() / ("optera-scan-bench-" + std::to_string(::getpid()));
        fs::create_directories(root / "dosdevices");
        fs::create_directory_symlink("../drive_c", root / "dosdevices" / "c:");
        for (int t = 0; t < kTop; ++t) {
            for (int s = 0; s < kSub; ++s) {
                fs::path folder =
                    root / "drive_c" / ("Top" + std::to_string(t)) / ("Sub" + std::to_string(s));
                fs::create_directories(folder);
                for (int f = 0; f < kFiles; ++f) {
                    int fd = ::open((folder / ("file" + std::to_string(f) + ".dat")).c_str(),
                                    O_CREAT | O_WRONLY, 0644);
                    if (fd >= 0) ::close(fd);
                }
            }
        }
    }
    ~Tree() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    fs::path root;
};

Tree& TheTree() {
    static Tree tree;
    return tree;
}

void Scanner(benchmark::State& state) {
    platform::WineFileSystem files(TheTree().root);
    platform::ScriptedPrompts prompts;
    discovery::Scanner scanner(files, prompts);
    for (auto _ : state) {
        std::string found = scanner.StartScan("nowhere.exe");
        if (!found.empty()) state.SkipWithError("found a file that is not there");
        benchmark::DoNotOptimize(found);
    }
    state.counters["files"] = kTop * kSub * kFiles;
}

void Find(benchmark::State& state) {
    const std::string command =
        "find '" + (TheTree().root / "drive_c").string() + "' -name nowhere.exe";
    for (auto _ : state) {
        FILE* pipe = ::popen(command.c_str(), "r");
        char buffer[256];
        std::size_t printed = 0;
        while (std::fgets(buffer, sizeof buffer, pipe)) ++printed;
        if (::pclose(pipe) != 0 || printed != 0) state.SkipWithError("find failed");
    }
}

}  // namespace

BENCHMARK(Scanner)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(Find)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

BENCHMARK_MAIN();
