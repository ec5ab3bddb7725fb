#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <random>
#include <thread>

#include "platform/WindowsPath.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/FakeKeyStore.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineFileSystem.h"
#include "recipes/Location.h"
#include "support/TempFolder.h"
#include "text/Wildcard.h"

using namespace optera;
using platform::FakeKeyStore;
using recipes::LocateFile;

namespace {

std::string Located(const platform::FileSystem& files, std::string path) {
    return LocateFile(files, path) ? path : "not found";
}

// Located, for a walk that faulty code would never end: the test program then stops as failed
// instead of hanging.
std::string LocatedInTime(const platform::FileSystem& files, std::string path) {
    auto result = std::make_shared<std::promise<std::string>>();
    std::future<std::string> located = result->get_future();
    std::thread([result, &files, path] { result->set_value(Located(files, path)); }).detach();
    if (located.wait_for(std::chrono::seconds(5)) == std::future_status::ready)
        return located.get();
    std::fprintf(stderr, "The walk for %s did not end.\n", path.c_str());
    std::_Exit(1);
}

TEST(LocateFile, FindsAFileAtItsPlaceOrTheFirstBelowItDepthFirst) {
    platform::FakeFileSystem files;
    files.PutFile("C:\\G\\a\\x\\other.txt", "");
    files.PutFile("C:\\G\\a\\x\\deep\\game.exe", "");
    files.PutFile("C:\\G\\b\\game.exe", "");
    files.PutFile("C:\\G\\top.exe", "");
    files.PutFile("C:\\H\\sub\\hidden.exe", "");
    files.SetAttributes("C:\\H\\sub\\hidden.exe",
                        platform::attr::Hidden | platform::attr::ReadOnly);

    EXPECT_EQ(Located(files, "C:\\G\\top.exe"), "C:\\G\\top.exe");
    EXPECT_EQ(Located(files, "C:\\G\\TOP.EXE"), "C:\\G\\TOP.EXE") << "found in place, unchanged";
    // "a" comes first in directory order and is searched to the bottom before "b".
    EXPECT_EQ(Located(files, "C:\\G\\game.exe"), "C:\\G\\a\\x\\deep\\game.exe");
    EXPECT_EQ(Located(files, "C:\\G\\b\\game.exe"), "C:\\G\\b\\game.exe");
    EXPECT_EQ(Located(files, "C:\\G\\missing.exe"), "not found");
    EXPECT_EQ(Located(files, "C:\\Nowhere\\game.exe"), "not found");
    EXPECT_EQ(Located(files, "C:\\G\\a"), "not found") << "a folder is not a file";
    EXPECT_EQ(Located(files, "C:\\H\\hidden.exe"), "C:\\H\\sub\\hidden.exe")
        << "marks do not count";
    EXPECT_EQ(Located(files, "G\\game.exe"), "not found") << "only rooted paths are walked";
    EXPECT_EQ(Located(files, "game.exe"), "not found");
}

TEST(LocateFile, PatternsMatchInPlaceOrMoveIntoTheSubfolderThatHoldsAMatch) {
    platform::FakeFileSystem files;
    files.PutFile("C:\\G\\saves\\one.cfg", "");
    files.PutFile("C:\\G\\readme.txt", "");
    EXPECT_EQ(Located(files, "C:\\G\\*.txt"), "C:\\G\\*.txt");
    EXPECT_EQ(Located(files, "C:\\G\\*.cfg"), "C:\\G\\saves\\*.cfg");
    EXPECT_EQ(Located(files, "C:\\G\\*.ini"), "not found");
    EXPECT_EQ(Located(files, "C:\\G\\saves\\"), "C:\\G\\saves\\") << "an empty name is any file";
}

// The walk as a directory search with one shared cursor does it: after each subfolder that gave
// nothing, the folder's listing starts again and is wound forward to the name reached.
bool LocateByRestartingCursor(const platform::FileSystem& files, std::string& path) {
    std::string folder(platform::ParentOf(path));
    std::string leaf(platform::NameOf(path));
    auto here = files.List(folder);
    if (here)
        for (const auto& entry : *here)
            if (!(entry.attributes & platform::attr::Directory) &&
                text::MatchesWildcard(entry.name, leaf))
                return true;
    if (folder.find(':') == std::string::npos || !here) return false;
    std::string reached;
    for (;;) {
        auto listing = files.List(folder);
        auto it = listing->begin();
        if (!reached.empty())
            while (it != listing->end() && (it++)->name != reached) {
            }
        while (it != listing->end() && !(it->attributes & platform::attr::Directory)) ++it;
        if (it == listing->end()) return false;
        reached = it->name;
        std::string below = folder + "\\" + reached + "\\" + leaf;
        if (LocateByRestartingCursor(files, below)) {
            path = below;
            return true;
        }
    }
}

TEST(LocateFile, GivesTheSameAnswersAsARestartingDirectoryCursor) {
    std::mt19937 random(20261123);
    for (int tree = 0; tree < 40; ++tree) {
        platform::FakeFileSystem files;
        std::vector<std::string> folders{"C:\\R"};
        files.CreateFolder("C:\\R");
        for (int i = 0; i < 60; ++i) {
            std::string parent = folders[random() % folders.size()];
            std::string name = "n" + std::to_string(random() % 12);
            if (random() % 3 == 0) {
                files.CreateFolder(parent + "\\" + name);
                folders.push_back(parent + "\\" + name);
            } else {
                files.PutFile(parent + "\\" + name + (random() % 2 ? ".exe" : ".cfg"), "");
            }
        }
        for (std::string leaf : {"n1.exe", "n7.cfg", "*.cfg", "n1?.exe", "none.exe"}) {
            std::string ours = "C:\\R\\" + leaf, reference = ours;
            bool found = LocateFile(files, ours);
            ASSERT_EQ(found, LocateByRestartingCursor(files, reference)) << leaf;
            ASSERT_EQ(ours, reference) << leaf;
        }
    }
}

// Folder links back to the folder itself or to one above it: each folder is entered once, so
// the walk ends, and what lies below is still found by its real path.
TEST(LocateFile, LinkLoopsEndTheWalk) {
    namespace fs = std::filesystem;
    optera::testing::TempFolder temp;
    temp.Write("drive_c/G/a/deep/game.exe", "MZ");
    const std::pair<const char*, const char*> links[] = {
        {"G/self", "."}, {"G/same", "."}, {"G/a/up", ".."}, {"G/a/deep/top", "../.."}};
    for (const auto& [link, target] : links)
        fs::create_directory_symlink(target, temp.path() / "drive_c" / link);
    fs::create_directories(temp.path() / "dosdevices");
    fs::create_directory_symlink("../drive_c", temp.path() / "dosdevices/c:");
    platform::WineFileSystem files(temp.path());
    for (const auto& [path, expected] : {std::pair{"C:\\G\\game.exe", "C:\\G\\a\\deep\\game.exe"},
                                         std::pair{"C:\\G\\missing.exe", "not found"}}) {
        EXPECT_EQ(LocatedInTime(files, path), expected) << path;
    }
}

TEST(NormalizeFolder, GivesAFolderWithATrailingBackslash) {
    platform::FakeFileSystem files;
    files.PutFile("C:\\Games\\Foo\\foo.exe", "");
    files.PutFile("C:\\Games\\Foo\\data.pak", "");
    using recipes::NormalizeFolder;
    EXPECT_EQ(NormalizeFolder(files, "", "foo.exe"), "");
    EXPECT_EQ(NormalizeFolder(files, "C:\\Games\\Foo", "foo.exe"), "C:\\Games\\Foo\\");
    EXPECT_EQ(NormalizeFolder(files, "C:\\Games\\Foo\\", ""), "C:\\Games\\Foo\\");
    EXPECT_EQ(NormalizeFolder(files, "C:\\Games\\Foo\\FOO.EXE -window", "foo.exe"),
              "C:\\Games\\Foo\\")
        << "cut in front of the executable's name";
    EXPECT_EQ(NormalizeFolder(files, "C:\\Games\\Foo\\data.pak", "foo.exe"), "C:\\Games\\Foo\\")
        << "a file is cut back to its folder";
    EXPECT_EQ(NormalizeFolder(files, "C:\\Games\\Foo\\*.pak", ""), "C:\\Games\\Foo\\");
    EXPECT_EQ(NormalizeFolder(files, "C:\\Games\\Foo.Bar", ""), "C:\\Games\\Foo.Bar\\")
        << "a point that names no file stays";
}

class GameLoc : public ::testing::Test {
  protected:
    FakeKeyStore store{true};
    platform::ScriptedPrompts prompts;
    services::cRegistry registry{store, prompts};
    std::int16_t view = 1;

