// Replacing, copying and naming real files on a prefix the way a careful user needs: atomic
// writes that keep mode and owner, links planted at temporary or copy names never written
// through, failures that leave the target and say why, and names in UTF-8 on the host.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "platform/wine/HostFiles.h"
#include "platform/wine/WineDesktopShortcuts.h"
#include "platform/wine/WineEnvironment.h"
#include "platform/wine/WineFileSystem.h"
#include "platform/wine/WineHive.h"
#include "support/WinePrefix.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;
constexpr char kIni[] = "C:\\Games\\Sample\\game.ini";

bool IsRoot() {
    return ::geteuid() == 0;
}

struct stat StatOf(const fs::path& path) {
    struct stat st {};
    ::lstat(path.c_str(), &st);
    return st;
}

class WineFileSafety : public optera::testing::WinePrefixTest {
  protected:
    WineFileSafety() { temp.Write("drive_c/Games/Sample/game.ini", "old"); }

    fs::path ini() const { return driveC() / "Games/Sample/game.ini"; }
    fs::path sample() const { return driveC() / "Games/Sample"; }

    // Names in the game's folder that a replacement would leave behind.
    std::vector<std::string> Strays() const {
        std::vector<std::string> strays;
        for (const auto& entry : fs::directory_iterator(sample())) {
            std::string name = entry.path().filename().string();
            if (name.ends_with(".optera-new") || name == "Mod_Cfg.tmp") strays.push_back(name);
        }
        return strays;
    }

    WineFileSystem files{prefix()};
    optera::testing::TempFolder elsewhere;  // outside the prefix: nothing may be written here
};

TEST_F(WineFileSafety, ReplacingKeepsTheModeAndOwnerOfTheFile) {
    for (const char* tempName : {"", "Mod_Cfg.tmp"}) {
        temp.Write("drive_c/Games/Sample/game.ini", "old");
        ASSERT_EQ(::chmod(ini().c_str(), 0600), 0);
        const uid_t owner = IsRoot() ? kNobody : ::geteuid();
        if (IsRoot()) {
            ASSERT_EQ(::chown(ini().c_str(), kNobody, kNobody), 0);
        }

        ASSERT_TRUE(ReplaceFile(files, kIni, "new", tempName)) << tempName;
        EXPECT_EQ(temp.Read("drive_c/Games/Sample/game.ini"), "new");
        EXPECT_EQ(StatOf(ini()).st_mode & 07777, 0600u) << tempName;
        EXPECT_EQ(StatOf(ini()).st_uid, owner) << tempName;
        EXPECT_TRUE(Strays().empty());
    }
}

TEST_F(WineFileSafety, ANewFileOfTheSuperuserGetsTheOwnerOfItsFolder) {
    if (!IsRoot()) GTEST_SKIP() << "only the superuser can give files away";
    ASSERT_EQ(::chown(sample().c_str(), kNobody, kNobody), 0);
    ASSERT_TRUE(files.WriteAll("C:\\Games\\Sample\\new.ini", "x"));
    ASSERT_TRUE(files.Copy(kIni, "C:\\Games\\Sample\\game.original"));
    for (const char* name : {"new.ini", "game.original"}) {
        EXPECT_EQ(StatOf(sample() / name).st_uid, kNobody) << name;
        EXPECT_EQ(StatOf(sample() / name).st_gid, kNobody) << name;
    }
}

