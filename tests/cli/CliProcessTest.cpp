// optera-cli as a user runs it: real processes on a copy of the bundled demo (program folder
// and Wine prefix), checked by their output, the files they change and their exit codes.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "support/TempFolder.h"

namespace fs = std::filesystem;

namespace {

struct Ran {
    int code = -1;
    std::string out, err;
};

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    return in ? bytes.str() : "(missing)";
}

std::string Quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

class Cli : public ::testing::Test {
  protected:
    Cli() {
        const fs::path data = OPTERA_DATA_DIR;
        const auto options = fs::copy_options::recursive | fs::copy_options::copy_symlinks;
        fs::copy(data / "demo-prefix", prefix(), options);
        // Only C: is a disk, so that a search stays inside the prefix.
        fs::remove(prefix() / "dosdevices" / "z:");
        fs::create_directories(home());
        fs::copy(data / "Optera.ini", home());
        fs::copy(data / "MODS", home() / "MODS", options);
        fs::copy(data / "SKINS", home() / "SKINS", options);
    }

    // The program folder, on drive C: of the prefix.
    fs::path home() const { return prefix() / "drive_c" / "Optera"; }
    fs::path prefix() const { return temp.path() / "prefix"; }
    fs::path game(const std::string& relative) const {
        return prefix() / "drive_c" / "Games" / relative;
    }

    // Runs optera-cli; `environment` adds NAME=value words. Safe to call from two threads.
    Ran Optera(const std::string& arguments, const std::string& environment = "") {
        const fs::path err = temp.path() / ("stderr-" + std::to_string(runs_++));
        std::string command = "env -u DISPLAY -u WINEPREFIX -u OPTERA_HOME " + environment +
                              " HOME=" + Quote(temp.path().string()) +
                              " XDG_DESKTOP_DIR=" + Quote((temp.path() / "Desktop").string()) +
                              " OPTERA_DISPLAY_MODES=5760x1080x32@60,3840x1024x32@60 " +
                              Quote(OPTERA_CLI) + " --home " + Quote(home().string()) +
                              " --prefix " + Quote(prefix().string()) + " " + arguments +
                              " </dev/null 2>" + Quote(err.string());
        Ran run;
        FILE* pipe = ::popen(command.c_str(), "r");
        char buffer[4096];
        for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            run.out.append(buffer, got);
        const int status = ::pclose(pipe);
        run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.err = ReadFile(err);
        fs::remove(err);
        return run;
    }

    // Every file below the test's folder with its content, but the lock file that Optera
    // leaves in the prefix: what a run that changes nothing leaves as it was.
    std::map<std::string, std::string> Snapshot() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(temp.path()))
            if (entry.is_regular_file() && entry.path().filename() != ".optera.lock")
                files[entry.path().lexically_relative(temp.path()).string()] =
                    ReadFile(entry.path());
        return files;
    }
    // The files made, changed or removed since the snapshot.
    std::vector<std::string> ChangedSince(const std::map<std::string, std::string>& before) const {
        std::map<std::string, std::string> now = Snapshot();
        std::vector<std::string> changed;
        for (const auto& [name, bytes] : now)
            if (!before.contains(name) || before.at(name) != bytes) changed.push_back(name);
        for (const auto& [name, bytes] : before)
            if (!now.contains(name)) changed.push_back(name);
        return changed;
    }

    optera::testing::TempFolder temp;
    std::atomic<int> runs_{0};
};