    void SetUp() override {
        // A 64-bit machine's 32-bit programs see their own branch below this key.
        store.PutKey(platform::hkey::LocalMachine, "SOFTWARE\\Wow6432Node");
    }
    std::string Read(std::string_view value) { return recipes::ReadGameLoc(registry, view, value); }
};

TEST_F(GameLoc, HklmIsShortForTheMicrosoftBranchInAnyCase) {
    store.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Microsoft\\Foo", "Path", "C:\\Foo");
    store.PutString(platform::hkey::CurrentUser, "Software\\Foo", "Path", "C:\\User Foo");
    EXPECT_EQ(Read("HKLM\\Foo\\Path"), "C:\\Foo");
    EXPECT_EQ(Read("hklm\\Foo\\Path"), "C:\\Foo");
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Foo\\Path"), "C:\\Foo");
    EXPECT_EQ(Read("HKEY_CURRENT_USER\\Software\\Foo\\Path"), "C:\\User Foo");
    EXPECT_EQ(Read("NoBackslash"), "");
}

TEST_F(GameLoc, QuotesGoAndTheWordErrorMeansMissing) {
    store.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Foo", "Cmd",
                    "\"C:\\Games\\Foo\\foo.exe\" -nosplash");
    store.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Foo", "Broken", "Error");
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Foo\\Cmd"), "C:\\Games\\Foo\\foo.exe -nosplash");
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Foo\\Broken"), "");
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Foo\\Missing"), "");
}

