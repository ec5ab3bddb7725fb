#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

#include "HivePrefix.h"
#include "platform/wine/WineKeyStore.h"
#include "platform/wine/WineServerLock.h"
#include "support/FakeWineServer.h"

using namespace optera::platform;
using namespace optera::testing;
namespace fs = std::filesystem;

namespace {

class WineServerLockTest : public WinePrefixTest {
  protected:
    WineServerLockTest() {
        temp.Write("system.reg", HiveText("win64", "[Software\\\\Game] 1700000000\n\"v\"=\"1\"\n"));
        temp.Write("user.reg", HiveText("win64", "[Software\\\\Game] 1700000000\n\"v\"=\"1\"\n",
                                        "\\\\User\\\\S-1-5-21-0-0-0-1000"));
        // Debian's Wine keeps its server under the folder the prefix's file names.
        temp.Write("wineserver", "wine-optera-test-" + prefix().filename().string() + "\n");
    }
    ~WineServerLockTest() override {
        std::error_code ignored;
        for (const fs::path& folder : WineServerFolders(prefix())) fs::remove_all(folder, ignored);
        fs::remove(WineServerFolders(prefix()).at(1).parent_path(), ignored);
    }
};

TEST_F(WineServerLockTest, LiveServerRefusesEveryChangeButNoRead) {
    WineKeyStore store(prefix());
    HKEY game = 0;
    ASSERT_EQ(store.RegOpenKeyExA(hkey::CurrentUser, "Software\\Game", 0, 0xF003F, &game), 0);
    ASSERT_EQ(store.RegSaveKeyA(game, OnZ(prefix() / "game.hiv")), 0);
    const std::string system = temp.Read("system.reg"), user = temp.Read("user.reg");
    const std::uint8_t data[] = {'2', 0};
    const std::pair<const char*, std::function<LONG()>> writes[] = {
        {"set", [&] { return store.RegSetValueExA(game, "v", regtype::Sz, data, 2); }},
        {"create", [&] { return Write(store, hkey::LocalMachine, "Software\\New", "", 1, ""); }},
        {"delete value", [&] { return store.RegDeleteValueA(game, "v"); }},
        {"restore", [&] { return store.RegRestoreKeyA(game, OnZ(prefix() / "game.hiv"), 0); }},
        {"delete key", [&] { return store.RegDeleteKeyA(hkey::CurrentUser, "Software\\Game"); }},
    };
    for (const fs::path& folder : WineServerFolders(prefix())) {
        FakeServer server(folder);
        ASSERT_TRUE(server.held);
        const std::string why = store.WhyNotWritable();
        EXPECT_NE(why.find("wineserver process " + std::to_string(server.pid)), std::string::npos)
            << why;
        EXPECT_NE(why.find("WINEPREFIX=" + prefix().string()), std::string::npos) << why;
        for (const auto& [name, write] : writes) {
            EXPECT_EQ(write(), 5) << name;
            EXPECT_EQ(store.lastRefusal(), why) << name;
        }
        EXPECT_EQ(temp.Read("system.reg"), system);
        EXPECT_EQ(temp.Read("user.reg"), user);
        EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Software\\Game", "v"), "1");
    }
    // The folders and lock files the servers left do not count.
    EXPECT_EQ(store.WhyNotWritable(), "");
    for (const auto& [name, write] : writes) EXPECT_EQ(write(), 0) << name;
    store.RegCloseKey(game);
}

TEST_F(WineServerLockTest, HeldLockStopsAStartingServer) {
    const std::vector<fs::path> folders = WineServerFolders(prefix());
    ASSERT_EQ(folders.size(), 2u);
    {
        WineServerLock lock(prefix());
        ASSERT_TRUE(lock.held()) << lock.failure();
        // Another Optera's hold is no server: Wine is not said to run.
        EXPECT_FALSE(FindWineServer(prefix()).running);
        for (const fs::path& folder : folders) {
            EXPECT_FALSE(ServerCouldStart(folder)) << folder;
            struct stat st {};
            ASSERT_EQ(::stat(folder.c_str(), &st), 0);
            EXPECT_EQ(st.st_mode & 0777, 0700u);
            ASSERT_EQ(::stat((folder / "lock").c_str(), &st), 0);
            EXPECT_EQ(st.st_mode & 0777, 0600u);
        }
        // Looking for a server opens and closes the lock file: the lock must outlive that.
        WineServerLock second(prefix(), std::chrono::milliseconds(100));
        EXPECT_FALSE(second.held());
        EXPECT_NE(second.failure().find("Another Optera is writing the registry"),
                  std::string::npos)
            << second.failure();
    }
    for (const fs::path& folder : folders) EXPECT_TRUE(ServerCouldStart(folder)) << folder;
}

// A write while another Optera holds the registry for a moment waits for it instead of failing.
TEST_F(WineServerLockTest, AWriteWaitsForAnotherOpterasRegistryWrite) {
    WineKeyStore store(prefix());
    auto other = std::make_unique<WineServerLock>(prefix());
    ASSERT_TRUE(other->held());
    EXPECT_EQ(store.WhyNotWritable(), "");
    std::thread finishes([&other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        other.reset();
    });
    EXPECT_EQ(Write(store, hkey::CurrentUser, "Software\\Game", "v", regtype::Sz, Sz("2")), 0);
    finishes.join();
    EXPECT_EQ(ReadText(store, hkey::CurrentUser, "Software\\Game", "v"), "2");
}

}  // namespace
