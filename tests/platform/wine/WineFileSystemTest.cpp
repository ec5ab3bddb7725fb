#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/wine/WineFileSystem.h"
#include "services/cPrivateProfile.h"
#include "support/WinePrefix.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

class WineFileSystemTest : public optera::testing::WinePrefixTest {
  protected:
    mode_t ModeOf(std::string_view relative) const {
        struct stat st {};
        ::stat((prefix() / relative).c_str(), &st);
        return st.st_mode & 07777;
    }

    WineFileSystem files{prefix()};
};

TEST_F(WineFileSystemTest, PrefersTheExactNameThenAnyCase) {
    temp.Write("drive_c/Games/Sample/readme.txt", "lower");
    temp.Write("drive_c/Games/Sample/README.TXT", "upper");
    EXPECT_EQ(files.ReadAll("C:\\games\\sample\\bin\\sample.exe"), "MZ");
    EXPECT_EQ(files.ReadAll("c:/GAMES/Sample/./Bin/../Bin/SAMPLE.exe"), "MZ");
    EXPECT_EQ(files.ReadAll("C:\\Games\\Sample\\README.TXT"), "upper");
    EXPECT_EQ(files.ReadAll("C:\\Games\\Sample\\readme.txt"), "lower");
    EXPECT_EQ(files.Attributes("C:\\GAMES\\SAMPLE\\BIN\\SAMPLE.EXE"), attr::Archive);
    EXPECT_EQ(files.Attributes("C:\\Games\\Missing.txt"), std::nullopt);
}

// A file chosen in a host dialog maps to the drive the game knows it by, through links too.
TEST_F(WineFileSystemTest, MapsHostPathsThroughLinksToTheDriveThatHoldsThem) {
    optera::testing::TempFolder home;
    fs::create_directory_symlink(driveC() / "Games", home.path() / "games");
    fs::create_directory_symlink(home.path(), driveC() / "Games/Elsewhere");
    fs::create_directory(home.path() / "docs");
    fs::create_symlink(driveC() / "Games/Sample/Bin/Sample.EXE", home.path() / "docs/linked.exe");
    fs::remove(devices() / "z:");
    fs::create_symlink(home.path() / "docs", devices() / "h:");
    WineFileSystem noZ(prefix());
    struct Row {
        fs::path host;
        std::optional<std::string> windows;  // with Z: for the host's root, and without
        std::optional<std::string> withoutZ;
    };
    const Row rows[] = {
        // A folder linked from outside the drives is named by the drive of its real folder.
        {home.path() / "games/Sample/Bin/Sample.EXE", "C:\\Games\\Sample\\Bin\\Sample.EXE",
         "C:\\Games\\Sample\\Bin\\Sample.EXE"},
        {home.path() / "games/New.ini", "C:\\Games\\New.ini", "C:\\Games\\New.ini"},
        {devices() / "c:/Games", "C:\\Games", "C:\\Games"},
        // A link inside a drive keeps the name it has there; so does a file that is a link.
        {driveC() / "Games/Elsewhere/x.ini", "C:\\Games\\Elsewhere\\x.ini",
         "C:\\Games\\Elsewhere\\x.ini"},
        {home.path() / "docs/linked.exe", OnZ(home.path() / "docs/linked.exe"), "H:\\linked.exe"},
        {"/etc/hosts", "Z:\\etc\\hosts", std::nullopt},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(files.ToWindowsPath(row.host.native()), row.windows) << row.host;
        EXPECT_EQ(noZ.ToWindowsPath(row.host.native()), row.withoutZ) << row.host;
    }
}

