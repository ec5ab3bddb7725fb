// Nothing lost, tried with real processes: optera-cli on a copy of the demo, stopped before each
// call it makes to change a file, or given a full disk at each write, then run again as a user
// would (Optimize, Restore). Every file and registry value must end as it was at the start, and
// no temporary may be left. A library preloaded into the program (FaultInjection.cpp) counts the
// calls, kills the process or fails the writes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/TempFolder.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

constexpr auto kRunTimeout = std::chrono::seconds(20);
constexpr int kDetailedFailures = 4;  // points whose details are printed in full

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// What one run of optera-cli did.
struct Outcome {
    int code = -1;   // the exit code; -1 when it did not exit
    int signal = 0;  // the signal that ended it
    bool timedOut = false;
    std::string out, err;

    bool Finished() const { return !timedOut && signal == 0; }
    std::string Describe() const {
        std::string text = timedOut ? "timed out"
                           : signal ? "killed by signal " + std::to_string(signal)
                                    : "exit " + std::to_string(code);
        return text + "\n--- stdout:\n" + out + "--- stderr:\n" + err;
    }
};

// Runs a program with `extra` added to this process's environment (minus anything that would
// point it at a real prefix or desktop), stdin from /dev/null, and a time limit after which it
// is killed.
Outcome RunProcess(const std::vector<std::string>& args, const std::vector<std::string>& extra,
                   const fs::path& scratch) {
    static const std::set<std::string> dropped{"DISPLAY",     "WAYLAND_DISPLAY", "WINEPREFIX",
                                               "OPTERA_HOME", "LD_PRELOAD",      "ASAN_OPTIONS"};
    std::vector<std::string> env;
    for (char** at = environ; *at; ++at) {
        std::string entry = *at;
        std::string name = entry.substr(0, entry.find('='));
        if (!dropped.count(name) && name.rfind("OPTERA_FAULT_", 0) != 0 && name != "HOME" &&
            name != "XDG_DESKTOP_DIR" && name != "XDG_CONFIG_HOME")
            env.push_back(entry);
    }
    env.insert(env.end(), extra.begin(), extra.end());
    std::vector<char*> argv, envp;
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    for (const std::string& entry : env) envp.push_back(const_cast<char*>(entry.c_str()));
    envp.push_back(nullptr);

    const fs::path outFile = scratch / "stdout", errFile = scratch / "stderr";
    const pid_t pid = ::fork();
    if (pid == 0) {
        int in = ::open("/dev/null", O_RDONLY);
        int out = ::open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = ::open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0) ::_exit(126);
        ::dup2(in, 0);
        ::dup2(out, 1);
        ::dup2(err, 2);
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    Outcome outcome;
    if (pid < 0) return outcome;
    const auto deadline = std::chrono::steady_clock::now() + kRunTimeout;
    int status = 0;
    for (;;) {
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid) break;
        if (done < 0 && errno != EINTR) return outcome;
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            outcome.timedOut = true;
            break;
        }
        const timespec pause{0, 500'000};
        ::nanosleep(&pause, nullptr);
    }
    if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
    if (WIFSIGNALED(status) && !outcome.timedOut) outcome.signal = WTERMSIG(status);
    outcome.out = ReadFile(outFile);
    outcome.err = ReadFile(errFile);
    return outcome;
}