TEST_F(WineFileSafety, LinksPlantedAtTemporaryNamesAreNeverWrittenThrough) {
    struct Row {
        const char* tempName;  // as ReplaceFile is asked to use it
        const char* planted;   // the name the link is planted at
        bool dangling;
    };
    const Row rows[] = {{"", "game.ini.optera-new", false},
                        {"", "game.ini.optera-new", true},
                        {"Mod_Cfg.tmp", "Mod_Cfg.tmp", false},
                        {"Mod_Cfg.tmp", "Mod_Cfg.tmp", true}};
    for (const Row& row : rows) {
        fs::remove_all(elsewhere.path() / "victim");
        if (!row.dangling) elsewhere.Write("victim", "victim");
        fs::create_symlink(elsewhere.path() / "victim", sample() / row.planted);

        ASSERT_TRUE(ReplaceFile(files, kIni, "new", row.tempName)) << row.planted;
        EXPECT_EQ(temp.Read("drive_c/Games/Sample/game.ini"), "new");
        EXPECT_FALSE(fs::is_symlink(ini()));
        EXPECT_EQ(fs::exists(elsewhere.path() / "victim"), !row.dangling) << row.planted;
        if (!row.dangling) {
            EXPECT_EQ(elsewhere.Read("victim"), "victim") << row.planted;
        }
        EXPECT_TRUE(Strays().empty()) << row.planted;
    }
}

TEST_F(WineFileSafety, AStrayTemporaryFromAKilledRunIsReplaced) {
    // What a kill leaves: a partial temporary, read-only as a copy of a read-only file would be.
    for (const char* stray : {"Mod_Cfg.tmp", "game.ini.optera-new"}) {
        temp.Write(std::string("drive_c/Games/Sample/") + stray, "partial");
        ASSERT_EQ(::chmod((sample() / stray).c_str(), 0444), 0);
    }
    ASSERT_TRUE(ReplaceFile(files, kIni, "one", "Mod_Cfg.tmp"));
    ASSERT_TRUE(ReplaceFile(files, kIni, "two"));
    EXPECT_EQ(temp.Read("drive_c/Games/Sample/game.ini"), "two");
    EXPECT_TRUE(Strays().empty());
}

TEST_F(WineFileSafety, ALinkedFileIsEditedAndRestoredAtItsTargetAndStaysALink) {
    // The target beside the prefix, and on another file system where the host has one.
    std::vector<fs::path> targetFolders{elsewhere.path() / "configs"};
    char shm[] = "/dev/shm/optera-test-XXXXXX";
    if (fs::is_directory("/dev/shm") && ::mkdtemp(shm)) targetFolders.emplace_back(shm);
    for (const fs::path& folder : targetFolders) {
        fs::create_directories(folder);
        const fs::path real = folder / "game.ini";
        temp.Write("drive_c/Games/Sample/game.ini", "old");
        fs::copy_file(ini(), real, fs::copy_options::overwrite_existing);
        ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
        fs::remove(ini());
        fs::create_symlink(real, ini());

        ASSERT_TRUE(files.Copy(kIni, "C:\\Games\\Sample\\game.original"));
        ASSERT_TRUE(ReplaceFile(files, kIni, "one", "Mod_Cfg.tmp"));
        ASSERT_TRUE(files.WriteAll(kIni, "two"));
        EXPECT_EQ(ReadHostFile(real), "two") << folder;
        EXPECT_EQ(StatOf(real).st_mode & 07777, 0640u);
        ASSERT_TRUE(files.Rename("C:\\Games\\Sample\\game.original", kIni)) << folder;

        EXPECT_TRUE(fs::is_symlink(ini()));
        EXPECT_EQ(fs::read_symlink(ini()), real);
        EXPECT_EQ(ReadHostFile(real), "old") << folder;
        EXPECT_FALSE(fs::exists(sample() / "game.original"));
        EXPECT_TRUE(Strays().empty());
        for (const auto& entry : fs::directory_iterator(folder))
            EXPECT_EQ(entry.path().filename(), "game.ini") << "no temporary beside the target";
    }
    if (targetFolders.size() > 1) fs::remove_all(targetFolders.back());
}