// Drives come from drive links only; those the prefix marks as CD-ROM are CD-ROMs.
TEST_F(WineFileSystemTest, DrivesComeFromDriveLinksOnly) {
    temp.Write("system.reg",
               "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
               "[Software\\\\Wine\\\\Drives] 1700000000\n\"d:\"=\"cdrom\"\n\"e:\"=\"hd\"\n");
    fs::create_directories(prefix() / "disc");
    fs::create_symlink("../disc", devices() / "d:");
    fs::create_symlink("../disc", devices() / "e:");
    fs::create_symlink("/nonexistent-optera-target", devices() / "f:");
    fs::create_symlink("/dev/null", devices() / "g:");
    fs::create_symlink("/dev/ttyS0", devices() / "com1");
    fs::create_symlink("/", devices() / "c::");
    WineFileSystem withMore(prefix());
    std::vector<std::pair<std::string, DriveType>> drives;
    for (const DriveInfo& drive : withMore.Drives()) drives.emplace_back(drive.root, drive.type);
    EXPECT_EQ(drives, (std::vector<std::pair<std::string, DriveType>>{{"C:\\", DriveType::Fixed},
                                                                      {"D:\\", DriveType::CdRom},
                                                                      {"E:\\", DriveType::Fixed},
                                                                      {"F:\\", DriveType::Unknown},
                                                                      {"G:\\", DriveType::Unknown},
                                                                      {"Z:\\", DriveType::Fixed}}));
}

TEST_F(WineFileSystemTest, MissingPrefixHasTheHostRootAsZ) {
    WineFileSystem bare(prefix() / "absent");
    ASSERT_EQ(bare.Drives().size(), 1u);
    EXPECT_EQ(bare.Drives()[0].root, "Z:\\");
    EXPECT_EQ(bare.ReadAll(OnZ(driveC() / "Games/Sample/Bin/SAMPLE.exe")), "MZ");
    EXPECT_EQ(bare.ReadAll("C:\\Games\\Sample\\Bin\\Sample.EXE"), std::nullopt);
}

// Read-only is the absence of write bits; hidden is a dot-name unless Wine's DOS attribute,
// which Samba writes too, says otherwise.
TEST_F(WineFileSystemTest, MarksAreWriteBitsAndTheDosAttribute) {
    temp.Write("drive_c/Games/locked.cfg", "old");
    temp.Write("drive_c/Games/.dotted", "x");
    temp.Write("drive_c/Games/samba.cfg", "x");
    fs::permissions(driveC() / "Games/locked.cfg", fs::perms(0444));
    const std::string samba("0x22\0\0\3\0", 8);  // the text, then Samba's own record
    ASSERT_EQ(::setxattr((driveC() / "Games/samba.cfg").c_str(), "user.DOSATTRIB", samba.data(),
                         samba.size(), 0),
              0);
    const std::string locked = "C:\\Games\\LOCKED.cfg";
    EXPECT_EQ(files.Attributes(locked), attr::Archive | attr::ReadOnly);
    EXPECT_EQ(files.Attributes("C:\\Games\\.dotted"), attr::Archive | attr::Hidden);
    EXPECT_EQ(files.Attributes("C:\\Games\\samba.cfg"), attr::Archive | attr::Hidden);

    ASSERT_TRUE(files.SetAttributes(locked, attr::Normal));
    EXPECT_NE(ModeOf("drive_c/Games/locked.cfg") & S_IWUSR, 0u);
    ASSERT_TRUE(files.SetAttributes(locked, attr::ReadOnly | attr::Hidden));
    EXPECT_EQ(ModeOf("drive_c/Games/locked.cfg"), 0444u);
    ASSERT_TRUE(files.SetAttributes("C:\\Games\\.dotted", attr::Normal));
    ASSERT_TRUE(files.SetAttributes("C:\\Games\\samba.cfg", attr::Normal));
    auto entries = files.List("C:\\Games");
    ASSERT_TRUE(entries);
    for (const DirEntry& entry : *entries)
        EXPECT_EQ(entry.attributes & attr::Hidden, entry.name == "locked.cfg" ? attr::Hidden : 0u)
            << entry.name;
}

