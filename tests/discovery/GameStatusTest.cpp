#include <gtest/gtest.h>

#include "discovery/GameStatus.h"
#include "platform/fake/FakeFileSystem.h"

using namespace optera;
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

// A game located at C:\Game whose configuration files are named by `entries`, each "SINGLE"
// unless it starts with "*" (a pattern's match) or is "" (the empty entry).
GameRecord Game(std::initializer_list<std::string> paths, bool native = false,
                bool located = true) {
    GameRecord game;
    game.GameLoc = located ? "C:\\Game" : "";
    game.NativeSupport = native;
    for (const std::string& path : paths) {
        if (path.empty())
            game.CfgFiles.push_back(CfgEntry{"", "", {""}});
        else if (path[0] == '*')
            game.CfgFiles.push_back(CfgEntry{"C:\\Game\\" + path.substr(1), "MULTIPLE", {"1=x"}});
        else
            game.CfgFiles.push_back(CfgEntry{"C:\\Game\\" + path, "SINGLE", {"1=x"}});
    }
    return game;
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
        {"not located", Game({"fresh.cfg"}, false, false), "GREY"},
        {"native and not located", Game({"fresh.cfg"}, true, false), "GREY"},
        {"no configuration entry", Game({""}), "RED"},
        {"file missing", Game({"gone.cfg"}), "RED"},
        {"every file has its copy", Game({"done.cfg", "done2.cfg"}), "GREEN"},
        {"a copy without its file", Game({"copyonly.cfg"}), "GREEN"},
        {"native with copies", Game({"done.cfg"}, true), "GREEN"},
        {"untouched", Game({"fresh.cfg"}), "BLACK"},
        {"hidden and read-only files exist", Game({"hidden.cfg"}), "BLACK"},
        {"native untouched", Game({"fresh.cfg"}, true), "BLUE"},
        {"copied then untouched", Game({"done.cfg", "fresh.cfg"}), "BLACK"},
        {"untouched then copied", Game({"fresh.cfg", "done.cfg"}), "BLACK"},
        {"copied then missing", Game({"done.cfg", "gone.cfg"}), "RED"},
        {"untouched decides before a missing one", Game({"fresh.cfg", "gone.cfg"}), "BLACK"},
        {"pattern matches only", Game({"*done.cfg", "*fresh.cfg"}), ""},
        {"pattern matches are passed over", Game({"*gone.cfg", "fresh.cfg"}), "BLACK"},
        {"a bad file name", Game({"what?.cfg"}), "RED"},
        {"no entries at all", Game({}), ""},
    };
    for (const ClassRow& row : rows)
        EXPECT_EQ(discovery::ListClass(files, row.game), row.word) << row.name;

    GameRecord byUser = Game({"fresh.cfg"}, false, false);
    byUser.UserLoc = "C:\\Game\\game.exe";
    EXPECT_EQ(discovery::ListClass(files, byUser), "BLACK") << "UserLoc alone locates a game";
}

}  // namespace