// The values of a Wine registry file, key by key, without what changes on every save (the
// header, the modification times).
std::string RegistryValues(const std::string& bytes) {
    std::map<std::string, std::vector<std::string>> keys;
    std::string key = "(before the first key)";
    std::istringstream lines(bytes);
    std::string line, pending;
    while (std::getline(lines, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        // A value continued on the next line ends with a backslash.
        if (!line.empty() && line.back() == '\\' && line.front() != '[') {
            pending += line.substr(0, line.size() - 1);
            continue;
        }
        line = pending + line;
        pending.clear();
        if (line.empty() || line.rfind(";;", 0) == 0 || line.rfind("#time=", 0) == 0 ||
            line.rfind("WINE REGISTRY", 0) == 0)
            continue;
        if (line.front() == '[') {
            const std::size_t close = line.rfind(']');
            key = line.substr(0, close == std::string::npos ? line.size() : close + 1);
            keys[key];
            continue;
        }
        keys[key].push_back(line);
    }
    std::string text;
    for (auto& [name, values] : keys) {
        std::sort(values.begin(), values.end());
        text += name + "\n";
        for (const std::string& value : values) text += "  " + value + "\n";
    }
    return text;
}

// Snapshots are taken of the folder that holds the prefix as "prefix".
bool AtPrefixTop(const fs::path& relative) {
    return relative.parent_path() == "prefix";
}

bool IsHive(const fs::path& relative) {
    static const std::set<std::string> hives{"user.reg", "system.reg", "userdef.reg"};
    return AtPrefixTop(relative) && hives.count(relative.filename().string()) > 0;
}

// The bytes in full, in printable characters: a snapshot compares every byte.
std::string Printable(const std::string& bytes) {
    std::string text;
    for (unsigned char c : bytes) {
        if (c == '\n') {
            text += "\\n";
        } else if (c < 32 || c > 126) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", c);
            text += hex;
        } else {
            text += static_cast<char>(c);
        }
    }
    return text;
}

std::string Shortened(const std::string& entry) {
    return entry.size() > 600 ? entry.substr(0, 600) + "..." : entry;
}

// Every entry below a folder as a user would check it: kind, mode, owner, and the bytes of a
// file or the target of a link. The registry files are compared by their values.
using Snapshot = std::map<std::string, std::string>;

Snapshot TakeSnapshot(const fs::path& top) {
    Snapshot snapshot;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(top, error);
         it != fs::recursive_directory_iterator(); it.increment(error)) {
        const fs::path relative = fs::relative(it->path(), top);
        // The prefix's lock file stays once made, empty: it holds nothing of the user's.
        if (relative.filename() == ".optera.lock" && AtPrefixTop(relative)) continue;
        struct stat st;
        if (::lstat(it->path().c_str(), &st) != 0) continue;
        std::ostringstream entry;
        entry << std::oct << (st.st_mode & 07777) << std::dec << " " << st.st_uid << ":"
              << st.st_gid << " ";
        if (S_ISLNK(st.st_mode)) {
            entry << "link -> " << fs::read_symlink(it->path(), error).string();
        } else if (S_ISDIR(st.st_mode)) {
            entry << "folder";
        } else if (S_ISREG(st.st_mode)) {
            const std::string bytes = ReadFile(it->path());
            entry << "file " << (IsHive(relative) ? RegistryValues(bytes) : Printable(bytes));
        } else {
            entry << "special";
        }
        snapshot[relative.string()] = entry.str();
    }
    return snapshot;
}

std::string Differences(const Snapshot& before, const Snapshot& after) {
    std::string text;
    for (const auto& [path, was] : before) {
        auto now = after.find(path);
        if (now == after.end())
            text += "  lost:    " + path + "\n";
        else if (now->second != was)
            text += "  changed: " + path + "\n    was: " + Shortened(was) +
                    "\n    now: " + Shortened(now->second) + "\n";
    }
    for (const auto& [path, now] : after)
        if (!before.count(path)) text += "  left:    " + path + " (" + Shortened(now) + ")\n";
    return text;
}

// The names a run uses for its temporaries: none may be left once the runs are over.
bool IsTemporary(const std::string& name) {
    return name == "Mod_Cfg.tmp" || name == "tmpReg.reg" || name.ends_with(".optera-new") ||
           (name.rfind("user.reg.", 0) == 0) || (name.rfind("system.reg.", 0) == 0);
}

std::vector<std::string> Temporaries(const Snapshot& snapshot) {
    std::vector<std::string> found;
    for (const auto& [path, entry] : snapshot)
        if (IsTemporary(fs::path(path).filename().string())) found.push_back(path);
    return found;
}

