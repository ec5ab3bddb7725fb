// Programs the shell starts: on their own without making the caller wait, or on our terminal
// until they end (the user's editor from the command line).

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "platform/wine/HostFiles.h"
#include "platform/wine/HostShell.h"
#include "support/WinePrefix.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

class Shell : public optera::testing::WinePrefixTest {
  protected:
    // The file's text once it has `lines` lines; what it has after five seconds otherwise.
    std::string WaitForLines(const fs::path& file, std::size_t lines) {
        std::string text;
        for (int i = 0; i < 500; ++i) {
            text = ReadHostFile(file).value_or("");
            if (static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) >= lines)
                break;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return text;
    }
    fs::path out = prefix() / "out";
};

TEST_F(Shell, ADetachedProgramRunsOnAfterTheCallReturned) {
    // It cannot end before the test lets it: a call that waited for it would never return.
    const fs::path gate = prefix() / "gate";
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const std::string script =
        "readlink /proc/self/fd/0 > \"$1\"; echo \"$WHO\" >> \"$1\"; "
        "cat \"$2\" > /dev/null; echo done >> \"$1\"";
    ASSERT_TRUE(RunProgram({"/bin/sh", "-c", script, "sh", out.string(), gate.string()},
                           {"WHO=optera", "PATH=/usr/bin:/bin"}, Launch::Detached));
    EXPECT_EQ(WaitForLines(out, 2), "/dev/null\noptera\n") << "no terminal, our environment";
    std::ofstream(gate) << "go\n";
    EXPECT_EQ(WaitForLines(out, 3), "/dev/null\noptera\ndone\n");
}

TEST_F(Shell, AForegroundProgramHasOurInputAndIsWaitedFor) {
    char ours[256] = {};
    ASSERT_GT(::readlink("/proc/self/fd/0", ours, sizeof ours - 1), 0);
    ASSERT_TRUE(
        RunProgram({"/bin/sh", "-c", "readlink /proc/self/fd/0 > \"$1\"", "sh", out.string()}, {},
                   Launch::Foreground));
    EXPECT_EQ(ReadHostFile(out), std::string(ours) + "\n") << "written before the call returned";
    EXPECT_FALSE(RunProgram({"/bin/sh", "-c", "exit 3"}, {}, Launch::Foreground));
    for (Launch launch : {Launch::Detached, Launch::Foreground})
        EXPECT_FALSE(RunProgram({"/no/such/program"}, {}, launch));
}

TEST_F(Shell, TheUsersEditorOpensOnTheTerminalOnlyForAProgramRunOnOne) {
    // An editor that notes the file it was given and ends.
    const fs::path editor = prefix() / "editor";
    std::ofstream(editor) << "#!/bin/sh\necho \"$1\" >> " << out.string() << "\n";
    fs::permissions(editor, fs::perms::owner_all);
    temp.Write("drive_c/recipe.txt", "");
    const std::string file = (driveC() / "recipe.txt").string() + "\n";
    WineFileSystem files(prefix());
    HostShell shell(files, {{"EDITOR", editor.string()}, {"PATH", "/usr/bin:/bin"}});

    shell.UseTerminal(true);
    ASSERT_TRUE(shell.Open("\"C:\\recipe.txt\""));
    EXPECT_EQ(ReadHostFile(out), file) << "waited for";
    ASSERT_TRUE(shell.Start("C:\\windows\\system32\\notepad.exe", "C:\\recipe.txt"));
    EXPECT_EQ(ReadHostFile(out), file + file);

    shell.UseTerminal(false);
    ASSERT_TRUE(shell.Start("C:\\windows\\system32\\notepad.exe", "C:\\recipe.txt"));
    EXPECT_EQ(WaitForLines(out, 3), file + file + file);
}

}  // namespace
