// How long loading a hive, changing one value and saving it takes, next to copying the same
// file. The hive is made up here, deterministically, to look like a fresh 64-bit prefix's
// system.reg (about 9,000 keys in 1.7 MB): COM classes and interfaces, services with dwords,
// expandable and multi-strings and wrapped binary data, link keys.
//
// With OPTERA_REAL_HIVES set (paths joined by ':'), each of those files is also checked: read and
// written back unchanged, and written back with every key regenerated, both must give the file's
// exact bytes; a system.reg among them is the one timed.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "MadeUpHive.h"
#include "platform/wine/RegFile.h"

using optera::platform::RegFile;
using optera::platform::RegFileValue;
namespace fs = std::filesystem;

namespace {

using namespace optera::bench;

// ---- plain file access, the same for both measurements ----------------------------------

std::string ReadWhole(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0) throw std::runtime_error("cannot open " + path.string());
    std::string bytes(static_cast<std::size_t>(fs::file_size(path)), '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::read(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    ::close(fd);
    bytes.resize(done);
    return bytes;
}

void WriteWhole(const fs::path& path, const std::string& bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) throw std::runtime_error("cannot write " + path.string());
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    ::close(fd);
}

struct Fixture {
    fs::path folder, source, target;
    std::size_t size = 0;
    std::string changedKey;
};

Fixture& Files() {
    static Fixture fixture = [] {
        Fixture f;
        char pattern[] = "/tmp/optera-bench-XXXXXX";
        if (!::mkdtemp(pattern)) throw std::runtime_error("no temporary folder");
        f.folder = pattern;
        f.source = f.folder / "system.reg";
        f.target = f.folder / "copy.reg";
        // A real system.reg among OPTERA_REAL_HIVES is timed instead of the made-up one.
        std::string hive, kind = "made-up";
        const std::string real =
            std::getenv("OPTERA_REAL_HIVES") ? std::getenv("OPTERA_REAL_HIVES") : "";
        for (std::size_t start = 0; start < real.size();) {
            const std::size_t end = std::min(real.find(':', start), real.size());
            const fs::path path = real.substr(start, end - start);
            start = end + 1;
            if (path.filename() == "system.reg" && fs::exists(path)) {
                hive = ReadWhole(path);
                kind = "real";
            }
        }
        if (hive.empty()) hive = MakeSystemReg();
        WriteWhole(f.source, hive);
        f.size = hive.size();
        const RegFile parsed = RegFile::Parse(hive);
        f.changedKey = parsed.Keys()[parsed.Keys().size() / 2]->path;
        std::printf("%s system.reg: %zu bytes, %zu keys\n", kind.c_str(), f.size,
                    parsed.Keys().size());
        return f;
    }();
    return fixture;
}

void BM_CopyFile(benchmark::State& state) {
    const Fixture& f = Files();
    for (auto _ : state) {
        const std::string bytes = ReadWhole(f.source);
        WriteWhole(f.target, bytes);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.size));
}
BENCHMARK(BM_CopyFile)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

void BM_LoadChangeSave(benchmark::State& state) {
    const Fixture& f = Files();
    std::uint32_t counter = 0;
    for (auto _ : state) {
        RegFile file = RegFile::Parse(ReadWhole(f.source));
        file.SetValue(f.changedKey, Dword("Counter", ++counter), kNow);
        WriteWhole(f.target, file.Serialize());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.size));
}
BENCHMARK(BM_LoadChangeSave)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

void BM_ParseOnly(benchmark::State& state) {
    const std::string bytes = ReadWhole(Files().source);
    for (auto _ : state) benchmark::DoNotOptimize(RegFile::Parse(bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_ParseOnly)->Unit(benchmark::kMillisecond);

// Remembers each benchmark's time per iteration, for the summary.
class Reporter : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration)
                seconds[run.benchmark_name()] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> seconds;
};

// Real hives: the bytes back unchanged, and every key written anew gives Wine's own bytes.
int CheckRealHives(const char* list) {
    int failures = 0;
    std::string paths = list;
    for (std::size_t start = 0; start <= paths.size();) {
        std::size_t end = paths.find(':', start);
        if (end == std::string::npos) end = paths.size();
        const fs::path path = paths.substr(start, end - start);
        start = end + 1;
        if (path.empty() || !fs::exists(path)) continue;
        const std::string bytes = ReadWhole(path);
        RegFile file = RegFile::Parse(bytes);
        const bool same = file.Serialize() == bytes;
        const auto keys = file.Keys();
        std::vector<std::pair<std::string, std::uint64_t>> stamps;
        for (const auto* key : keys) stamps.emplace_back(key->path, key->modified);
        for (const auto& [keyPath, stamp] : stamps) {
            file.SetValue(keyPath, {"optera-bench", 1, Utf16("x")}, stamp);
            file.DeleteValue(keyPath, "optera-bench", stamp);
        }
        const bool rewritten = file.Serialize() == bytes;
        std::printf("real hive %s: %zu bytes, %zu keys, arch %s: read back %s, rewritten %s\n",
                    path.c_str(), bytes.size(), keys.size(), file.Arch().c_str(),
                    same ? "identical" : "DIFFERENT", rewritten ? "identical" : "DIFFERENT");
        failures += !same + !rewritten;
    }
    return failures;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    int failures = 0;
    if (const char* hives = std::getenv("OPTERA_REAL_HIVES")) failures = CheckRealHives(hives);

    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    auto secondsOf = [&](const std::string& name) {
        for (const auto& [run, seconds] : reporter.seconds)
            if (run == name || run.starts_with(name + "/")) return seconds;
        return 0.0;
    };
    const double copy = secondsOf("BM_CopyFile");
    const double edit = secondsOf("BM_LoadChangeSave");
    const double megabytes = static_cast<double>(Files().size) / 1e6;
    if (copy > 0 && edit > 0) {
        std::printf("\ncopy (read + write):             %8.3f ms  %8.1f MB/s\n", copy * 1e3,
                    megabytes / copy);
        std::printf("load + change one value + save:  %8.3f ms  %8.1f MB/s\n", edit * 1e3,
                    megabytes / edit);
        std::printf("ratio: %.2f (limit 5)\n", edit / copy);
    }
    std::error_code ignored;
    fs::remove_all(Files().folder, ignored);
    benchmark::Shutdown();
    return failures == 0 ? 0 : 1;
}
