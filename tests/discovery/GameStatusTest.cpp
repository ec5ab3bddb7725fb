#include <gtest/gtest.h>

#include "GameOnDisk.h"
#include "discovery/GameStatus.h"
#include "platform/fake/FakeFileSystem.h"

using namespace optera;
using optera::testing::GameOnDisk;
using recipes::CfgEntry;
using recipes::GameRecord;

namespace {

TEST(BackupPathOf, ReplacesTheLastThreeCharactersByOriginal) {
    using discovery::BackupPathOf;
    EXPECT_EQ(BackupPathOf("C:\\Game\\game.cfg"), "C:\\Game\\game.original");
    EXPECT_EQ(BackupPathOf("C:\\Game\\settings.ini"), "C:\\Game\\settings.original");
    EXPECT_EQ(BackupPathOf("C:\\Game\\user.config"), "C:\\Game\\user.conoriginal");
    EXPECT_EQ(BackupPathOf("  C:\\Game\\a.cfg"), "C:\\Game\\a.original");
    EXPECT_EQ(BackupPathOf("ab"), "");
}

struct ClassRow {
    const char* name;
    GameRecord game;
    const char* word;
};

TEST(ListClass, GivesTheWordOfEachClass) {
    platform::FakeFileSystem files;
    files.PutFile("C:\\Game\\done.cfg", "");
    files.PutFile("C:\\Game\\done.original", "");
    files.PutFile("C:\\Game\\done2.cfg", "");
    files.PutFile("C:\\Game\\done2.original", "");
    files.PutFile("C:\\Game\\fresh.cfg", "");
    files.PutFile("C:\\Game\\hidden.cfg", "");
    files.SetAttributes("C:\\Game\\hidden.cfg", platform::attr::Hidden | platform::attr::ReadOnly);
    files.PutFile("C:\\Game\\copyonly.original", "");

    const ClassRow rows[] = {
        {"not located", GameOnDisk({"fresh.cfg"}, false, false), "GREY"},
        {"native and not located", GameOnDisk({"fresh.cfg"}, true, false), "GREY"},
        {"no configuration entry", GameOnDisk({""}), "RED"},
        {"file missing", GameOnDisk({"gone.cfg"}), "RED"},
        {"every file has its copy", GameOnDisk({"done.cfg", "done2.cfg"}), "GREEN"},
        {"a copy without its file", GameOnDisk({"copyonly.cfg"}), "GREEN"},
        {"native with copies", GameOnDisk({"done.cfg"}, true), "GREEN"},
        {"untouched", GameOnDisk({"fresh.cfg"}), "BLACK"},
        {"hidden and read-only files exist", GameOnDisk({"hidden.cfg"}), "BLACK"},
        {"native untouched", GameOnDisk({"fresh.cfg"}, true), "BLUE"},
        {"copied then untouched", GameOnDisk({"done.cfg", "fresh.cfg"}), "BLACK"},
        {"untouched then copied", GameOnDisk({"fresh.cfg", "done.cfg"}), "BLACK"},
        {"copied then missing", GameOnDisk({"done.cfg", "gone.cfg"}), "RED"},
        {"untouched decides before a missing one", GameOnDisk({"fresh.cfg", "gone.cfg"}), "BLACK"},
        {"pattern matches only", GameOnDisk({"*done.cfg", "*fresh.cfg"}), ""},
        {"pattern matches are passed over", GameOnDisk({"*gone.cfg", "fresh.cfg"}), "BLACK"},
        {"a bad file name", GameOnDisk({"what?.cfg"}), "RED"},
        {"no entries at all", GameOnDisk({}), ""},
    };
    for (const ClassRow& row : rows)
        EXPECT_EQ(discovery::ListClass(files, row.game), row.word) << row.name;

    GameRecord byUser = GameOnDisk({"fresh.cfg"}, false, false);
    byUser.UserLoc = "C:\\Game\\game.exe";
    EXPECT_EQ(discovery::ListClass(files, byUser), "BLACK") << "UserLoc alone locates a game";
}

}  // namespace
