// Big folders and big lists, each next to its floor, measured with real processes as a user
// runs them:
//  - optera-cli optimize, select and restore of a game whose recipe has a pattern matching
//    3,000 files, next to `sed -i` over the same files;
//  - optera-cli list over 10,000 small recipes, next to a plain read of the same files.
// optera-cli is this build's unless $OPTERA_CLI names another.
// The files go below $OPTERA_BENCH_DIR (default: the system's temporary folder); on a disk the
// optimizer's syncs of each replaced file weigh in, on tmpfs they cost nothing.
// After the benchmarks, the two goals are measured once more side by side and printed with their
// ratios: list of 10,000 recipes against 0.5 s, optimize of 3,000 matches against 3 times
// `sed -i` over them. `--goals_only` skips the benchmarks.
#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int kMatches = 3000;
constexpr int kRecipes = 10000;

void Write(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string Quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

fs::path BenchRoot(const char* what) {
    const char* base = std::getenv("OPTERA_BENCH_DIR");
    return fs::path(base && *base ? base : fs::temp_directory_path().c_str()) /
           ("optera-bench-" + std::string(what) + "-" + std::to_string(::getpid()));
}

// The optera-cli of this build, or the one $OPTERA_CLI names (to compare with another build).
std::string CliProgram() {
    const char* other = std::getenv("OPTERA_CLI");
    return other && *other ? other : OPTERA_CLI;
}

// A prefix with one game and a program folder with the given recipes.
struct Setup {
    fs::path root;

    explicit Setup(const char* what) : root(BenchRoot(what)) {
        fs::create_directories(root / "prefix" / "dosdevices");
        fs::create_directory_symlink("../drive_c", root / "prefix" / "dosdevices" / "c:");
        fs::create_directory_symlink("/", root / "prefix" / "dosdevices" / "z:");
        Write(root / "prefix" / "system.reg",
              "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
              "[Software\\\\Microsoft\\\\Games\\\\Sample] 1700000000\n"
              "\"InstallPath\"=\"C:\\\\Games\\\\Sample\\\\bin\"\n\n"
              "[Software\\\\Wow6432Node] 1700000000\n");
        Write(root / "prefix" / "drive_c" / "Games" / "Sample" / "bin" / "sample.exe", "MZ");
        // The program folder as installed, without its demo recipes.
        fs::create_directories(root / "home" / "MODS");
        fs::copy(fs::path(OPTERA_DATA) / "Optera.ini", root / "home" / "Optera.ini");
        fs::copy(fs::path(OPTERA_DATA) / "SKINS", root / "home" / "SKINS",
                 fs::copy_options::recursive);
    }
    ~Setup() { fs::remove_all(root); }

    int Cli(const std::string& arguments) const {
        const std::string command = "cd " + Quoted(root) +
                                    " && env -u DISPLAY OPTERA_DISPLAY_MODES=3840x1024x32@60 " +
                                    CliProgram() + std::string(" --home home --prefix prefix ") +
                                    arguments + " >/dev/null 2>&1";
        return std::system(command.c_str());
    }
};

fs::path Saves(const Setup& setup) {
    return setup.root / "prefix" / "drive_c" / "Games" / "Sample" / "saves";
}

Setup& ManyMatches() {
    static Setup setup = [] {
        Setup made("matches");
        Write(made.root / "home" / "MODS" / "Sample.txt",
              "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\Sample\\InstallPath\r\nUSERLOC=\r\n"
              "GAMEEXE=sample.exe\r\nSHORTCUTNAME=\r\n[GAMERES]\r\nRES=1024x768\r\n"
              "[GAMERESOLUTIONS]\r\nMin=2400x600\r\nMax=\r\n"
              "[CFG]\r\nCFG.1=video.ini\r\nCFG.2=..\\saves\\*.cfg\r\n"
              "[CFG.1]\r\nDisplay,Width=#KELVANW\r\n[CFG.2]\r\n3=fov #RESDEPENDENT.1\r\n"
              "[RESDEPENDENT.1]\r\n1024x768=75\r\n3840x1024=90\r\n");
        Write(made.root / "prefix" / "drive_c" / "Games" / "Sample" / "bin" / "video.ini",
              "[Display]\r\nWidth=1024\r\n");
        for (int n = 0; n < kMatches; ++n)
            Write(Saves(made) / ("slot" + std::to_string(n) + ".cfg"), "a\r\nb\r\nfov 75\r\n");
        return made;
    }();
    return setup;
}

// Each of the three commands on its own, the other two run untimed around it, so that every
// round starts from the files as the game left them.
void RunManyMatches(benchmark::State& state, int timed) {
    Setup& setup = ManyMatches();
    const std::string commands[] = {"--yes optimize Sample --resolution 3840x1024", "select Sample",
                                    "--yes restore Sample"};
    for (auto _ : state) {
        bool failed = false;
        for (int i = 0; i < 3 && !failed; ++i) {
            if (i != timed) state.PauseTiming();
            failed = setup.Cli(commands[i]) != 0;
            if (i != timed) state.ResumeTiming();
            if (failed) state.SkipWithError(commands[i].c_str());
        }
        if (failed) break;
    }
    state.counters["files"] = kMatches;
}

void BM_OptimizeManyMatches(benchmark::State& state) {
    RunManyMatches(state, 0);
}
void BM_SelectManyMatches(benchmark::State& state) {
    RunManyMatches(state, 1);
}
void BM_RestoreManyMatches(benchmark::State& state) {
    RunManyMatches(state, 2);
}

void BM_SedOverManyMatches(benchmark::State& state) {
    Setup& setup = ManyMatches();
    const std::string command = "sed -i 's/^fov .*/fov 90/' " + Quoted(Saves(setup)) + "/*.cfg";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("sed failed");
    state.counters["files"] = kMatches;
}

BENCHMARK(BM_OptimizeManyMatches)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_SelectManyMatches)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_RestoreManyMatches)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_SedOverManyMatches)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