TEST_F(GameLoc, TheOtherViewIsTriedAndRemembered) {
    store.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Only64", "Path", "C:\\64");
    store.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Only32", "Path", "C:\\32",
                    FakeKeyStore::View::Wow32);

    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Only64\\Path"), "C:\\64");
    EXPECT_EQ(view, 1);
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Only32\\Path"), "C:\\32");
    EXPECT_EQ(view, 1) << "found by the second call, the view stays";
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Neither\\Path"), "");
    EXPECT_EQ(view, 0) << "found in neither: views are off for the rest of the read";
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Only32\\Path"), "")
        << "with views off only the 64-bit view is asked";
    EXPECT_EQ(Read("HKEY_LOCAL_MACHINE\\SOFTWARE\\Only64\\Path"), "C:\\64");
}

class Resolve : public GameLoc {
  protected:
    platform::FakeFileSystem files;
    recipes::GameRecord record;

    void SetUp() override {
        GameLoc::SetUp();
        files.PutFile("C:\\Games\\Foo\\foo.exe", "");
        files.PutFile("C:\\Games\\Foo\\art\\foo.ico", "");
        files.PutFile("C:\\Games\\Deep\\bin\\x64\\deep.exe", "");
        record.GameExe = "foo.exe";
    }
    std::string Resolved(std::string gameLoc, std::string_view fallback = "") {
        record.GameLoc = std::move(gameLoc);
        recipes::ResolveLocation(files, registry, 1, record, fallback);
        return record.GameLoc;
    }
};

TEST_F(Resolve, ACommandLineOrFilePathGivesTheExecutablesFolder) {
    EXPECT_EQ(Resolved("C:\\Games\\Foo\\foo.exe -nosplash"), "C:\\Games\\Foo");
    EXPECT_EQ(Resolved("C:\\Games\\Foo\\"), "C:\\Games\\Foo");
    EXPECT_EQ(Resolved("C:\\Games\\Foo\\setup.dll"), "C:\\Games\\Foo");
    EXPECT_EQ(Resolved("C:\\Games\\Elsewhere"), "") << "no executable, no location";
    EXPECT_EQ(Resolved(""), "");
}

TEST_F(Resolve, GameLocFollowsTheExecutableDownAndUserLocStandsIn) {
    record.GameExe = "deep.exe";
    EXPECT_EQ(Resolved("C:\\Games\\Deep"), "C:\\Games\\Deep\\bin\\x64");
    record.UserLoc = "C:\\Games\\Foo\\foo.exe";
    record.GameExe = "";
    EXPECT_EQ(Resolved("", "foo.exe"), "C:\\Games\\Foo")
        << "with no GAMELOC the user's file gives the folder, cut at the game in hand's exe";
}

TEST_F(Resolve, TheIconMustBeFoundAndBecomesAFullPath) {
    record.ShortcutIcon = "foo.ico";
    EXPECT_EQ(Resolved("C:\\Games\\Foo"), "C:\\Games\\Foo");
    EXPECT_EQ(record.ShortcutIcon, "C:\\Games\\Foo\\art\\foo.ico");
    record.ShortcutIcon = "gone.ico";
    EXPECT_EQ(Resolved("C:\\Games\\Foo"), "");
    EXPECT_EQ(record.ShortcutIcon, "gone.ico");
}

TEST_F(Resolve, ARequiredKeyOrValueMustExist) {
    store.PutString(platform::hkey::LocalMachine, "SOFTWARE\\Foo", "Installed", "1");
    record.RegKeyMustExist = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Foo";
    EXPECT_EQ(Resolved("C:\\Games\\Foo"), "C:\\Games\\Foo") << "a key";
    record.RegKeyMustExist = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Foo\\Installed";
    EXPECT_EQ(Resolved("C:\\Games\\Foo"), "C:\\Games\\Foo") << "a value";
    record.RegKeyMustExist = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Foo\\Gone";
    EXPECT_EQ(Resolved("C:\\Games\\Foo"), "") << "neither";
}

}  // namespace