struct Game {
    const char* name;
    const char* resolution;
    const char* changed;  // a file that a clean Optimize changes, seen by the snapshots
};

// Between them: profile, XML, line and text edits, a registry value with its backup, launchers.
const Game kGames[] = {{"Sample Racer", "3840x1024", "prefix/user.reg"},
                       {"Canyon Flight", "5760x1080", "Canyon Flight/config/display.xml"}};

enum class Command { Optimize, Restore };

const char* CommandName(Command command) {
    return command == Command::Optimize ? "optimize" : "restore";
}

// A world for the program: the demo prefix with the program folder on its drive C: and an empty
// desktop, all below `root`; the user's home (settings) lies outside it.
class World {
  public:
    World() {
        const fs::path data = OPTERA_DATA_DIR;
        const auto options = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
        const fs::path prefix = pristine() / "prefix";
        fs::create_directories(pristine());
        fs::copy(data / "demo-prefix", prefix, options);
        // Only C: is a disk, so that nothing outside the prefix is looked at.
        fs::remove(prefix / "dosdevices" / "z:");
        const fs::path home = prefix / "drive_c" / "Optera";
        fs::create_directories(home);
        fs::copy(data / "Optera.ini", home);
        fs::copy(data / "MODS", home / "MODS", options);
        fs::copy(data / "SKINS", home / "SKINS", options);
        fs::create_directories(pristine() / "Desktop");
        fs::create_directories(temp_.path() / "meta");
    }

