// Where the program folder is, and how a new user's is made from the installed data.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "core/ProgramFolder.h"
#include "core/Session.h"
#include "platform/fake/ScriptedPrompts.h"
#include "support/TempFolder.h"

namespace fs = std::filesystem;
using namespace optera;

namespace {

// Sets environment variables for one test and puts them back after it.
class Environment {
  public:
    void Set(const char* name, const std::string& value) {
        Remember(name);
        ::setenv(name, value.c_str(), 1);
    }
    void Unset(const char* name) {
        Remember(name);
        ::unsetenv(name);
    }
    ~Environment() {
        for (const auto& [name, value] : saved_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }

  private:
    void Remember(const char* name) {
        if (saved_.count(name)) return;
        const char* value = std::getenv(name);
        saved_[name] = value ? std::optional<std::string>(value) : std::nullopt;
    }
    std::map<std::string, std::optional<std::string>> saved_;
};

}  // namespace

TEST(ProgramFolder, TheFirstPlaceThatAppliesWins) {
    optera::testing::TempFolder temp;
    const fs::path portable = temp.path() / "portable", plain = temp.path() / "plain";
    fs::create_directories(portable);
    fs::create_directories(plain);
    std::ofstream(portable / "Optera.ini") << "[SETUP]\n";
    struct Row {
        const char* name;
        fs::path given, executable;
        const char *optera, *xdg;
        fs::path expected;
        bool perUser;
    } rows[] = {
        {"given", "given", portable, "env", "xdg", "given", false},
        {"OPTERA_HOME", "", portable, "env", "xdg", "env", false},
        {"portable copy", "", portable, nullptr, "xdg", portable, false},
        {"XDG_DATA_HOME", "", plain, nullptr, "xdg", fs::path("xdg") / "optera", true},
        {"HOME", "", plain, nullptr, nullptr, temp.path() / ".local/share/optera", true},
    };
    for (const Row& row : rows) {
        Environment environment;
        environment.Set("HOME", temp.path().string());
        row.optera ? environment.Set("OPTERA_HOME", row.optera) : environment.Unset("OPTERA_HOME");
        row.xdg ? environment.Set("XDG_DATA_HOME", row.xdg) : environment.Unset("XDG_DATA_HOME");
        const core::ProgramFolderChoice choice =
            core::ResolveProgramFolder(row.given, row.executable);
        EXPECT_EQ(choice.folder, row.expected) << row.name;
        EXPECT_EQ(choice.perUser, row.perUser) << row.name;
    }
}

TEST(ProgramFolder, ANewUsersFolderIsMadeFromTheInstalledDataOnce) {
    optera::testing::TempFolder temp;
    const fs::path folder = temp.path() / "share" / "optera";
    std::string error;
    ASSERT_FALSE(core::SeedProgramFolder(folder, {temp.path() / "nowhere"}, error));
    EXPECT_NE(error.find("no installed data"), std::string::npos) << error;
    EXPECT_FALSE(fs::exists(folder));

    ASSERT_TRUE(core::SeedProgramFolder(
        folder, {temp.path() / "nowhere", fs::path(OPTERA_DATA_DIR)}, error))
        << error;
    EXPECT_TRUE(fs::is_regular_file(folder / "Optera.ini"));
    EXPECT_TRUE(fs::is_directory(folder / "MODS"));
    EXPECT_TRUE(fs::is_directory(folder / "SKINS"));
    EXPECT_FALSE(fs::exists(folder / "demo-prefix")) << "the demo prefix is not the user's";
    // Nothing is left beside it, and a folder that exists is never touched again.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.parent_path()), {}), 1);
    std::ofstream(folder / "Optera.ini") << "mine";
    ASSERT_TRUE(core::SeedProgramFolder(folder, {fs::path(OPTERA_DATA_DIR)}, error));
    std::ifstream in(folder / "Optera.ini");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "mine");
}

TEST(ProgramFolder, ANewUserWithNoFolderGivenGetsAWorkingOne) {
    optera::testing::TempFolder temp;
    Environment environment;
    environment.Set("HOME", temp.path().string());
    environment.Unset("OPTERA_HOME");
    environment.Unset("XDG_DATA_HOME");
    platform::ScriptedPrompts prompts;
    std::string error;
    auto session = core::Session::Open({"", temp.path() / "prefix", ""}, prompts, error);
    ASSERT_TRUE(session) << error;
    EXPECT_FALSE(session->profile()
                     .GetIniStringValue(session->programFolder() + "\\Optera.ini", "SETUP", "Skin")
                     .empty());
}
