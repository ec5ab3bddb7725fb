// The way back for registry values, through Optimize and Restore on the fake machine: every value
// comes back as it was, whatever the game's location, and a backup that cannot be written or
// loaded costs no value and is named in the run's report.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "optimizer/Optimizer.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "support/FakeOptimizer.h"

using namespace optera;
namespace hkey = platform::hkey;

namespace {

constexpr char kKey[] = "HKEY_CURRENT_USER\\Software\\Game";
constexpr char kBackup[] = "C:\\Game\\Kelvan_Game_0.reg";

// A game whose recipe sets a value that exists and one that does not, below its key.
struct GameSetup : optera::testing::FakeOptimizer {
    GameSetup() {
        SetUpGame();
        fake.environment.variables["SystemDrive"] = "C:";
        fake.registry.PutKey(hkey::CurrentUser, "Software\\Game\\Video");
        game.Registry = {std::string(kKey) + ",Mode,wide,REG_SZ",
                         std::string(kKey) + "\\Video,Width,3840,REG_DWORD"};
        registry.SetStringValue(kKey, "Mode", "narrow");
    }
    std::optional<platform::FakeKeyStore::StoredValue> Value(const char* path, const char* name) {
        return fake.registry.Value(hkey::CurrentUser, path, name);
    }
};

class RegistryBackup : public ::testing::Test, public GameSetup {};

using Stored = platform::FakeKeyStore::StoredValue;
const Stored kNarrow{platform::regtype::Sz, std::string("narrow\0", 7)};
const Stored kWide{platform::regtype::Sz, std::string("wide\0", 5)};
const Stored kWidth{platform::regtype::Dword, std::string("\x00\x0f\0\0", 4)};

TEST(RegistryBackups, EveryValueComesBackWhereverTheGameWasFound) {
    struct Row {
        const char* name;
        std::function<void(GameSetup&)> arrange;
        const char* backup;  // where the backup is while the game is optimized
    };
    const Row rows[] = {
        {"located through the registry", [](GameSetup&) {}, kBackup},
        {"located by the user, with no folder from the registry",
         [](GameSetup& t) {
             t.game.GameLoc = "";
             t.game.UserLoc = "C:\\Game\\game.exe";
         },
         kBackup},
        {"located by the user in a folder of its own",
         [](GameSetup& t) {
             t.fake.files.PutFile("C:\\Mine\\game.exe", "MZ");
             t.game.GameLoc = "";
             t.game.UserLoc = "C:\\Mine\\game.exe";
         },
         "C:\\Mine\\Kelvan_Game_0.reg"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        GameSetup t;
        row.arrange(t);
        t.Optimize();
        EXPECT_TRUE(platform::FileExists(t.fake.files, row.backup));
        EXPECT_EQ(t.Value("Software\\Game", "Mode"), kWide);
        EXPECT_EQ(t.Value("Software\\Game\\Video", "Width"), kWidth);
        t.Optimize();  // a second run keeps the first backup
        t.Restore();
        EXPECT_EQ(t.Value("Software\\Game", "Mode"), kNarrow);
        EXPECT_EQ(t.Value("Software\\Game\\Video", "Width"), std::nullopt)
            << "a value that Optimize made is removed again";
        EXPECT_FALSE(platform::FileExists(t.fake.files, row.backup));
        EXPECT_EQ(t.Reported(), std::vector<std::string>{});
    }
}

TEST_F(RegistryBackup, ABackupThatCannotBeWrittenOrLoadedCostsNoValue) {
    const std::string video = std::string(kKey) + "\\Video, Width";
    // No value is changed without its backup on disk.
    fake.files.FailWritesWhen(
        [](std::string_view path) { return path.find("Kelvan_") != std::string_view::npos; },
        "the folder is read-only");
    Optimize();
    EXPECT_EQ(Value("Software\\Game", "Mode"), kNarrow);
    EXPECT_EQ(Value("Software\\Game\\Video", "Width"), std::nullopt);
    const std::vector<std::string> notBackedUp = {
        std::string(kBackup) + ": the backup of the registry key " + kKey +
            " could not be written (the folder is read-only)",
        std::string(kKey) + ", Mode: not changed, since its backup could not be written",
        video + ": not changed, since its backup could not be written"};
    EXPECT_EQ(Reported(), notBackedUp);

    // A backup goes only after it was loaded whole; until then it stays and is reported.
    fake.files.FailWritesWhen(nullptr);
    Optimize();
    ASSERT_EQ(Value("Software\\Game", "Mode"), kWide);
    fake.registry.DenyWrites(true);
    Restore();
    EXPECT_TRUE(platform::FileExists(fake.files, kBackup));
    const std::string kept = std::string(kBackup) +
                             ": could not be loaded into the registry whole, so the registry "
                             "backup was kept for another Restore";
    const std::vector<std::string> reported = Reported();
    EXPECT_NE(std::find(reported.begin(), reported.end(), kept), reported.end());

    fake.registry.DenyWrites(false);
    Restore();
    EXPECT_EQ(Value("Software\\Game", "Mode"), kNarrow);
    EXPECT_EQ(Value("Software\\Game\\Video", "Width"), std::nullopt);
    EXPECT_FALSE(platform::FileExists(fake.files, kBackup));
}

TEST_F(RegistryBackup, ValuesOfThe32BitViewComeBackThere) {
    using View = platform::FakeKeyStore::View;
    const char* path = "Software\\Vendor";
    fake.registry.PutKey(hkey::LocalMachine, "Software\\Wow6432Node");
    fake.registry.PutString(hkey::LocalMachine, path, "Mode", "64-bit", View::Plain);
    fake.registry.PutString(hkey::LocalMachine, path, "Mode", "32-bit", View::Wow32);
    game.Registry = {"HKEY_LOCAL_MACHINE\\Software\\Vendor,Mode,wide,REG_SZ",
                     "HKEY_LOCAL_MACHINE\\Software\\Vendor,Made,1,REG_DWORD"};
    state.RegistryView = 0;  // the game was found in neither view: values go to the 32-bit one
    Optimize();
    auto mode = [&](View view, const char* name) {
        return fake.registry.Value(hkey::LocalMachine, path, name, view);
    };
    ASSERT_EQ(mode(View::Wow32, "Mode"), kWide);
    Restore();
    EXPECT_EQ(mode(View::Wow32, "Mode"),
              (Stored{platform::regtype::Sz, std::string("32-bit\0", 7)}));
    EXPECT_EQ(mode(View::Wow32, "Made"), std::nullopt);
    EXPECT_EQ(mode(View::Plain, "Mode"),
              (Stored{platform::regtype::Sz, std::string("64-bit\0", 7)}));
    EXPECT_EQ(mode(View::Plain, "Made"), std::nullopt);
    EXPECT_FALSE(platform::FileExists(fake.files, kBackup));
}

TEST_F(RegistryBackup, AGameWithNoFolderChangesNoValue) {
    game.GameLoc = "";
    game.UserLoc = "";
    Optimize();
    EXPECT_EQ(Value("Software\\Game", "Mode"), kNarrow);
    EXPECT_EQ(Reported(), (std::vector<std::string>{
                              std::string(kKey) + ", Mode: not changed: the game's folder is not "
                                                  "known, so the value could not be backed up",
                              std::string(kKey) + "\\Video, Width: not changed: the game's folder "
                                                  "is not known, so the value could not be backed "
                                                  "up"}));
}

}  // namespace