TEST_F(WineFileSafety, AnotherUsersLinkLeadsOnlyToThatUsersFiles) {
    if (!IsRoot()) GTEST_SKIP() << "links of another user can be made only by the superuser";
    struct Row {
        uid_t targetOwner;
        bool followed;
    };
    for (Row row : {Row{kNobody, true}, Row{0, false}}) {
        const fs::path real = elsewhere.Write("target.ini", "theirs");
        ASSERT_EQ(::chown(real.c_str(), row.targetOwner, row.targetOwner), 0);
        fs::remove(ini());
        fs::create_symlink(real, ini());
        ASSERT_EQ(::lchown(ini().c_str(), kNobody, kNobody), 0);

        // Its copy would be the folder owner's to read: made only where the link leads to
        // that owner's own file.
        EXPECT_EQ(files.Copy(kIni, "C:\\Games\\Sample\\game.original"), row.followed);
        EXPECT_EQ(fs::exists(sample() / "game.original"), row.followed);
        fs::remove(sample() / "game.original");
        EXPECT_EQ(ReplaceFile(files, kIni, "new"), row.followed) << row.targetOwner;
        EXPECT_EQ(elsewhere.Read("target.ini"), row.followed ? "new" : "theirs");
        EXPECT_TRUE(fs::is_symlink(ini()));
        if (!row.followed) {
            EXPECT_EQ(files.LastError(), "it is a link Optera does not follow");
        }
        EXPECT_TRUE(Strays().empty());
    }
}

TEST_F(WineFileSafety, ACopyNeverWritesThroughALinkAtItsName) {
    ASSERT_EQ(::chmod(ini().c_str(), 0600), 0);
    elsewhere.Write("victim", "victim");
    for (const char* target : {"victim", "created"}) {
        const fs::path original = sample() / "game.original";
        fs::remove(original);
        fs::create_symlink(elsewhere.path() / target, original);

        ASSERT_TRUE(files.Copy(kIni, "C:\\Games\\Sample\\game.original")) << target;
        EXPECT_FALSE(fs::is_symlink(original));
        EXPECT_EQ(temp.Read("drive_c/Games/Sample/game.original"), "old");
        EXPECT_EQ(StatOf(original).st_mode & 07777, 0600u);
    }
    EXPECT_EQ(elsewhere.Read("victim"), "victim");
    EXPECT_FALSE(fs::exists(elsewhere.path() / "created"));
    EXPECT_TRUE(Strays().empty());
}

