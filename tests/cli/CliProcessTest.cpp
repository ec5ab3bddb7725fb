// optera-cli as a user runs it: real processes on a copy of the bundled demo (program folder
// and Wine prefix), checked by their output, the files they change and their exit codes.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

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

    Ran Optera(const std::string& arguments) {
        const fs::path err = temp.path() / "stderr";
        std::string command =
            "env -u DISPLAY -u WINEPREFIX -u OPTERA_HOME HOME=" + Quote(temp.path().string()) +
            " XDG_DESKTOP_DIR=" + Quote((temp.path() / "Desktop").string()) +
            " OPTERA_DISPLAY_MODES=5760x1080x32@60,3840x1024x32@60 " + Quote(OPTERA_CLI) +
            " --home " + Quote(home().string()) + " --prefix " + Quote(prefix().string()) + " " +
            arguments + " </dev/null 2>" + Quote(err.string());
        Ran run;
        FILE* pipe = ::popen(command.c_str(), "r");
        char buffer[4096];
        for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            run.out.append(buffer, got);
        const int status = ::pclose(pipe);
        run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        run.err = ReadFile(err);
        return run;
    }

    optera::testing::TempFolder temp;
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

TEST_F(Cli, OptimizeAndRestoreAGame) {
    const std::string video = ReadFile(game("Sample Racer/bin/video.ini"));
    const std::string save = ReadFile(game("Sample Racer/saves/player1.cfg"));
    Ran details = Optera("details 'Sample Racer' --resolution 3840x1024");
    EXPECT_NE(details.out.find("\r\nDisplay,Width=3840\r\n"), std::string::npos) << details.out;

    Ran no = Optera("--no optimize 'Sample Racer' --resolution 3840x1024");
    EXPECT_EQ(no.code, 1);
    EXPECT_EQ(ReadFile(game("Sample Racer/bin/video.ini")), video);

    const fs::path transcript = temp.path() / "boxes.jsonl";
    Ran yes = Optera("--yes --transcript " + Quote(transcript.string()) +
                     " optimize 'Sample Racer' --resolution 3840x1024");
    EXPECT_EQ(yes.code, 0) << yes.err;
    EXPECT_EQ(yes.out, "Game has been optimized\n");
    EXPECT_NE(ReadFile(game("Sample Racer/bin/video.ini")).find("Width=3840"), std::string::npos);
    EXPECT_EQ(ReadFile(game("Sample Racer/bin/video.original")), video);
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

    EXPECT_EQ(Optera("restore 'Sample Racer'").code, 1) << "no terminal: the answer is No";
    Ran restore = Optera("--yes restore 'Sample Racer'");
    EXPECT_EQ(restore.code, 0);
    EXPECT_EQ(restore.out, "Game not optimized yet\n");
    EXPECT_EQ(ReadFile(game("Sample Racer/bin/video.ini")), video);
    EXPECT_EQ(ReadFile(game("Sample Racer/saves/player1.cfg")), save);
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

    // Something in the place of the file: its copy cannot go back, and stays.
    fs::remove(game("Sample Racer/bin/video.ini"));
    fs::create_directories(game("Sample Racer/bin/video.ini/x"));
    Ran restore = Optera("--yes restore 'Sample Racer'");
    EXPECT_EQ(restore.code, 1) << restore.err;
    EXPECT_NE(restore.err.find("video.ini: its original could not be put back"), std::string::npos)
        << restore.err;
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