TEST_F(Cli, ListsEveryClassAndSelectsAsTheWindowWould) {
    Ran all = Optera("list");
    EXPECT_EQ(all.code, 0) << all.err;
    EXPECT_EQ(all.out,
              "Broken Bridge\tGame CFG file not found\n"
              "Canyon Flight\tGame not optimized yet\n"
              "Deep Tunnels\tGame not detected\n"
              "Horizon Wide\tGame has native support\n"
              "Orbital Command\tGame not optimized yet\n"
              "Retro Arena\tGame has been optimized\n"
              "Sample Racer\tGame not optimized yet\n");
    Ran detected = Optera("list --detected");
    // Left out: the game not detected. (A native game with no file to test stays.)
    EXPECT_EQ(detected.out.find("Deep Tunnels"), std::string::npos);
    EXPECT_NE(detected.out.find("Horizon Wide"), std::string::npos);

    Ran select = Optera("select 'retro arena.txt' --json");
    ASSERT_EQ(select.code, 0) << select.err;
    auto state = nlohmann::json::parse(select.out);
    EXPECT_EQ(state["status"], "Game has been optimized");
    EXPECT_EQ(state["path"], "C:\\Games\\Retro Arena");
    EXPECT_EQ(state["colour"], 49152);
    EXPECT_EQ(state["checked"], true);
    EXPECT_EQ(state["buttons"][0]["enabled"], false);
    EXPECT_EQ(state["buttons"][1]["enabled"], true);
    EXPECT_EQ(state["resolutions"],
              (nlohmann::json{"2400x600", "3072x768", "3840x1024", "5760x1080"}));
    EXPECT_EQ(state["selected_resolution"], "3840x1024") << "the resolution it was optimized for";

    Ran howTo = Optera("howto 'Horizon Wide'");
    EXPECT_TRUE(howTo.out.starts_with("\r\n\tHorizon Wide  (has native support)\r\n\r\n"))
        << howTo.out;
}

// What the files hold afterwards is checked on every file by the fault tests; here, what the
// command line adds: the answers, the transcript, the messages and the exit codes.
TEST_F(Cli, OptimizeAndRestoreAGame) {
    Ran details = Optera("details 'Sample Racer' --resolution 3840x1024");
    EXPECT_NE(details.out.find("\r\nDisplay,Width=3840\r\n"), std::string::npos) << details.out;

    auto before = Snapshot();
    Ran no = Optera("--no optimize 'Sample Racer' --resolution 3840x1024");
    EXPECT_EQ(no.code, 1);
    EXPECT_EQ(ChangedSince(before), std::vector<std::string>{})
        << "an answer of No changes nothing";

    const fs::path transcript = temp.path() / "boxes.jsonl";
    Ran yes = Optera("--yes --transcript " + Quote(transcript.string()) +
                     " optimize 'Sample Racer' --resolution 3840x1024");
    EXPECT_EQ(yes.code, 0) << yes.err;
    EXPECT_EQ(yes.out, "Game has been optimized\n");
    EXPECT_NE(ReadFile(game("Sample Racer/bin/video.ini")).find("Width=3840"), std::string::npos);
    EXPECT_TRUE(fs::exists(temp.path() / "Desktop" / "Sample Racer Widescape.desktop"));
    std::istringstream lines(ReadFile(transcript));
    std::string first;
    std::getline(lines, first);
    auto box = nlohmann::json::parse(first);
    EXPECT_EQ(box["title"], "Proceed with  3840 x 1024  optimizations?");
    EXPECT_EQ(box["icon"], "question");
    EXPECT_EQ(box["buttons"], "yesno");
    EXPECT_EQ(box["answer"], "yes");
    EXPECT_NE(yes.err.find("Desktop Shortcut Icon: PLEASE NOTE:"), std::string::npos);

    before = Snapshot();
    EXPECT_EQ(Optera("restore 'Sample Racer'").code, 1) << "no terminal: the answer is No";
    EXPECT_EQ(ChangedSince(before), std::vector<std::string>{});
    Ran restore = Optera("--yes restore 'Sample Racer'");
    EXPECT_EQ(restore.code, 0);
    EXPECT_EQ(restore.out, "Game not optimized yet\n");
    EXPECT_FALSE(fs::exists(temp.path() / "Desktop" / "Sample Racer Widescape.desktop"));
}