// Runs `check` in a child that cannot write where permission bits forbid it (the superuser
// drops to nobody); true when every check there held.
template <typename Check>
bool AsAnUnprivilegedUser(Check check) {
    const pid_t child = ::fork();
    if (child == 0) {
        if (IsRoot() && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(2);
        ::_exit(check() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(WineFileSafety, AReadOnlyFolderFailsAndSaysWhy) {
    temp.Write("drive_c/Games/Locked/game.ini", "old");
    const fs::path locked = driveC() / "Games/Locked";
    if (IsRoot()) {
        // The child, as nobody, must reach the prefix but not write in the locked folder.
        ASSERT_EQ(::chmod(prefix().c_str(), 0755), 0);
        ASSERT_EQ(::chown(locked.c_str(), kNobody, kNobody), 0);
        ASSERT_EQ(::chown((locked / "game.ini").c_str(), kNobody, kNobody), 0);
    }
    ASSERT_EQ(::chmod(locked.c_str(), 0555), 0);
    const fs::path prefixPath = prefix();
    EXPECT_TRUE(AsAnUnprivilegedUser([&] {
        WineFileSystem mine(prefixPath);
        return !ReplaceFile(mine, "C:\\Games\\Locked\\game.ini", "new") &&
               mine.LastError() == "permission denied" &&
               !mine.Copy(kIni, "C:\\Games\\Locked\\game.original") &&
               mine.LastError() == "permission denied";
    }));
    EXPECT_EQ(temp.Read("drive_c/Games/Locked/game.ini"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(locked), fs::directory_iterator()), 1);
}

// The hidden mark's attribute can be written only on a writable file; the owner of a read-only
// file marks it all the same, and it stays read-only.
TEST_F(WineFileSafety, TheOwnerOfAReadOnlyFileCanHideIt) {
    const fs::path own = temp.Write("drive_c/Games/Sample/own.ini", "x");
    if (IsRoot()) {
        ASSERT_EQ(::chmod(prefix().c_str(), 0755), 0);
        ASSERT_EQ(::chown(own.c_str(), kNobody, kNobody), 0);
    }
    ASSERT_EQ(::chmod(own.c_str(), 0444), 0);
    const fs::path prefixPath = prefix();
    EXPECT_TRUE(AsAnUnprivilegedUser([&] {
        WineFileSystem mine(prefixPath);
        const char* path = "C:\\Games\\Sample\\own.ini";
        return mine.SetAttributes(path, attr::ReadOnly | attr::Hidden) &&
               mine.Attributes(path) == (attr::Archive | attr::ReadOnly | attr::Hidden);
    }));
    EXPECT_EQ(StatOf(own).st_mode & 07777, 0444u);
}

TEST_F(WineFileSafety, WindowsNamesAreCodePageTextAndHostNamesUtf8) {
    const fs::path cafe = driveC() / "Jeux" / "Orbital Caf\xc3\xa9";  // UTF-8 on the host
    temp.Write("drive_c/Jeux/Orbital Caf\xc3\xa9/game.ini", "found");
    const std::string windows = "C:\\Jeux\\Orbital Caf\xe9";  // Windows-1252 in the program

    EXPECT_EQ(files.ReadAll(windows + "\\game.ini"), "found");
    EXPECT_EQ(files.ReadAll("C:\\JEUX\\ORBITAL CAF\xc9\\GAME.INI"), "found");
    EXPECT_EQ(files.ToHostPath(windows), cafe);
    EXPECT_EQ(files.ToWindowsPath(cafe.native()), windows);
    auto entries = files.List("C:\\Jeux");
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 1u);
    EXPECT_EQ((*entries)[0].name, "Orbital Caf\xe9");
    EXPECT_EQ(files.ListForSearch(windows)->at(0).name, "game.ini");

    ASSERT_TRUE(files.WriteAll(windows + "\\\xc9t\xe9.ini", "new"));
    EXPECT_EQ(temp.Read("drive_c/Jeux/Orbital Caf\xc3\xa9/\xc3\x89t\xc3\xa9.ini"), "new");
    ASSERT_TRUE(files.Rename(windows + "\\\xc9t\xe9.ini", windows + "\\\xe9t\xe9.ini"));
    EXPECT_TRUE(fs::exists(cafe / "\xc3\xa9t\xc3\xa9.ini")) << "a new spelling in UTF-8";
}

TEST_F(WineFileSafety, HiveSavesAndLaunchersDoNotWriteThroughPlantedTemporaries) {
    temp.Write("user.reg",
               "WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21\n"
               "\n#arch=win64\n\n[Software] 1700000000\n");
    elsewhere.Write("victim", "victim");
    fs::create_symlink(elsewhere.path() / "victim", prefix() / "user.reg.optera-new");
    WineHive hive(prefix() / "user.reg", false);
    hive.Refresh();
    hive.file().SetValue("Software\\Optera", RegFileValue{"v", 4, {1, 0, 0, 0}}, 1);
    ASSERT_TRUE(hive.Commit());
    EXPECT_NE(temp.Read("user.reg").find("[Software\\\\Optera]"), std::string::npos);
    EXPECT_FALSE(fs::exists(prefix() / "user.reg.optera-new"));

    const fs::path desk = prefix() / "desk";
    fs::create_directories(desk);
    fs::create_symlink(elsewhere.path() / "victim", desk / "Sample.desktop.optera-new");
    WineDesktopShortcuts shortcuts(files, {{"XDG_DESKTOP_DIR", desk.string()}});
    ShellLink link;
    link.TargetPath = "C:\\Games\\Sample\\Bin\\Sample.EXE";
    ASSERT_TRUE(shortcuts.Create("Sample", link));
    EXPECT_EQ(StatOf(desk / "Sample.desktop").st_mode & 07777, 0755u);
    EXPECT_FALSE(fs::exists(desk / "Sample.desktop.optera-new"));
    EXPECT_EQ(elsewhere.Read("victim"), "victim");
}

}  // namespace
