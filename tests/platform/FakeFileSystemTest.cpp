#include <gtest/gtest.h>

#include "platform/fake/FakeFileSystem.h"

using namespace optera::platform;

TEST(FakeFileSystem, ListsInNtfsOrderAndIgnoresCase) {
    FakeFileSystem files;
    files.PutFile("C:\\Games\\b.cfg", "B");
    files.PutFile("C:\\Games\\a.cfg", "A");
    files.PutFile("C:\\Games\\Sub\\c.txt", "C");
    EXPECT_EQ(files.ReadAll("c:\\GAMES\\A.CFG"), "A");
    EXPECT_EQ(FindNames(files, "C:\\Games\\*.cfg", false),
              (std::vector<std::string>{"a.cfg", "b.cfg"}));
    EXPECT_EQ(FindNames(files, "C:\\Games\\*", true).size(), 3u);
    EXPECT_TRUE(FolderExists(files, "C:\\games\\sub"));
    EXPECT_FALSE(FileExists(files, "C:\\games\\sub"));
    EXPECT_FALSE(files.WriteAll("D:\\x.txt", "no such drive"));
}

TEST(FakeFileSystem, ReadOnlyFilesRefuseWrites) {
    FakeFileSystem files;
    files.PutFile("C:\\a.ini", "old");
    ASSERT_TRUE(files.SetAttributes("C:\\a.ini", attr::ReadOnly));
    EXPECT_FALSE(files.WriteAll("C:\\a.ini", "new"));
    EXPECT_EQ(files.ReadAll("C:\\a.ini"), "old");
    EXPECT_EQ(*files.Attributes("C:\\a.ini") & attr::ReadOnly, attr::ReadOnly);
}

TEST(ReplaceFile, LeavesTheOldFileWhenTheNewOneCannotBeWritten) {
    FakeFileSystem files;
    files.PutFile("C:\\cfg\\game.ini", "old");
    files.FailWritesWhen([](std::string_view path) { return path.ends_with(".optera-new"); });
    EXPECT_FALSE(ReplaceFile(files, "C:\\cfg\\game.ini", "new"));
    EXPECT_EQ(files.ReadAll("C:\\cfg\\game.ini"), "old");
    EXPECT_EQ(files.List("C:\\cfg")->size(), 1u);

    files.FailWritesWhen(nullptr);
    EXPECT_TRUE(ReplaceFile(files, "C:\\cfg\\game.ini", "new", "Mod_Cfg.tmp"));
    EXPECT_EQ(files.ReadAll("C:\\cfg\\game.ini"), "new");
    EXPECT_EQ(FindNames(files, "C:\\cfg\\*", true), (std::vector<std::string>{"game.ini"}));
}

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