TEST_F(WineFileSystemTest, RenameAndCopyKeepWhatTheHostKnows) {
    temp.Write("drive_c/Games/a.txt", "A");
    temp.Write("drive_c/Games/b.txt", "B");
    fs::permissions(driveC() / "Games/a.txt", fs::perms(0640));
    ASSERT_TRUE(files.Copy("C:\\Games\\A.TXT", "C:\\Games\\c.txt"));
    EXPECT_EQ(ModeOf("drive_c/Games/c.txt"), 0640u);

    struct stat moved {};
    ::stat((driveC() / "Games/a.txt").c_str(), &moved);
    ASSERT_TRUE(files.Rename("C:\\Games\\a.txt", "C:\\GAMES\\B.TXT"));
    struct stat now {};
    ::stat((driveC() / "Games/b.txt").c_str(), &now);
    EXPECT_EQ(now.st_ino, moved.st_ino) << "the file itself took the target's place, in one step";
}

// Links are listed as what they lead to; a link to nothing is not listed.
TEST_F(WineFileSystemTest, ListFollowsLinksAndSkipsBrokenOnes) {
    fs::create_symlink("missing-target", driveC() / "Games/broken");
    fs::create_symlink("Sample", driveC() / "Games/linked");
    auto entries = files.List("C:\\games");
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 2u);
    for (const DirEntry& entry : *entries) EXPECT_EQ(entry.attributes, attr::Directory);
    EXPECT_EQ((*entries)[0].name, "linked");
    EXPECT_EQ((*entries)[0].fileNumber, (*entries)[1].fileNumber) << "the same folder";
}

}  // namespace

// A name spelled in another case is found through a kept index of its folder; whatever changes
// the folder from outside must show at the very next lookup.
TEST_F(WineFileSystemTest, ANameInAnotherCaseFollowsEveryOutsideChangeOfItsFolder) {
    const fs::path folder = driveC() / "Games" / "Sample";
    temp.Write("drive_c/Games/Sample/readme.txt", "a");
    const std::string asked = "C:\\Games\\Sample\\ReadMe.Txt";
    ASSERT_EQ(files.ReadAll(asked), "a");
    struct Step {
        const char* what;
        std::function<void()> change;
        std::optional<std::string> read;
    };
    const Step steps[] = {
        {"a spelling first in directory order appears",
         [&] { temp.Write("drive_c/Games/Sample/README.TXT", "b"); }, "b"},
        {"it goes again", [&] { fs::remove(folder / "README.TXT"); }, "a"},
        {"the file is renamed to another case",
         [&] { fs::rename(folder / "readme.txt", folder / "Readme.TXT"); }, "a"},
        {"it is removed", [&] { fs::remove(folder / "Readme.TXT"); }, std::nullopt},
        {"the folder is made anew with the name in it",
         [&] {
             fs::remove_all(folder);
             temp.Write("drive_c/Games/Sample/READme.txt", "c");
         },
         "c"},
    };
    for (const Step& step : steps) {
        step.change();
        EXPECT_EQ(files.ReadAll(asked), step.read) << step.what;
    }
}

// A profile file is kept between questions only while nothing can have changed it unseen: an
// outside write of the same size, even one that puts the old modification time back, is read.
TEST_F(WineFileSystemTest, AKeptProfileNeverOutlivesAnOutsideWrite) {
    optera::services::cPrivateProfile profile(files);
    const std::string ini = "C:\\Games\\Sample\\game.ini";
    const fs::path host = driveC() / "Games" / "Sample" / "game.ini";
    auto writeInPlace = [&](std::string_view bytes) {
        std::ofstream(host, std::ios::binary | std::ios::in | std::ios::out) << bytes;
    };
    auto makeOld = [&] {
        const struct timespec old[2] = {{1'700'000'000, 0}, {1'700'000'000, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, host.c_str(), old, 0), 0);
    };
    temp.Write("drive_c/Games/Sample/game.ini", "[s]\nk=1\n");
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), "1");
    writeInPlace("[s]\nk=2\n");  // within the same tick of the clock
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), "2");

    // Settled: the file is old and its last change is past, so it is kept.
    makeOld();
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), "2");
    writeInPlace("[s]\nk=3\n");
    makeOld();
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), "3") << "only its change time moved";

    makeOld();
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), "3");
    ASSERT_TRUE(profile.SetIniStringValue(ini, "s", "k", "4"));
    EXPECT_EQ(profile.GetIniStringValue(ini, "s", "k"), "4") << "our own write";
}
