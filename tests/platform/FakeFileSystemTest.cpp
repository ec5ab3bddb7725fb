#include <gtest/gtest.h>

#include "platform/fake/FakeFileSystem.h"

using namespace optera::platform;

// What every file system does is in the contract suite; here, the failures a test can order.
TEST(FakeFileSystem, ReadsAndWritesFailWhereATestSaysAndTellWhy) {
    FakeFileSystem files;
    files.PutFile("C:\\cfg\\game.ini", "old");
    files.PutFile("C:\\cfg\\locked.ini", "secret");
    files.FailReadsWhen([](std::string_view path) { return path.ends_with("locked.ini"); });
    files.FailWritesWhen([](std::string_view path) { return path.ends_with(".optera-new"); },
                         "the disk is full");

    EXPECT_EQ(files.ReadAll("C:\\cfg\\locked.ini"), std::nullopt);
    EXPECT_EQ(files.LastError(), "permission denied");
    EXPECT_FALSE(files.Copy("C:\\cfg\\locked.ini", "C:\\cfg\\locked.original"));
    EXPECT_EQ(files.LastError(), "permission denied");
    EXPECT_FALSE(ReplaceFile(files, "C:\\cfg\\game.ini", "new"));
    EXPECT_EQ(files.LastError(), "the disk is full")
        << "the failed step's reason, not the cleanup's";
    EXPECT_EQ(files.ReadAll("C:\\cfg\\game.ini"), "old");
    EXPECT_EQ(FindNames(files, "C:\\cfg\\*", true),
              (std::vector<std::string>{"game.ini", "locked.ini"}));
}
