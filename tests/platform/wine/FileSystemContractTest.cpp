// One contract, two file systems: what the tests of the rest of the program see through the
// in-memory files is what the product sees through a Wine prefix, and what the Windows API
// would do with the same calls. Each machine has C:, D: (a folder below C:\Games) and Z: (the
// host's root), and C:\Games\Game.ini.

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/fake/FakeFileSystem.h"
#include "platform/wine/WineFileSystem.h"
#include "support/TempFolder.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

constexpr const char* kIni = "C:\\Games\\Game.ini";
constexpr const char* kMissing = "the file or folder does not exist";
constexpr const char* kReadOnly = "the file is read-only";
constexpr const char* kFolder = "it is a folder";
constexpr const char* kInTheWay = "something of that name is in the way";
constexpr const char* kNotEmpty = "the folder is not empty";

struct FakeFiles {
    FakeFiles() {
        files.AddDrive('C', DriveType::Fixed, hostC);
        files.AddDrive('D', DriveType::Fixed, "/machine/drive_c/Games/Disc");
        files.AddDrive('Z', DriveType::Fixed, "/");
        files.PutFile(kIni, "[s]\nk=1\n");
        files.CreateFolder("C:\\Games\\Disc");
    }
    const std::string hostC = "/machine/drive_c";
    FakeFileSystem files;
};

struct WinePrefixFolder {
    WinePrefixFolder() {
        temp.Write("drive_c/Games/Game.ini", "[s]\nk=1\n");
        fs::create_directories(temp.path() / "drive_c/Games/Disc");
        fs::create_directory(temp.path() / "dosdevices");
        fs::create_symlink("../drive_c", temp.path() / "dosdevices/c:");
        fs::create_symlink("../drive_c/Games/Disc", temp.path() / "dosdevices/d:");
        fs::create_symlink("/", temp.path() / "dosdevices/z:");
    }
    optera::testing::TempFolder temp;
};

struct WineFiles : WinePrefixFolder {
    std::string hostC = (temp.path() / "drive_c").string();
    WineFileSystem files{temp.path()};
};

template <class Made>
class FileSystemContract : public ::testing::Test {
  protected:
    std::set<std::string> Names(std::string_view folder) const {
        std::set<std::string> names;
        for (const DirEntry& entry : fileSystem.List(folder).value_or(std::vector<DirEntry>{}))
            names.insert(entry.name);
        return names;
    }
    // A failure is a result, and says why in the same words on every machine.
    void ExpectFailed(bool done, std::string_view why, std::string_view what) {
        EXPECT_FALSE(done) << what;
        EXPECT_EQ(fileSystem.LastError(), why) << what;
    }

    Made made;
    FileSystem& fileSystem = made.files;
    const std::string& hostC = made.hostC;
};

using Machines = ::testing::Types<FakeFiles, WineFiles>;
class MachineNames {
  public:
    template <class T>
    static std::string GetName(int) {
        return std::is_same_v<T, FakeFiles> ? "Fake" : "Wine";
    }
};
TYPED_TEST_SUITE(FileSystemContract, Machines, MachineNames);

TYPED_TEST(FileSystemContract, MarksReadOnlyAndHiddenAndKeepsThemThroughWrites) {
    FileSystem& files = this->fileSystem;
    EXPECT_EQ(files.Attributes("c:\\GAMES\\game.INI"), attr::Archive);
    EXPECT_EQ(files.Attributes("C:\\Games\\"), attr::Directory);
    EXPECT_EQ(files.Attributes("C:\\"), attr::Directory);
    EXPECT_EQ(files.Attributes("C:\\Games\\Missing.ini"), std::nullopt);

    ASSERT_TRUE(files.SetAttributes(kIni, attr::ReadOnly | attr::Hidden));
    EXPECT_EQ(files.Attributes(kIni), attr::Archive | attr::ReadOnly | attr::Hidden);
    this->ExpectFailed(files.WriteAll(kIni, "new"), kReadOnly, "a read-only file");
    EXPECT_EQ(files.ReadAll(kIni), "[s]\nk=1\n");
    ASSERT_TRUE(files.SetAttributes(kIni, attr::Hidden));
    ASSERT_TRUE(files.WriteAll(kIni, "new"));
    EXPECT_EQ(files.Attributes(kIni), attr::Archive | attr::Hidden) << "a new content, same marks";
    ASSERT_TRUE(files.SetAttributes(kIni, attr::Normal));
    EXPECT_EQ(files.Attributes(kIni), attr::Archive);

    ASSERT_TRUE(files.SetAttributes("C:\\Games", attr::Hidden));
    EXPECT_EQ(files.Attributes("C:\\Games"), attr::Directory | attr::Hidden);
    this->ExpectFailed(files.SetAttributes("C:\\Missing", attr::Normal), kMissing, "nothing there");
}

