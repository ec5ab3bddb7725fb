// The drive search: which folders it enters and in what order, which hit wins, Cancel, and on a
// real folder tree, links that lead back and the kernel's folders.

#include <gtest/gtest.h>

#include <filesystem>

#include "discovery/Scanner.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineFileSystem.h"
#include "support/TempFolder.h"

using namespace optera;
namespace fs = std::filesystem;

namespace {

class Scan : public ::testing::Test {
  protected:
    Scan() {
        scanner.Form().Listen([this](const forms::Change& change) {
            if (change.control->Name() == "Label2" && change.what == "Caption")
                entered.push_back(change.control->Caption());
        });
    }
    void File(const std::string& path) { files.PutFile(path, ""); }

    platform::FakeFileSystem files;
    platform::ScriptedPrompts prompts;
    discovery::Scanner scanner{files, prompts};
    std::vector<std::string> entered;
};

TEST_F(Scan, EntersTheFirstPlainFolderThenTheRestInDirectoryOrder) {
    File("C:\\b.dir\\sub\\note.txt");
    File("C:\\a\\note.txt");
    File("C:\\c\\note.txt");
    File("C:\\hidden\\target.exe");
    files.SetAttributes("C:\\hidden", platform::attr::Hidden);
    // Below here only folders with points in their names: not searched.
    File("C:\\c\\x.y\\target.exe");
    EXPECT_EQ(scanner.StartScan("target.exe"), "");
    EXPECT_EQ(entered, (std::vector<std::string>{"C:\\", "C:\\a\\", "C:\\b.dir\\",
                                                 "C:\\b.dir\\sub\\", "C:\\c\\"}));
    EXPECT_GT(prompts.pendingEventRuns, 5);
}

TEST_F(Scan, TheHitNearestTheRootWinsAndEndsTheWalk) {
    File("C:\\games\\deep\\TARGET.EXE");
    File("C:\\games\\target.exe");
    File("C:\\games\\later\\note.txt");
    File("C:\\zzz\\target.exe");
    EXPECT_EQ(scanner.StartScan("target.exe"), "C:\\games\\target.exe");
    EXPECT_EQ(entered, (std::vector<std::string>{"C:\\", "C:\\games\\", "C:\\games\\deep\\"}));
}

TEST_F(Scan, FixedDisksOneAfterTheOther) {
    files.AddDrive('D', platform::DriveType::Fixed);
    files.AddDrive('E', platform::DriveType::Removable);
    File("E:\\target.exe");
    File("D:\\games\\target.exe");
    File("C:\\games\\note.txt");
    EXPECT_EQ(scanner.StartScan("target.exe"), "D:\\games\\target.exe");
    EXPECT_EQ(entered.front(), "C:\\");
    EXPECT_EQ(entered.back(), "D:\\games\\");
}

TEST_F(Scan, CancelAfterAHitGivesNothing) {
    File("C:\\games\\deep\\target.exe");
    prompts.onPendingEvents = [this] {
        if (entered.back() == "C:\\games\\deep\\") scanner.Form().Find("CancelBtn")->Raise("Click");
    };
    EXPECT_EQ(scanner.StartScan("target.exe"), "");
    // A new search starts afresh.
    prompts.onPendingEvents = nullptr;
    EXPECT_EQ(scanner.StartScan("target.exe"), "C:\\games\\deep\\target.exe");
}

TEST(ScanOnDisk, LinksBackAndTheKernelsFoldersAreNotEntered) {
    optera::testing::TempFolder temp;
    temp.Write("drive_c/games/sample/sample.exe", "MZ");
    temp.Write("drive_c/other/note.txt", "");
    fs::create_directory_symlink("..", temp.path() / "drive_c/other/up");
    fs::create_directory_symlink("../other", temp.path() / "drive_c/games/across");
    fs::create_directory_symlink(".", temp.path() / "drive_c/games/self");
    fs::create_directory_symlink(".", temp.path() / "drive_c/games/same");
    fs::create_directories(temp.path() / "dosdevices");
    fs::create_directory_symlink("../drive_c", temp.path() / "dosdevices/c:");
    fs::create_directory_symlink("/", temp.path() / "dosdevices/z:");
    platform::WineFileSystem files(temp.path());

    platform::ScriptedPrompts prompts;
    discovery::Scanner scanner(files, prompts);
    std::vector<std::string> entered;
    scanner.Form().Listen([&](const forms::Change& change) {
        if (change.control->Name() != "Label2" || change.what != "Caption") return;
        entered.push_back(change.control->Caption());
        // Z: is the whole host: stop once C: is done.
        if (change.control->Caption() == "Z:\\") scanner.Form().Find("CancelBtn")->Raise("Click");
    });
    EXPECT_EQ(scanner.StartScan("nothing.exe"), "");
    // C:\, C:\games\, C:\games\sample\ and the other folder by one of its two names.
    std::erase_if(entered, [](const std::string& folder) { return !folder.starts_with("C:"); });
    EXPECT_EQ(entered.size(), 4u) << ::testing::PrintToString(entered);

    for (const auto& entry : files.List("Z:\\").value_or(std::vector<platform::DirEntry>{})) {
        if (entry.name == "proc" || entry.name == "sys") {
            EXPECT_TRUE(entry.attributes & platform::attr::System) << entry.name;
        }
    }
}

}  // namespace