struct ManyRecipesSetup {
    Setup setup{"recipes"};
    std::vector<fs::path> files;

    ManyRecipesSetup() {
        for (int n = 0; n < kRecipes; ++n) {
            const std::string name = "Game" + std::to_string(n);
            files.push_back(setup.root / "home" / "MODS" / (name + ".txt"));
            Write(files.back(), "[GAMEINFO]\r\nGAMELOC=HKLM\\Games\\" + name +
                                    "\\InstallPath\r\nUSERLOC=\r\nGAMEEXE=game.exe\r\n"
                                    "SHORTCUTNAME=Game\r\nNativePanolineSupport=\r\n"
                                    "[GAMERES]\r\nRES=1024x768\r\n[CFG]\r\nCFG.1=video.ini\r\n"
                                    "[CFG.1]\r\nDisplay,Width=#KELVANW\r\n");
        }
    }
};

ManyRecipesSetup& ManyRecipes() {
    static ManyRecipesSetup setup;
    return setup;
}

void BM_ListManyRecipes(benchmark::State& state) {
    ManyRecipesSetup& recipes = ManyRecipes();
    for (auto _ : state)
        if (recipes.setup.Cli("list") != 0) state.SkipWithError("list failed");
    state.counters["recipes"] = kRecipes;
}

void BM_ReadManyRecipesOnly(benchmark::State& state) {
    ManyRecipesSetup& recipes = ManyRecipes();
    for (auto _ : state) {
        std::size_t total = 0;
        for (const fs::path& file : recipes.files) {
            std::ifstream in(file, std::ios::binary);
            std::string bytes((std::istreambuf_iterator<char>(in)), {});
            total += bytes.size();
        }
        benchmark::DoNotOptimize(total);
    }
    state.counters["recipes"] = kRecipes;
}

BENCHMARK(BM_ListManyRecipes)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_ReadManyRecipesOnly)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

// The wall time and the processor time (user and system, of the processes it started) of a run.
struct Took {
    double wall = 0;
    double cpu = 0;
};

double ChildrenCpu() {
    struct rusage usage {};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

Took Measure(const std::function<bool()>& run, bool& failed) {
    const double cpu = ChildrenCpu();
    const auto start = std::chrono::steady_clock::now();
    failed = !run() || failed;
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return {wall.count(), ChildrenCpu() - cpu};
}

// The best of each, since other work on the machine only ever adds time.
Took Best(const std::vector<Took>& runs) {
    Took best{1e9, 1e9};
    for (const Took& took : runs) {
        best.wall = std::min(best.wall, took.wall);
        best.cpu = std::min(best.cpu, took.cpu);
    }
    return best;
}

int ReportGoals() {
    constexpr int kRounds = 3;
    bool failed = false;
    std::vector<Took> lists;
    ManyRecipesSetup& recipes = ManyRecipes();
    for (int round = 0; round < kRounds; ++round)
        lists.push_back(Measure([&] { return recipes.setup.Cli("list") == 0; }, failed));

    // Optimize and sed take turns over the same files; restore puts them back untimed.
    Setup& setup = ManyMatches();
    const std::string sed = "sed -i 's/^fov .*/fov 90/' " + Quoted(Saves(setup)) + "/*.cfg";
    const std::string back = "sed -i 's/^fov .*/fov 75/' " + Quoted(Saves(setup)) + "/*.cfg";
    std::vector<Took> optimizes, seds;
    for (int round = 0; round < kRounds && !failed; ++round) {
        optimizes.push_back(
            Measure([&] { return setup.Cli("--yes optimize Sample --resolution 3840x1024") == 0; },
                    failed));
        failed = setup.Cli("--yes restore Sample") != 0 || failed;
        seds.push_back(Measure([&] { return std::system(sed.c_str()) == 0; }, failed));
        failed = std::system(back.c_str()) != 0 || failed;  // as the game left them
    }
    if (failed) {
        std::printf("goals: a command failed; no figures\n");
        return 1;
    }
    const Took list = Best(lists), optimize = Best(optimizes), edit = Best(seds);
    std::printf("\nGoals (best of %d; wall time, and processor time of the processes):\n", kRounds);
    std::printf("  list, %d recipes:      %.3f s wall (%.2f of the 0.5 s goal), %.3f s processor\n",
                kRecipes, list.wall, list.wall / 0.5, list.cpu);
    std::printf("  optimize, %d matches:  %.3f s wall, %.3f s processor\n", kMatches, optimize.wall,
                optimize.cpu);
    std::printf("  sed -i, same files:      %.3f s wall, %.3f s processor\n", edit.wall, edit.cpu);
    std::printf("  optimize / sed -i:       %.2f wall (goal 3), %.2f processor\n",
                optimize.wall / edit.wall, optimize.cpu / std::max(edit.cpu, 1e-3));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    bool goalsOnly = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--goals_only") != 0) continue;
        goalsOnly = true;
        for (int j = i; j + 1 < argc; ++j) argv[j] = argv[j + 1];
        --argc;
        break;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (!goalsOnly) benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return ReportGoals();
}