// What optimize or restore could not do is listed on the error stream, and the exit code is 1.
TEST_F(Cli, OptimizeAndRestoreThatCannotDoEverythingSayWhatAndExitOne) {
    const std::string video = ReadFile(game("Sample Racer/bin/video.ini"));
    const std::string save = ReadFile(game("Sample Racer/saves/player1.cfg"));
    // Something in the place of a copy: that file cannot get its original and is not edited.
    fs::create_directories(game("Sample Racer/saves/player1.original/x"));
    Ran optimize = Optera("--yes optimize 'Sample Racer' --resolution 3840x1024");
    EXPECT_EQ(optimize.code, 1) << optimize.err;
    EXPECT_NE(optimize.err.find("player1.cfg: its original copy could not be made"),
              std::string::npos)
        << optimize.err;
    EXPECT_EQ(ReadFile(game("Sample Racer/saves/player1.cfg")), save);
    EXPECT_NE(ReadFile(game("Sample Racer/bin/video.ini")).find("Width=3840"), std::string::npos);

    // Something in the place of the file: the window offers no Restore then, so neither does the
    // command line, and the copy stays.
    fs::remove(game("Sample Racer/bin/video.ini"));
    fs::create_directories(game("Sample Racer/bin/video.ini/x"));
    Ran restore = Optera("--yes restore 'Sample Racer'");
    EXPECT_EQ(restore.code, 1) << restore.err;
    EXPECT_NE(restore.err.find("restore is not possible"), std::string::npos) << restore.err;
    EXPECT_EQ(ReadFile(game("Sample Racer/bin/video.original")), video);
}

TEST_F(Cli, LocatesUnchecksSearchesAndWritesTheBlankRecipe) {
    Ran wrong = Optera("locate 'Deep Tunnels' 'C:\\Games\\Retro Arena\\arena.exe'");
    EXPECT_EQ(wrong.code, 1);
    EXPECT_NE(wrong.err.find("Optera - Error Msg: "), std::string::npos);

    EXPECT_EQ(Optera("search 'Deep Tunnels'").code, 1);
    fs::create_directories(prefix() / "drive_c" / "Apps" / "Tunnels");
    std::ofstream(prefix() / "drive_c" / "Apps" / "Tunnels" / "tunnels.exe") << "MZ";
    Ran search = Optera("search 'Deep Tunnels'");
    EXPECT_EQ(search.code, 0) << search.err;
    EXPECT_EQ(search.out, "Game CFG file not found\n") << "the state with the place found";
    EXPECT_NE(ReadFile(home() / "MODS" / "Deep Tunnels.txt")
                  .find("USERLOC=C:\\Apps\\Tunnels\\tunnels.exe"),
              std::string::npos);
    // Its configuration file is not there: unticking the game takes the place back.
    EXPECT_EQ(Optera("uncheck 'Deep Tunnels'").out, "Game not detected\n");

    Ran located = Optera("locate 'Deep Tunnels' " +
                         Quote((prefix() / "drive_c/Apps/Tunnels/tunnels.exe").string()));
    EXPECT_EQ(located.code, 0) << located.err;
    EXPECT_EQ(located.out, "Game CFG file not found\n");

    Ran blank = Optera("new-recipe --no-editor");
    EXPECT_EQ(blank.code, 0);
    EXPECT_NE(
        ReadFile(home() / "MODS" / "_BLANK.txt")
            .find("[RESDEPENDENT.1]\r\n2400x600=\r\n3072x768=\r\n3840x1024=\r\n5760x1080=\r\n"),
        std::string::npos);
}