    // A fresh copy of the start at root() (the demo, or what KeepAsStart kept), and the user's
    // home emptied.
    void Fresh() {
        std::error_code ignored;
        fs::remove_all(root(), ignored);
        fs::remove_all(userHome(), ignored);
        fs::create_directories(userHome());
        fs::copy(start_, root(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }

    // Makes the state at root() the one that Fresh() copies from now on.
    void KeepAsStart() {
        start_ = temp_.path() / "start";
        CopyRootTo(start_);
    }

    // Copies the state at root() to `other` (for a second way on from the same point).
    void CopyRootTo(const fs::path& other) const {
        std::error_code ignored;
        fs::remove_all(other, ignored);
        fs::copy(root(), other, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }

    void SwapRootWith(const fs::path& other) const {
        const fs::path aside = temp_.path() / "aside";
        fs::rename(root(), aside);
        fs::rename(other, root());
        fs::rename(aside, other);
    }

    fs::path root() const { return temp_.path() / "root"; }
    fs::path prefix() const { return root() / "prefix"; }
    fs::path home() const { return prefix() / "drive_c" / "Optera"; }
    fs::path game(const std::string& relative) const {
        return prefix() / "drive_c" / "Games" / relative;
    }
    fs::path userHome() const { return temp_.path() / "home"; }
    fs::path meta() const { return temp_.path() / "meta"; }
    fs::path countFile() const { return meta() / "count"; }
    fs::path logFile() const { return meta() / "log"; }
    fs::path temp() const { return temp_.path(); }

    // optera-cli answering Yes, on this world, with `faults` (OPTERA_FAULT_*=...) set.
    Outcome Optera(Command command, const Game& game,
                   const std::vector<std::string>& faults = {}) const {
        std::vector<std::string> args{OPTERA_CLI,           "--yes",    "--home",
                                      home().string(),      "--prefix", prefix().string(),
                                      CommandName(command), game.name};
        if (command == Command::Optimize) {
            args.push_back("--resolution");
            args.push_back(game.resolution);
        }
        std::vector<std::string> env{"HOME=" + userHome().string(),
                                     "XDG_CONFIG_HOME=" + (userHome() / ".config").string(),
                                     "XDG_DESKTOP_DIR=" + (root() / "Desktop").string(),
                                     "OPTERA_DISPLAY_MODES=5760x1080x32@60,3840x1024x32@60"};
        // Every run goes through the library, if only to skip the syncs, which are what takes
        // time here and which matter only when the machine stops, not the process.
        env.push_back("LD_PRELOAD=" + std::string(OPTERA_FAULTS_LIB));
        env.push_back("OPTERA_FAULT_ROOT=" + root().string());
        env.push_back("OPTERA_FAULT_NO_SYNC=1");
        // A sanitizer runtime would otherwise refuse to start after the preloaded library.
        env.push_back("ASAN_OPTIONS=verify_asan_link_order=0");
        env.insert(env.end(), faults.begin(), faults.end());
        return RunProcess(args, env, meta());
    }

    // Counts the calls and the calls that need space of one run; the log lists them.
    std::pair<long, long> Count(Command command, const Game& game, Outcome* outcome) const {
        std::error_code ignored;
        fs::remove(countFile(), ignored);
        fs::remove(logFile(), ignored);
        *outcome = Optera(command, game,
                          {"OPTERA_FAULT_COUNT=" + countFile().string(),
                           "OPTERA_FAULT_LOG=" + logFile().string()});
        long calls = 0, space = 0;
        std::istringstream(ReadFile(countFile())) >> calls >> space;
        return {calls, space};
    }

    // The line of the count run's log for call `k`, or for the k-th call that needs space.
    static std::string LoggedCall(const std::string& log, long k, bool space = false) {
        std::istringstream lines(log);
        std::string line;
        for (long seen = 0; std::getline(lines, line);)
            if ((!space || line.compare(line.find(' '), 2, " +") == 0) && ++seen == k) return line;
        return "(call " + std::to_string(k) + " not in the log)";
    }

  private:
    fs::path pristine() const { return temp_.path() / "pristine"; }

    optera::testing::TempFolder temp_;
    fs::path start_ = pristine();
};

// What went wrong at one point: short names of the faults seen, and the details.
struct Verdict {
    std::vector<std::string> faults;
    std::string detail;

    void Fault(const std::string& name, const std::string& more = {}) {
        faults.push_back(name);
        detail += name + "\n" + more;
    }
    // A run the user makes next must end by itself (even when it refuses the game's state).
    void Finished(const char* run, const Outcome& outcome) {
        if (!outcome.Finished()) Fault(std::string(run) + " did not finish", outcome.Describe());
    }
    void SameAsStart(const char* after, const Snapshot& start, const Snapshot& end) {
        if (std::string differences = Differences(start, end); !differences.empty())
            Fault(std::string("not as at the start after ") + after, differences);
        for (const std::string& temporary : Temporaries(end))
            Fault("a temporary was left", "  " + temporary + "\n");
    }
    // Each file is replaced in one step: where a run stopped, every entry (temporaries aside)
    // is as before the run or as a whole run leaves it, never half-way.
    void EachWhole(const Snapshot& before, const Snapshot& after, const Snapshot& now) {
        std::set<std::string> paths;
        for (const Snapshot* snapshot : {&before, &after, &now})
            for (const auto& [path, entry] : *snapshot) paths.insert(path);
        auto at = [](const Snapshot& snapshot, const std::string& path) {
            auto found = snapshot.find(path);
            return found == snapshot.end() ? std::string("(none)") : found->second;
        };
        std::string half;
        for (const std::string& path : paths) {
            if (IsTemporary(fs::path(path).filename().string())) continue;
            const std::string was = at(before, path), whole = at(after, path), is = at(now, path);
            if (is != was && is != whole)
                half += "  " + path + "\n    before the run: " + Shortened(was) +
                        "\n    after a whole run: " + Shortened(whole) +
                        "\n    where it stopped: " + Shortened(is) + "\n";
        }
        if (!half.empty()) Fault("half-done where the run stopped", half);
    }
};

// Collects the points that failed: the first few in full, then one line per fault with the
// points where it was seen.
class PointFailures {
  public:
    explicit PointFailures(std::string what) : what_(std::move(what)) {}

    // Prints the details of a point when it shows a fault not seen before, so that each kind of
    // fault is shown once in full.
    void Add(long k, const std::string& call, const Verdict& verdict, const std::string& runs) {
        if (verdict.faults.empty()) return;
        ++failed_;
        bool fresh = false;
        for (const std::string& fault : verdict.faults) {
            std::vector<long>& points = byFault_[fault];
            fresh = fresh || points.empty();
            if (points.empty() || points.back() != k) points.push_back(k);
        }
        if (fresh && ++detailed_ <= kDetailedFailures)
            ADD_FAILURE() << what_ << ", point " << k << " (" << call << "):\n"
                          << verdict.detail << runs;
    }

    void Summarise(long total) const {
        if (byFault_.empty()) return;
        std::string text;
        for (const auto& [fault, points] : byFault_) {
            text += "  " + fault + " at " + std::to_string(points.size()) + " points:";
            for (long k : points) text += " " + std::to_string(k);
            text += "\n";
        }
        ADD_FAILURE() << what_ << ": " << failed_ << " of " << total << " points failed\n" << text;
    }

  private:
    std::string what_;
    int failed_ = 0;
    int detailed_ = 0;
    std::map<std::string, std::vector<long>> byFault_;
};

struct Case {
    Game game;
    Command command;
};

// Test names and parameters as a reader would say them (ctest lists the parameter too).
void PrintTo(const Game& game, std::ostream* out) {
    *out << game.name;
}

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.game.name << " " << CommandName(c.command);
}

std::string Identifier(std::string name) {
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return name;
}

std::string CaseName(const ::testing::TestParamInfo<Case>& info) {
    return Identifier(info.param.game.name) +
           (info.param.command == Command::Optimize ? "_Optimize" : "_Restore");
}

std::string GameName(const ::testing::TestParamInfo<Game>& info) {
    return Identifier(info.param.name);
}

class KilledBeforeEveryCall : public ::testing::TestWithParam<Case> {};

// A run stopped before its k-th change of a file, for every k; then Optimize and Restore as a
// user would run them next. Where it stopped, no file may be half-changed; at the end,
// everything must be as it was before the first run.
TEST_P(KilledBeforeEveryCall, OptimizeAndRestoreAfterwardsLeaveEverythingAsAtStart) {
    const Case& c = GetParam();
    World world;
    world.Fresh();
    const Snapshot start = TakeSnapshot(world.root());
    Snapshot before = start;  // the state the interrupted run starts from
    if (c.command == Command::Restore) {
        Outcome optimized = world.Optera(Command::Optimize, c.game);
        ASSERT_EQ(optimized.code, 0) << optimized.Describe();
        before = TakeSnapshot(world.root());
        ASSERT_NE(Differences(start, before).find(c.game.changed), std::string::npos)
            << "the snapshots do not see what Optimize changes";
        world.KeepAsStart();
    }
    Outcome counted;
    const long points = world.Count(c.command, c.game, &counted).first;
    const std::string log = ReadFile(world.logFile());
    ASSERT_EQ(counted.code, 0) << counted.Describe();
    ASSERT_GT(points, 0) << "the preloaded library saw no call: " << counted.Describe();
    const Snapshot after = TakeSnapshot(world.root());  // what a whole run leaves
    if (c.command == Command::Restore) {
        ASSERT_EQ(Differences(start, after), "") << "a clean Restore";
    }
    std::cout << "[ points   ] " << c.game.name << " " << CommandName(c.command) << ": " << points
              << " interruption points\n";
    RecordProperty("interruption_points", static_cast<int>(points));

    PointFailures failures(std::string(c.game.name) + " " + CommandName(c.command) + " killed");
    for (long k = 1; k <= points; ++k) {
        world.Fresh();
        Outcome killed =
            world.Optera(c.command, c.game, {"OPTERA_FAULT_KILL_AT=" + std::to_string(k)});
        ASSERT_EQ(killed.signal, SIGKILL)
            << "point " << k << " was not reached: the runs are not repeatable\n"
            << killed.Describe();
        Verdict verdict;
        verdict.EachWhole(before, after, TakeSnapshot(world.root()));
        Outcome again = world.Optera(Command::Optimize, c.game);
        Outcome restored = world.Optera(Command::Restore, c.game);
        verdict.Finished("Optimize again", again);
        verdict.Finished("Restore", restored);
        verdict.SameAsStart("Optimize and Restore", start, TakeSnapshot(world.root()));
        failures.Add(
            k, world.LoggedCall(log, k), verdict,
            "--- Optimize again: " + again.Describe() + "--- Restore: " + restored.Describe());
    }
    failures.Summarise(points);
}

INSTANTIATE_TEST_SUITE_P(Demo, KilledBeforeEveryCall,
                         ::testing::Values(Case{kGames[0], Command::Optimize},
                                           Case{kGames[0], Command::Restore},
                                           Case{kGames[1], Command::Optimize},
                                           Case{kGames[1], Command::Restore}),
                         CaseName);

class FullDisk : public ::testing::TestWithParam<Game> {};

// The disk fills up at each write of Optimize in turn. The run must say so and exit 1; then
// Restore alone, and Optimize followed by Restore, must each give back the state at the start.
TEST_P(FullDisk, OptimizeReportsItAndRestoreGivesEverythingBack) {
    const Game& game = GetParam();
    World world;
    world.Fresh();
    const Snapshot start = TakeSnapshot(world.root());
    Outcome counted;
    const long writes = world.Count(Command::Optimize, game, &counted).second;
    const std::string log = ReadFile(world.logFile());
    ASSERT_EQ(counted.code, 0) << counted.Describe();
    ASSERT_GT(writes, 0) << counted.Describe();
    std::cout << "[ points   ] " << game.name << " optimize: " << writes
              << " writes that a full disk fails\n";
    RecordProperty("write_points", static_cast<int>(writes));

    const fs::path second = world.temp() / "second";
    PointFailures failures(std::string(game.name) + " optimize on a full disk");
    for (long k = 1; k <= writes; ++k) {
        world.Fresh();
        Outcome full =
            world.Optera(Command::Optimize, game, {"OPTERA_FAULT_ENOSPC_AT=" + std::to_string(k)});
        Verdict verdict;
        verdict.Finished("the run on a full disk", full);
        // The status printed after the run is the game's as its files show it; what tells the
        // user that the work is not whole is the exit code and the report.
        if (full.code != 1) verdict.Fault("the run on a full disk did not exit 1");
        if (full.err.find("disk is full") == std::string::npos)
            verdict.Fault("the run on a full disk does not say that the disk is full");
        world.CopyRootTo(second);

        Outcome restored = world.Optera(Command::Restore, game);
        verdict.Finished("Restore", restored);
        verdict.SameAsStart("Restore", start, TakeSnapshot(world.root()));

        world.SwapRootWith(second);
        Outcome again = world.Optera(Command::Optimize, game);
        Outcome restoredAgain = world.Optera(Command::Restore, game);
        verdict.Finished("Optimize on a disk with room", again);
        verdict.Finished("Restore after it", restoredAgain);
        verdict.SameAsStart("Optimize and Restore", start, TakeSnapshot(world.root()));
        failures.Add(k, world.LoggedCall(log, k, true), verdict,
                     "--- the run on a full disk: " + full.Describe() +
                         "--- Restore: " + restored.Describe());
    }
    failures.Summarise(writes);
}

INSTANTIATE_TEST_SUITE_P(Demo, FullDisk, ::testing::ValuesIn(kGames), GameName);

constexpr uid_t kUser = 65534;  // the prefix's owner, not the superuser who runs Optera

void OwnTree(const fs::path& top, uid_t owner) {
    ASSERT_EQ(::lchown(top.c_str(), owner, owner), 0) << top;
    for (const auto& entry : fs::recursive_directory_iterator(top))
        ASSERT_EQ(::lchown(entry.path().c_str(), owner, owner), 0) << entry.path();
}

void PlantLink(const fs::path& target, const fs::path& link) {
    fs::create_symlink(target, link);
    ASSERT_EQ(::lchown(link.c_str(), kUser, kUser), 0) << link;
}

struct Planted {
    const char* folder;  // below the games folder
    const char* file;    // a configuration file there, made private to its owner
    const char* copy;    // the name of its original
};

// The superuser optimizes and restores a user's games, whose folders hold links the user
// planted at the names of Optera's temporaries and originals, leading out of the prefix. No file
// outside may be written or made, and the user's files must stay the user's, with their modes.
TEST(RootWithPlantedLinks, NothingOutsideIsWrittenAndFilesStayTheUsers) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "runs only as root: it checks what the superuser does to a user's files";
    World world;
    world.Fresh();
    const fs::path outside = world.temp() / "outside";
    fs::create_directories(outside);
    const fs::path victim = outside / "victim.txt";
    std::ofstream(victim) << "a file of the system\n";
    fs::permissions(victim, fs::perms(0644));

    const Planted planted[] = {{"Sample Racer/bin", "video.ini", "video.original"},
                               {"Sample Racer/saves", "player1.cfg", "player1.original"},
                               {"Canyon Flight/config", "display.xml", "display.original"},
                               {"Canyon Flight/config", "startup.txt", "startup.original"}};
    OwnTree(world.root(), kUser);
    std::set<std::string> folders;
    for (const Planted& p : planted) {
        const fs::path folder = world.game(p.folder);
        fs::permissions(folder / p.file, fs::perms(0600));
        PlantLink(victim, folder / (std::string(p.file) + ".optera-new"));
        PlantLink(outside / ("made-through-" + std::string(p.copy)), folder / p.copy);
        if (folders.insert(p.folder).second) PlantLink(victim, folder / "Mod_Cfg.tmp");
    }
    PlantLink(victim, world.prefix() / "user.reg.optera-new");
    PlantLink(victim, world.prefix() / "drive_c" / "tmpReg.reg");
    PlantLink(victim, world.root() / "Desktop" / "Sample Racer Widescape.desktop.optera-new");

    const Snapshot outsideBefore = TakeSnapshot(outside);
    std::map<std::string, std::string> contentBefore;
    for (const Planted& p : planted)
        contentBefore[p.file] = ReadFile(world.game(p.folder) / p.file);

    for (const Game& game : kGames) {
        Outcome optimized = world.Optera(Command::Optimize, game);
        EXPECT_TRUE(optimized.Finished()) << optimized.Describe();
        EXPECT_EQ(Differences(outsideBefore, TakeSnapshot(outside)), "")
            << "Optimize " << game.name << " as root wrote outside the prefix\n"
            << optimized.Describe();
    }
    for (const Planted& p : planted)
        EXPECT_NE(ReadFile(world.game(p.folder) / p.file), contentBefore[p.file])
            << p.file << " was not optimized";
    for (const Game& game : kGames) {
        Outcome restored = world.Optera(Command::Restore, game);
        EXPECT_TRUE(restored.Finished()) << restored.Describe();
        EXPECT_EQ(Differences(outsideBefore, TakeSnapshot(outside)), "")
            << "Restore " << game.name << " as root wrote outside the prefix\n"
            << restored.Describe();
    }

    for (const Planted& p : planted) {
        const fs::path file = world.game(p.folder) / p.file;
        struct stat st;
        ASSERT_EQ(::lstat(file.c_str(), &st), 0) << file;
        EXPECT_TRUE(S_ISREG(st.st_mode)) << file;
        EXPECT_EQ(st.st_mode & 07777, 0600u) << file;
        EXPECT_EQ(ReadFile(file), contentBefore[p.file]) << file;
    }
    // Whatever Optera made or replaced in the user's tree is the user's.
    const std::string owner = " " + std::to_string(kUser) + ":" + std::to_string(kUser) + " ";
    for (const auto& [path, entry] : TakeSnapshot(world.root())) {
        EXPECT_NE(entry.find(owner), std::string::npos)
            << path << " is not the user's: " << entry.substr(0, 80);
    }
}

}  // namespace
