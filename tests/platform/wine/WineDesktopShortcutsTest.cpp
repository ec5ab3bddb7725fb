#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "platform/wine/HostFiles.h"
#include "platform/wine/WineDesktopShortcuts.h"
#include "support/WinePrefix.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

class Launcher : public optera::testing::WinePrefixTest {
  protected:
    WineFileSystem files{prefix()};
    EnvironmentVariables host{{"HOME", (prefix() / "home").string()},
                              {"XDG_DESKTOP_DIR", (prefix() / "desk").string()}};

    ShellLink SampleLink() {
        ShellLink link;
        link.TargetPath = "C:\\Games\\Sample\\Bin\\Sample.EXE";
        link.WorkingDirectory = "C:\\Games\\Sample\\Bin\\";
        link.IconLocation = link.TargetPath;
        link.Arguments = "-w 3840 \"-name=Big $Screen\" C:\\saves\\ 100% -titre=\xc9t\xe9";
        link.Description = "Kelvan created Sample Widescape link file, d\xe9mo";
        return link;
    }
};

// Its text is UTF-8 on the host, the program's text being in the code page.
TEST_F(Launcher, StartsTheGameWithWineInItsPrefix) {
    WineDesktopShortcuts shortcuts(files, host);
    ASSERT_TRUE(shortcuts.Create("Sample Caf\xe9", SampleLink()));
    fs::path file = prefix() / "desk" / "Sample Caf\xc3\xa9.desktop";
    const std::string p = prefix().string();
    EXPECT_EQ(ReadHostFile(file),
              "[Desktop Entry]\nType=Application\nName=Sample Caf\xc3\xa9\n"
              "Comment=Kelvan created Sample Widescape link file, d\xc3\xa9mo\n"
              "Exec=env WINEPREFIX=" +
                  p + " wine " + p + "/drive_c/Games/Sample/Bin/Sample.EXE" +
                  " -w 3840 \"-name=Big \\\\$Screen\" \"C:\\\\\\\\saves\\\\\\\\\" 100%% "
                  "-titre=\xc3\x89t\xc3\xa9\n"
                  "Path=" +
                  p +
                  "/drive_c/Games/Sample/Bin\n"
                  "Icon=wine\nTerminal=false\nStartupNotify=true\n");
    struct stat info {};
    ASSERT_EQ(::stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0755u) << "desktops start only executable launchers";

    if (std::system("command -v desktop-file-validate >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "desktop-file-validate is not installed";
    EXPECT_EQ(std::system(("desktop-file-validate '" + file.string() + "'").c_str()), 0);
}

TEST_F(Launcher, ReplacesAndRemovesByName) {
    WineDesktopShortcuts shortcuts(files, host);
    temp.Write("drive_c/Games/Sample/icon.png", "png");
    ShellLink link = SampleLink();
    ASSERT_TRUE(shortcuts.Create("A/B", link));
    link.IconLocation = "C:\\Games\\Sample\\icon.png";
    link.Arguments.clear();
    ASSERT_TRUE(shortcuts.Create("A/B", link));
    auto text = ReadHostFile(prefix() / "desk" / "A-B.desktop");
    ASSERT_TRUE(text);
    EXPECT_NE(text->find("Icon=" + (prefix() / "drive_c/Games/Sample/icon.png").string()),
              std::string::npos);
    EXPECT_NE(text->find("Sample.EXE\n"), std::string::npos) << "no arguments any more";
    shortcuts.Remove("A/B");
    shortcuts.Remove("Never Made");
    EXPECT_FALSE(fs::exists(prefix() / "desk" / "A-B.desktop"));
}

TEST_F(Launcher, ATargetOnNoDriveMakesNoLauncher) {
    WineDesktopShortcuts shortcuts(files, host);
    ShellLink link = SampleLink();
    link.TargetPath = "Q:\\Games\\x.exe";
    EXPECT_FALSE(shortcuts.Create("Nowhere", link));
    EXPECT_FALSE(fs::exists(prefix() / "desk" / "Nowhere.desktop"));
}

TEST_F(Launcher, TheDesktopFolderFollowsTheUsersSettings) {
    const fs::path home = prefix() / "home";
    EXPECT_EQ(WineDesktopShortcuts(files, host).DesktopFolder(), prefix() / "desk");
    EXPECT_EQ(WineDesktopShortcuts(files, {{"HOME", home.string()}}).DesktopFolder(),
              home / "Desktop");
    temp.Write("home/.config/user-dirs.dirs",
               "# written by xdg-user-dirs-update\nXDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n"
               "XDG_DESKTOP_DIR=\"$HOME/Bureau\"\n");
    EXPECT_EQ(WineDesktopShortcuts(files, {{"HOME", home.string()}}).DesktopFolder(),
              home / "Bureau");
    temp.Write("cfg/user-dirs.dirs", "XDG_DESKTOP_DIR=\"/srv/desk\"\n");
    EXPECT_EQ(WineDesktopShortcuts(files, {{"HOME", home.string()},
                                           {"XDG_CONFIG_HOME", (prefix() / "cfg").string()}})
                  .DesktopFolder(),
              "/srv/desk");
}

TEST(WindowsCommandLine, SplitsAsProgramsDo) {
    using V = std::vector<std::string>;
    EXPECT_EQ(SplitWindowsCommandLine("-w 3840  -h\t1024"), (V{"-w", "3840", "-h", "1024"}));
    EXPECT_EQ(SplitWindowsCommandLine("\"a b\" c\"d e\"f"), (V{"a b", "cd ef"}));
    EXPECT_EQ(SplitWindowsCommandLine("a\\\\\"b c\" d\\e \\\"q"), (V{"a\\b c", "d\\e", "\"q"}));
    EXPECT_EQ(SplitWindowsCommandLine("\"\""), (V{""}));
    EXPECT_EQ(SplitWindowsCommandLine("  "), V{});
}

}  // namespace
