// Peak memory of the registry of a prefix whose system.reg is about 100 MB, taken the way the
// program takes it (WineKeyStore: read the hive, change a value under the server's lock, save it
// atomically). Each case runs in a process of its own, and its peak resident size is compared
// with the hive's size; the goal is at most 1.5 times the hive.
//
//   bench_hive_memory [megabytes]      the hive's size, 100 by default
// With OPTERA_HIVE_PREFIX set the made-up prefix is kept in that folder and used again.
//
// The hive is made up as the speed benchmark's, only more of it.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "MadeUpHive.h"
#include "platform/KeyStore.h"
#include "platform/wine/WineKeyStore.h"

namespace fs = std::filesystem;
using namespace optera::platform;

namespace {

constexpr double kGoal = 1.5;

bool WriteFile(const fs::path& path, const std::string& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && ok;
}

// Sets a dword value on a key of HKEY_LOCAL_MACHINE and reads it back.
bool Change(WineKeyStore& store, const std::string& path, std::uint32_t number) {
    HKEY key = 0;
    if (store.RegOpenKeyExA(hkey::LocalMachine, path, 0,
                            regaccess::Read | regaccess::Write | regaccess::Wow64_64Key,
                            &key) != regerror::Success)
        return false;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&number);
    bool ok = store.RegSetValueExA(key, "Counter", 4, bytes, 4) == regerror::Success;
    DWORD type = 0, size = 4;
    std::uint32_t back = 0;
    ok = ok &&
         store.RegQueryValueExA(key, "Counter", &type, reinterpret_cast<std::uint8_t*>(&back),
                                &size) == regerror::Success &&
         back == number;
    store.RegCloseKey(key);
    return ok;
}

// One case, in the child process: 0 when it did what it should.
int RunCase(const std::string& name, const fs::path& prefix, const std::string& first,
            const std::string& second) {
    if (name == "baseline") return 0;
    if (name == "make") {
        const std::string userHeader =
            "WINE REGISTRY Version 2\n;; All keys relative to "
            "REGISTRY\\\\User\\\\S-1-5-21-0-0-0-1000\n\n#arch=win64\n";
        const double unit = static_cast<double>(optera::bench::MakeSystemReg(1).size());
        const int scale = std::max(1, static_cast<int>(std::stod(first) * 1e6 / unit + 0.5));
        return WriteFile(prefix / "system.reg", optera::bench::MakeSystemReg(scale)) &&
                       WriteFile(prefix / "user.reg", userHeader) &&
                       WriteFile(prefix / "userdef.reg", userHeader)
                   ? 0
                   : 1;
    }
    WineKeyStore store(prefix);
    if (name == "load") {
        HKEY key = 0;
        if (store.RegOpenKeyExA(hkey::LocalMachine, first, 0,
                                regaccess::Read | regaccess::Wow64_64Key,
                                &key) != regerror::Success)
            return 1;
        DWORD values = 0;
        store.RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                               nullptr);
        return 0;
    }
    // Numbers no earlier run left there, so that each run saves.
    const auto number = static_cast<std::uint32_t>(::getpid());
    if (!Change(store, first, number)) return 1;
    if (name == "change") return 0;
    return Change(store, second, number + 1) ? 0 : 1;  // "change twice"
}

struct Outcome {
    bool ok = false;
    double megabytes = 0;
    double seconds = 0;
};

Outcome Measure(const char* self, const std::string& name, const fs::path& prefix,
                const std::string& first, const std::string& second) {
    const auto start = std::chrono::steady_clock::now();
    // Spawned, not forked: a forked child would start with this process's pages as its own.
    std::string args[] = {self, "--case", name, prefix.string(), first, second};
    char* argv[] = {args[0].data(), args[1].data(), args[2].data(), args[3].data(),
                    args[4].data(), args[5].data(), nullptr};
    pid_t child = 0;
    Outcome outcome;
    if (::posix_spawn(&child, self, nullptr, nullptr, argv, environ) != 0) return outcome;
    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child) return outcome;
    outcome.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    outcome.megabytes = static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;  // kilobytes
    return outcome;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 6 && std::strcmp(argv[1], "--case") == 0)
        return RunCase(argv[2], argv[3], argv[4], argv[5]);

    const double wanted = argc > 1 ? std::atof(argv[1]) : 100.0;
    // OPTERA_HIVE_PREFIX names a folder to keep the made-up prefix in for the next run.
    const char* kept = std::getenv("OPTERA_HIVE_PREFIX");
    char pattern[] = "/tmp/optera-hive-memory-XXXXXX";
    if (!kept && !::mkdtemp(pattern)) return 1;
    const fs::path prefix = kept ? kept : pattern;
    fs::create_directories(prefix);

    // Made in a process of its own, so that this one stays small: a spawned child starts out
    // sharing its parent's pages, and they would count as the child's.
    if (!fs::exists(prefix / "system.reg") &&
        !Measure("/proc/self/exe", "make", prefix, std::to_string(wanted), "").ok) {
        std::fprintf(stderr, "cannot write the prefix in %s\n", prefix.c_str());
        return 1;
    }
    const double size = static_cast<double>(fs::file_size(prefix / "system.reg")) / 1e6;
    // Two of the made-up empty leaf keys.
    const std::string first = "Software\\Classes\\.ext1\\ShellNew";
    const std::string second = "Software\\Classes\\.ext449\\ShellNew";

    std::printf("system.reg of %.1f MB (made up)\n", size);
    std::printf("%-34s %10s %10s %8s\n", "case", "peak MB", "seconds", "ratio");
    const char* cases[][2] = {{"baseline", "an empty process"},
                              {"load", "load and read"},
                              {"change", "load + change + save"},
                              {"change-twice", "load + change + save, twice"}};
    double worst = 0;
    bool failed = false;
    for (const auto& [name, text] : cases) {
        const Outcome outcome = Measure("/proc/self/exe", name, prefix, first, second);
        failed = failed || !outcome.ok;
        const double ratio = outcome.megabytes / size;
        if (std::strcmp(name, "baseline") != 0) worst = std::max(worst, ratio);
        std::printf("%-34s %10.1f %10.2f %8.2f%s\n", text, outcome.megabytes, outcome.seconds,
                    ratio, outcome.ok ? "" : "  FAILED");
    }
    std::printf("peak memory / hive size: %.2f (limit %.1f)\n", worst, kGoal);
    std::error_code ignored;
    if (!kept) fs::remove_all(prefix, ignored);
    return failed ? 1 : 0;
}
