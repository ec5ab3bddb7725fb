// How long loading a hive, changing one value and saving it takes, next to copying the same
// file. The hive is made up here, deterministically, to look like a fresh 64-bit prefix's
// system.reg (about 9,000 keys in 1.7 MB): COM classes and interfaces, services with dwords,
// expandable and multi-strings and wrapped binary data, link keys.
//
// With OPTERA_REAL_HIVES set (paths joined by ':'), each of those files is also checked: read and
// written back unchanged, and written back with every key regenerated, both must give the file's
// exact bytes.
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

#include "platform/wine/RegFile.h"

using optera::platform::RegFile;
using optera::platform::RegFileValue;
namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kNow = 0x1dd7aeb95b4ec56ULL;  // a FILETIME in 2026

// ---- the made-up hive ------------------------------------------------------------------

class Random {
  public:
    std::uint32_t Next() {
        state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::uint32_t>(state_ >> 33);
    }
    std::uint32_t Below(std::uint32_t n) { return Next() % n; }

  private:
    std::uint64_t state_ = 0x5eed;
};

std::string Guid(Random& random) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%04X-%04X%08X}", random.Next(),
                  random.Below(0x10000), random.Below(0x10000), random.Below(0x10000),
                  random.Below(0x10000), random.Next());
    return text;
}

std::vector<std::uint8_t> Utf16(const std::string& text) {
    std::vector<std::uint8_t> data;
    for (char c : text) {
        data.push_back(static_cast<std::uint8_t>(c));
        data.push_back(0);
    }
    data.push_back(0);
    data.push_back(0);
    return data;
}

RegFileValue Sz(std::string name, const std::string& text, std::uint32_t type = 1) {
    return {std::move(name), type, Utf16(text)};
}

RegFileValue Dword(std::string name, std::uint32_t value) {
    return {std::move(name),
            4,
            {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
             static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)}};
}

RegFileValue Bytes(std::string name, Random& random, std::size_t size, std::uint32_t type = 3) {
    RegFileValue value{std::move(name), type, {}};
    for (std::size_t i = 0; i < size; ++i)
        value.data.push_back(static_cast<std::uint8_t>(random.Below(4) == 0 ? random.Next() : 0));
    return value;
}

// Wine's order for these ASCII paths: component by component, without regard to case.
bool WineOrder(const std::string& a, const std::string& b) {
    auto rank = [](const std::string& s, std::size_t i) {
        if (i == s.size()) return -2;
        if (s[i] == '\\') return -1;
        return static_cast<int>(
            static_cast<unsigned char>(s[i] >= 'A' && s[i] <= 'Z' ? s[i] + 32 : s[i]));
    };
    for (std::size_t i = 0;; ++i) {
        const int x = rank(a, i), y = rank(b, i);
        if (x != y) return x < y;
        if (x == -2) return false;
    }
}

std::string MakeSystemReg() {
    Random random;
    std::map<std::string, std::vector<RegFileValue>, decltype(&WineOrder)> keys(&WineOrder);
    const std::string dlls[] = {"ole32",    "shell32", "quartz", "mshtml", "msxml3",
                                "wbemprox", "dxdiagn", "qedit",  "mfplat", "windowscodecs"};
    for (int i = 0; i < 1700; ++i) {
        const std::string clsid = "Software\\Classes\\CLSID\\" + Guid(random);
        const std::string dll = dlls[random.Below(10)];
        keys[clsid] = {Sz("", dll + " object " + std::to_string(i))};
        keys[clsid + "\\InprocServer32"] = {
            Sz("", "C:\\windows\\system32\\" + dll + ".dll"),
            Sz("ThreadingModel", random.Below(3) == 0 ? "Apartment" : "Both")};
        if (random.Below(3) == 0)
            keys[clsid + "\\ProgID"] = {Sz("", dll + ".Object." + std::to_string(i))};
    }
    for (int i = 0; i < 1150; ++i) {
        const std::string iid = "Software\\Classes\\Interface\\" + Guid(random);
        keys[iid] = {Sz("", "IInterface" + std::to_string(i))};
        keys[iid + "\\NumMethods"] = {Sz("", std::to_string(3 + random.Below(40)))};
        keys[iid + "\\ProxyStubClsid32"] = {Sz("", Guid(random))};
    }
    for (int i = 0; i < 700; ++i) {
        const std::string service =
            "System\\ControlSet001\\Services\\svc" + std::to_string(i * 7919 % 1000);
        keys[service] = {
            Sz("DisplayName", "Service number " + std::to_string(i)),
            Dword("ErrorControl", 1),
            Sz("ImagePath", "%SystemRoot%\\system32\\svc" + std::to_string(i) + ".exe", 2),
            Dword("Start", random.Below(5)),
            Dword("Type", 0x10),
            Sz("DependOnService", std::string("RPCSS\0PlugPlay\0", 15), 7),
            Bytes("FailureActions", random, 40 + random.Below(100)),
        };
        keys[service + "\\Parameters"] = {Sz("ServiceDll", "C:\\windows\\system32\\svc.dll", 2)};
    }
    for (int i = 0; i < 60; ++i) {
        const std::string fonts =
            "Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes" + std::to_string(i);
        std::vector<RegFileValue> values;
        for (int j = 0; j < 12; ++j)
            values.push_back(Sz("Font \x7f" + std::to_string(j) + " \"Sans\"", "Tahoma,204"));
        values.push_back(Bytes("Cache", random, 300, 0));
        keys[fonts] = std::move(values);
    }
    for (int i = 0; i < 40; ++i) {
        keys["Software\\Classes\\Wow6432Node\\Link" + std::to_string(i)] = {
            Bytes("SymbolicLinkValue", random, 90, 6)};
    }
    for (int i = 0; i < 450; ++i)  // empty leaf keys
        keys["Software\\Classes\\.ext" + std::to_string(i) + "\\ShellNew"] = {};

    RegFile file = RegFile::Parse(
        "WINE REGISTRY Version 2\n;; All keys relative to REGISTRY\\\\Machine\n\n#arch=win64\n");
    std::uint64_t time = kNow;
    for (const auto& [path, values] : keys) {
        time += random.Below(100000);
        file.AddKey(path, time);
        for (const RegFileValue& value : values) file.SetValue(path, value, time);
        if (path.find("Wow6432Node\\Link") != std::string::npos)
            file.AddKey(path, time).isLink = true;
    }
    return file.Serialize();
}

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
        const std::string hive = MakeSystemReg();
        WriteWhole(f.source, hive);
        f.size = hive.size();
        const RegFile parsed = RegFile::Parse(hive);
        f.changedKey = parsed.Keys()[parsed.Keys().size() / 2]->path;
        std::printf("made-up system.reg: %zu bytes, %zu keys\n", f.size, parsed.Keys().size());
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
        std::printf("ratio: %.2f (limit 10)\n", edit / copy);
    }
    std::error_code ignored;
    fs::remove_all(Files().folder, ignored);
    benchmark::Shutdown();
    return failures == 0 ? 0 : 1;
}
