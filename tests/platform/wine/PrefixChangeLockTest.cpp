// The change lock of a prefix: one holder at a time across open files (as across processes),
// nested takes by the holder, a prefix without a folder, and a link planted at the lock's name.

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/wine/PrefixChangeLock.h"
#include "support/TempFolder.h"

using namespace optera::platform;
namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

TEST(PrefixChangeLock, OneHolderAtATimeWhereverThePrefixIs) {
    optera::testing::TempFolder temp;
    fs::create_directory(temp.path() / "prefix");
    for (const fs::path& prefix : {temp.path() / "prefix", temp.path() / "no such prefix"}) {
        // Without a prefix folder the lock is a file of the user's in /tmp, which another test
        // may hold for a moment: this side waits for it.
        PrefixChangeLock mine(prefix, milliseconds(2000)), other(prefix, milliseconds(0));
        ASSERT_EQ(mine.Acquire(), "") << prefix;
        EXPECT_EQ(mine.Acquire(), "") << "a nested take only counts up";
        const std::string busy = other.Acquire();
        EXPECT_EQ(busy, "Another Optera is busy changing the Wine prefix " + prefix.string() +
                            ". Nothing was changed; try again when it has finished.");
        mine.Release();
        EXPECT_NE(other.Acquire(), "") << "still held by the outer take";
        mine.Release();
        PrefixChangeLock later(prefix, milliseconds(2000));
        EXPECT_EQ(later.Acquire(), "") << prefix;
        later.Release();
    }
    EXPECT_FALSE(fs::exists(temp.path() / "no such prefix")) << "no prefix is made for a lock";
}

TEST(PrefixChangeLock, ALinkAtTheLocksNameIsNotFollowed) {
    optera::testing::TempFolder temp;
    fs::create_directory(temp.path() / "prefix");
    fs::create_symlink(temp.path() / "elsewhere", temp.path() / "prefix" / ".optera.lock");
    PrefixChangeLock lock(temp.path() / "prefix", milliseconds(2000));
    EXPECT_EQ(lock.Acquire(), "");
    EXPECT_FALSE(fs::exists(temp.path() / "elsewhere"));
    lock.Release();
}

}  // namespace