TYPED_TEST(FileSystemContract, ListsFoldersOnlyAndFindsNamesByPattern) {
    FileSystem& files = this->fileSystem;
    for (const char* name : {"b.cfg", "A.cfg", "_u.cfg", "notes.txt"})
        ASSERT_TRUE(files.WriteAll(std::string("C:\\Games\\") + name, name));
    auto entries = files.List("c:\\games\\");
    ASSERT_TRUE(entries);
    std::vector<std::string> names;
    for (const DirEntry& entry : *entries) names.push_back(entry.name);
    EXPECT_EQ(names, (std::vector<std::string>{"A.cfg", "b.cfg", "Disc", "Game.ini", "notes.txt",
                                               "_u.cfg"}));
    EXPECT_EQ(files.List("C:\\Missing"), std::nullopt);
    EXPECT_EQ(files.List(kIni), std::nullopt);

    struct Row {
        const char* pattern;
        bool withFolders;
        std::vector<std::string> names;
    };
    const Row rows[] = {
        {"C:\\Games\\*.cfg", false, {"A.cfg", "b.cfg", "_u.cfg"}},
        {"c:\\GAMES\\?.CFG", false, {"A.cfg", "b.cfg"}},
        {"C:\\Games\\D*", true, {"Disc"}},
        {"C:\\Games\\D*", false, {}},
        {"C:\\Missing\\*", true, {}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(FindNames(files, row.pattern, row.withFolders), row.names) << row.pattern;
}

TYPED_TEST(FileSystemContract, ReadsAndWritesBytesUnderAnySpellingOfTheirNames) {
    FileSystem& files = this->fileSystem;
    const std::string bytes("a\0b\r\n\xff", 6);
    ASSERT_TRUE(files.WriteAll("c:\\GAMES\\New.bin", bytes));
    EXPECT_EQ(files.ReadAll("C:\\Games\\NEW.BIN"), bytes);
    ASSERT_TRUE(files.WriteAll("C:\\games\\new.bin", ""));
    EXPECT_EQ(files.ReadAll("C:\\Games\\New.bin"), "");
    EXPECT_EQ(this->Names("C:\\"), (std::set<std::string>{"Games"}));
    EXPECT_EQ(this->Names("C:\\Games"), (std::set<std::string>{"Disc", "Game.ini", "New.bin"}));

    this->ExpectFailed(files.WriteAll("C:\\Missing\\x.ini", "x"), kMissing, "no parent folder");
    this->ExpectFailed(files.WriteAll("C:\\Games\\Game.ini\\x.ini", "x"), kMissing,
                       "a file as folder");
    this->ExpectFailed(files.WriteAll("C:\\Games", "x"), kFolder, "onto a folder");
    this->ExpectFailed(files.WriteAll("Y:\\x.ini", "x"), kMissing, "no such drive");
    this->ExpectFailed(files.ReadAll("C:\\Games").has_value(), kFolder, "a folder");
    this->ExpectFailed(files.ReadAll("C:\\Missing.ini").has_value(), kMissing, "nothing there");
}

TYPED_TEST(FileSystemContract, ReplacingKeepsTheOldContentWholeOnFailureAndNoTemporary) {
    FileSystem& files = this->fileSystem;
    ASSERT_TRUE(ReplaceFile(files, kIni, "two"));
    ASSERT_TRUE(ReplaceFile(files, "C:\\Games\\GAME.INI", "three", "Mod_Cfg.tmp"));
    EXPECT_EQ(files.ReadAll(kIni), "three");
    ASSERT_TRUE(ReplaceFile(files, "C:\\Games\\Fresh.ini", "new"));

    ASSERT_TRUE(files.SetAttributes(kIni, attr::ReadOnly));
    this->ExpectFailed(ReplaceFile(files, kIni, "four"), kReadOnly, "a read-only file");
    this->ExpectFailed(ReplaceFile(files, kIni, "four", "Mod_Cfg.tmp"), kReadOnly,
                       "a read-only file");
    this->ExpectFailed(ReplaceFile(files, "C:\\Games\\Disc", "x"), kFolder, "a folder");
    this->ExpectFailed(ReplaceFile(files, "C:\\Missing\\x.ini", "x"), kMissing, "no parent folder");
    EXPECT_EQ(files.ReadAll(kIni), "three");
    EXPECT_EQ(this->Names("C:\\Games"), (std::set<std::string>{"Disc", "Fresh.ini", "Game.ini"}));
}

TYPED_TEST(FileSystemContract, RenameReplacesTheTargetInOneStep) {
    FileSystem& files = this->fileSystem;
    ASSERT_TRUE(files.WriteAll("C:\\Games\\a.txt", "A"));
    ASSERT_TRUE(files.Rename("C:\\GAMES\\A.TXT", "c:\\games\\game.ini"));
    EXPECT_EQ(files.ReadAll(kIni), "A");
    EXPECT_EQ(this->Names("C:\\Games"), (std::set<std::string>{"Disc", "Game.ini"}));
    // Windows renames a file to a new spelling of its own name.
    ASSERT_TRUE(files.Rename(kIni, "C:\\Games\\GAME.ini"));
    EXPECT_EQ(this->Names("C:\\Games"), (std::set<std::string>{"Disc", "GAME.ini"}));

    ASSERT_TRUE(files.WriteAll("C:\\Games\\b.txt", "B"));
    ASSERT_TRUE(files.SetAttributes("C:\\Games\\b.txt", attr::ReadOnly));
    this->ExpectFailed(files.Rename(kIni, "C:\\Games\\b.txt"), kReadOnly, "onto a read-only file");
    this->ExpectFailed(files.Rename(kIni, "C:\\Games\\Disc"), kFolder, "onto a folder");
    this->ExpectFailed(files.Rename("C:\\Games\\Missing", "C:\\Games\\c.txt"), kMissing,
                       "nothing there");
    this->ExpectFailed(files.Rename(kIni, "C:\\Missing\\c.txt"), kMissing, "no parent folder");
    EXPECT_EQ(files.ReadAll("C:\\Games\\b.txt"), "B");
    EXPECT_EQ(files.ReadAll(kIni), "A");
}

TYPED_TEST(FileSystemContract, CopyTakesTheMarksAndReplacesTheTarget) {
    FileSystem& files = this->fileSystem;
    ASSERT_TRUE(files.WriteAll("C:\\Games\\Copy.ini", "old"));
    ASSERT_TRUE(files.SetAttributes(kIni, attr::ReadOnly | attr::Hidden));
    ASSERT_TRUE(files.Copy("c:\\games\\GAME.INI", "C:\\Games\\copy.ini"));
    EXPECT_EQ(files.ReadAll("C:\\Games\\Copy.ini"), "[s]\nk=1\n");
    EXPECT_EQ(files.Attributes("C:\\Games\\Copy.ini"),
              attr::Archive | attr::ReadOnly | attr::Hidden);
    ASSERT_TRUE(files.SetAttributes(kIni, attr::Normal));
    ASSERT_TRUE(files.Copy(kIni, "C:\\Games\\Disc\\New.ini"));
    EXPECT_EQ(files.Attributes("C:\\Games\\Disc\\New.ini"), attr::Archive);

    this->ExpectFailed(files.Copy(kIni, "C:\\Games\\Copy.ini"), kReadOnly, "onto a read-only file");
    this->ExpectFailed(files.Copy(kIni, "C:\\GAMES\\game.ini"), kInTheWay, "onto itself");
    this->ExpectFailed(files.Copy(kIni, "C:\\Games\\Disc"), kFolder, "onto a folder");
    this->ExpectFailed(files.Copy("C:\\Games\\Disc", "C:\\Games\\x"), kFolder, "a folder");
    this->ExpectFailed(files.Copy("C:\\Missing.ini", "C:\\Games\\x"), kMissing, "nothing there");
    EXPECT_EQ(files.ReadAll(kIni), "[s]\nk=1\n");
}

TYPED_TEST(FileSystemContract, RemovesFilesWhateverTheirMarksAndOnlyEmptyFolders) {
    FileSystem& files = this->fileSystem;
    ASSERT_TRUE(files.SetAttributes(kIni, attr::ReadOnly));
    EXPECT_TRUE(files.Remove("c:\\GAMES\\game.ini"));
    EXPECT_EQ(files.Attributes(kIni), std::nullopt);

    ASSERT_TRUE(files.CreateFolder("C:\\Games\\Disc\\Saves"));
    this->ExpectFailed(files.CreateFolder("C:\\GAMES\\disc\\saves"), kInTheWay, "already there");
    this->ExpectFailed(files.CreateFolder("C:\\Games\\No\\Such"), kMissing, "one level at a time");
    this->ExpectFailed(files.CreateFolder("C:\\"), kInTheWay, "a drive's root");
    ASSERT_TRUE(files.WriteAll(kIni, "x"));
    this->ExpectFailed(files.CreateFolder(kIni), kInTheWay, "a file in the way");
    this->ExpectFailed(files.Remove("C:\\Games\\Disc"), kNotEmpty, "a folder that is not empty");
    this->ExpectFailed(files.Remove("C:\\"), kMissing, "a drive's root");
    this->ExpectFailed(files.Remove("C:\\Games\\Missing"), kMissing, "nothing there");
    EXPECT_TRUE(files.Remove("C:\\Games\\Disc\\SAVES"));
    EXPECT_EQ(this->Names("C:\\Games\\Disc"), std::set<std::string>{});
}

TYPED_TEST(FileSystemContract, StampsMoveWithEveryChangeOfAFile) {
    FileSystem& files = this->fileSystem;
    const auto before = files.Stamp(kIni);
    ASSERT_TRUE(before);
    EXPECT_EQ(before->size, 8u);
    EXPECT_EQ(files.Stamp("c:\\games\\GAME.INI"), before);
    EXPECT_EQ(files.Stamp("C:\\Games"), std::nullopt);
    EXPECT_EQ(files.Stamp("C:\\Missing.ini"), std::nullopt);
    ASSERT_TRUE(files.WriteAll(kIni, "[s]\nk=2\n"));
    EXPECT_NE(files.Stamp(kIni), before);
}

TYPED_TEST(FileSystemContract, DrivesComeInLetterOrder) {
    std::vector<std::string> roots;
    for (const DriveInfo& drive : this->fileSystem.Drives()) {
        roots.push_back(drive.root);
        EXPECT_EQ(drive.type, DriveType::Fixed) << drive.root;
    }
    EXPECT_EQ(roots, (std::vector<std::string>{"C:\\", "D:\\", "Z:\\"}));
}

TYPED_TEST(FileSystemContract, MapsWindowsPathsToTheHostAndBack) {
    FileSystem& files = this->fileSystem;
    const std::string& c = this->hostC;
    struct Row {
        std::string windows;
        std::string host;
        std::string back;  // what the host path maps back to
    };
    const Row rows[] = {
        {"C:\\", c, "C:\\"},
        {"c:", c, "C:\\"},
        {"c:\\games\\GAME.ini", c + "/Games/Game.ini", "C:\\Games\\Game.ini"},
        {"C:\\GAMES\\New Folder\\x.txt\\", c + "/Games/New Folder/x.txt",
         "C:\\Games\\New Folder\\x.txt"},
        {"C:\\..\\.\\Games\\..\\Games", c + "/Games", "C:\\Games"},
        // The drive whose folder is deepest names a path below it.
        {"C:\\Games\\Disc\\Setup.exe", c + "/Games/Disc/Setup.exe", "D:\\Setup.exe"},
        {"d:\\", c + "/Games/Disc", "D:\\"},
        {"Z:\\etc\\hosts", "/etc/hosts", "Z:\\etc\\hosts"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(files.ToHostPath(row.windows), row.host) << row.windows;
        EXPECT_EQ(files.ToWindowsPath(row.host), row.back) << row.windows;
    }
    EXPECT_EQ(files.ToWindowsPath(c + "/Games/./Disc/../Game.ini/"), "C:\\Games\\Game.ini");
    EXPECT_EQ(files.ToWindowsPath(c + "//Games///"), "C:\\Games");
    EXPECT_EQ(files.ToWindowsPath("/"), "Z:\\");
    for (const char* outside : {"Y:\\Games", "\\Games", "Games\\x", "\\\\server\\share\\x", ""})
        EXPECT_EQ(files.ToHostPath(outside), std::nullopt) << outside;
}

}  // namespace