// What the window would not let a user press, the command line refuses too, naming the game's
// state, and changes nothing.
TEST_F(Cli, CommandsTheWindowDisablesAreRefused) {
    const struct {
        const char* command;
        const char* state;
    } cases[] = {
        {"optimize 'Retro Arena'", "Game has been optimized"},
        {"optimize 'Broken Bridge'", "Game CFG file not found"},
        {"optimize 'Horizon Wide'", "Game has native support"},
        {"optimize 'Deep Tunnels'", "Game not detected"},
        {"restore 'Sample Racer'", "Game not optimized yet"},
        {"locate 'Sample Racer' 'C:\\Games\\Sample Racer\\bin\\racer.exe'",
         "Game not optimized yet"},
        {"search 'Canyon Flight'", "Game not optimized yet"},
    };
    const auto before = Snapshot();
    for (const auto& c : cases) {
        Ran run = Optera(std::string("--yes ") + c.command);
        EXPECT_EQ(run.code, 1) << c.command;
        EXPECT_NE(run.err.find(std::string("now: ") + c.state), std::string::npos)
            << c.command << ": " << run.err;
        EXPECT_EQ(ChangedSince(before), std::vector<std::string>{}) << c.command;
    }
}

// While another Optera changes the prefix, a second one waits a short while, then says so and
// changes nothing.
TEST_F(Cli, AnotherOpterasRunIsWaitedForThenRefused) {
    const auto before = Snapshot();
    const int held =
        ::open((prefix() / ".optera.lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    for (const char* command :
         {"optimize 'Sample Racer' --resolution 3840x1024", "restore 'Retro Arena'"}) {
        Ran busy = Optera(std::string("--yes ") + command, "OPTERA_LOCK_WAIT_MS=100");
        EXPECT_EQ(busy.code, 1) << command;
        EXPECT_NE(busy.err.find("Another Optera is busy"), std::string::npos) << busy.err;
        EXPECT_EQ(ChangedSince(before), std::vector<std::string>{}) << command;
    }
    // Let go within the wait, the run goes ahead.
    auto later = std::async(std::launch::async, [held] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        ::close(held);
    });
    Ran waited = Optera("--yes optimize 'Sample Racer' --resolution 3840x1024");
    later.wait();
    EXPECT_EQ(waited.code, 0) << waited.err;
    EXPECT_EQ(waited.out, "Game has been optimized\n");
}

// Two Opteras on one game at once, round after round: whatever order their runs take, no
// original copy is lost, and a restore at the end gives every file and value back.
TEST_F(Cli, TwoOpterasAtOnceLoseNothing) {
    struct Watched {
        fs::path file, copy;
        std::string original;
    };
    std::vector<Watched> watched;
    for (const char* name : {"bin/video", "saves/player1", "saves/player2"}) {
        const fs::path file = game(std::string("Sample Racer/") + name);
        const fs::path real =
            fs::exists(file.string() + ".ini") ? file.string() + ".ini" : file.string() + ".cfg";
        watched.push_back({real, file.string() + ".original", ReadFile(real)});
    }
    const std::string width = "\"Width\"=dword:00000400";
    ASSERT_NE(ReadFile(prefix() / "user.reg").find(width), std::string::npos);
    const std::string optimize = "--yes optimize 'Sample Racer' --resolution 3840x1024";
    const std::string restore = "--yes restore 'Sample Racer'";
    // Two Opteras, each optimizing and restoring in turn, out of step with each other.
    auto worker = [&](int start) {
        std::vector<Ran> runs;
        for (int round = 0; round < 24; ++round)
            runs.push_back(Optera((round + start) % 2 == 0 ? optimize : restore));
        return runs;
    };
    auto first = std::async(std::launch::async, worker, 0);
    std::vector<Ran> runs = worker(1);
    for (const Ran& run : first.get()) runs.push_back(run);
    int done = 0;
    for (const Ran& run : runs) {
        EXPECT_TRUE(run.code == 0 || run.code == 1) << run.err;
        EXPECT_EQ(run.err.find("Another Optera is busy"), std::string::npos) << run.err;
        done += run.code == 0;
    }
    EXPECT_GT(done, 4) << "the runs raced without doing anything";
    // A file without its copy is the original; a copy is the original.
    for (const Watched& w : watched) {
        if (!fs::exists(w.copy)) {
            EXPECT_EQ(ReadFile(w.file), w.original) << w.file;
            continue;
        }
        EXPECT_EQ(ReadFile(w.copy), w.original) << w.copy;
    }
    if (fs::exists(watched.front().copy)) {
        EXPECT_EQ(Optera(restore).code, 0);
    }
    for (const Watched& w : watched) {
        EXPECT_EQ(ReadFile(w.file), w.original) << w.file;
        EXPECT_FALSE(fs::exists(w.copy)) << w.copy;
    }
    EXPECT_NE(ReadFile(prefix() / "user.reg").find(width), std::string::npos);
}

TEST_F(Cli, WrongUseSaysWhatIsWrongAndWhatWouldBeRight) {
    Ran unknown = Optera("select 'No Such Game'");
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("the games are: Broken Bridge, Canyon Flight"), std::string::npos);
    Ran resolution = Optera("optimize 'Sample Racer' --resolution 1x1");
    EXPECT_EQ(resolution.code, 2);
    EXPECT_NE(resolution.err.find("offered: 2400x600, 3072x768, 3840x1024, 5760x1080\n"),
              std::string::npos);
    EXPECT_EQ(Optera("list --frobnicate").code, 2);
    EXPECT_EQ(Optera("--yes --no list").code, 2);

    fs::remove_all(home() / "SKINS");
    Ran noSkin = Optera("list");
    EXPECT_EQ(noSkin.code, 1);
    EXPECT_NE(noSkin.err.find("there is no skin"), std::string::npos);
}

// The program keeps its text in the 8-bit code page; the terminal and JSON get UTF-8, and a name
// typed in UTF-8 finds its game.
TEST_F(Cli, ForeignTextCrossesTheTerminalAsUtf8) {
    std::string ini = ReadFile(home() / "Optera.ini");
    ini.replace(ini.find("Default=1024x768"), 16,
                "Default=1024x768 (\xE9"
                "cran)");
    std::ofstream(home() / "Optera.ini", std::ios::binary) << ini;
    Ran resolutions = Optera("resolutions --json");
    ASSERT_EQ(resolutions.code, 0) << resolutions.err;
    EXPECT_EQ(nlohmann::json::parse(resolutions.out)["default"], "1024x768 (\u00e9cran)")
        << resolutions.out;

    // A recipe and a game folder named with an accent: Wine keeps both names in UTF-8 on the
    // host, the recipe's text names the folder in the code page.
    const std::string cafe = "Orbital Caf\xC3\xA9";
    std::string recipe = ReadFile(home() / "MODS" / "Orbital Command.txt");
    const std::string folder = "C:\\Games\\Orbital Command";
    recipe.replace(recipe.find(folder), folder.size(), "C:\\Jeux\\Orbital Caf\xE9");
    fs::remove(home() / "MODS" / "Orbital Command.txt");
    std::ofstream(home() / "MODS" / (cafe + ".txt"), std::ios::binary) << recipe;
    fs::create_directories(prefix() / "drive_c" / "Jeux");
    fs::rename(game("Orbital Command"), prefix() / "drive_c" / "Jeux" / cafe);

    Ran list = Optera("list");
    EXPECT_NE(list.out.find(cafe + "\tGame not optimized yet\n"), std::string::npos) << list.out;
    Ran select = Optera("select " + Quote(cafe) + " --json");
    ASSERT_EQ(select.code, 0) << select.err;
    EXPECT_EQ(nlohmann::json::parse(select.out)["path"], "C:\\Jeux\\" + cafe) << select.out;
    Ran optimize = Optera("--yes optimize " + Quote(cafe) + " --resolution 3840x1024");
    EXPECT_EQ(optimize.code, 0) << optimize.err;
    EXPECT_NE(ReadFile(prefix() / "drive_c" / "Jeux" / cafe / "settings.cfg").find("3840"),
              std::string::npos);
}

}  // namespace
