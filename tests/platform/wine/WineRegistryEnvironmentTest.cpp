#include "HivePrefix.h"
#include "platform/wine/WineMachine.h"

using namespace optera::platform;
using namespace optera::testing;

namespace {

// A prefix whose registry moves the profiles and program folders, sets variables of both kinds
// and names some shell folders for the user and some for the machine. CurrentControlSet is a
// key of its own here, as older Wine versions save it.
class WineRegistryEnvironmentTest : public WinePrefixTest {
  protected:
    WineRegistryEnvironmentTest() {
        temp.Write(
            "system.reg",
            HiveText(
                "win64",
                "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1\n"
                "\"CommonFilesDir\"=str(2):\"%SystemDrive%\\\\Shared\"\n"
                "\"ProgramFilesDir\"=\"D:\\\\Apps\"\n\n"
                "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Explorer\\\\Shell "
                "Folders] 1\n\"Common Desktop\"=\"C:\\\\Everyone\\\\Desktop\"\n"
                "\"Personal\"=\"C:\\\\Machine Documents\"\n\n"
                "[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion\\\\ProfileList] 1\n"
                "\"ProfilesDirectory\"=str(2):\"%SystemDrive%\\\\Profiles\"\n\n"
                "[Software\\\\Wow6432Node\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1\n"
                "\"ProgramFilesDir\"=\"C:\\\\Program Files (x86)\"\n\n"
                "[System\\\\CurrentControlSet\\\\Control\\\\Session Manager\\\\Environment] 1\n"
                "\"MYVAR\"=str(2):\"%PLAIN%\\\\x\"\n"
                "\"PATH\"=str(2):\"%SystemRoot%\\\\system32;%SystemRoot%\"\n"
                "\"PLAIN\"=\"plain\"\n\"TEMP\"=str(2):\"%SystemRoot%\\\\temp\"\n"
                "\"windir\"=str(2):\"%SystemRoot%\"\n"));
        temp.Write("user.reg",
                   HiveText("win64",
                            "[Environment] 1\n\"TEMP\"=str(2):\"%USERPROFILE%\\\\Temp\"\n\n"
                            "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Explorer\\\\"
                            "Shell Folders] 1\n\"Desktop\"=\"\"\n"
                            "\"My Pictures\"=str(2):\"%USERPROFILE%\\\\Pics\"\n"
                            "\"Personal\"=\"D:\\\\My Documents\\\\\"\n",
                            "\\\\User\\\\S-1-5-21-0-0-0-1000"));
    }
};

TEST_F(WineRegistryEnvironmentTest, VariablesComeFromTheEnvironmentKeys) {
    WineMachine wine(prefix(), {{"PATH", "/usr/bin"}, {"TEMP", "/tmp"}}, prefix() / "settings");
    const std::pair<const char*, const char*> rows[] = {
        {"USERPROFILE", "C:\\Profiles\\alice"},
        {"APPDATA", "C:\\Profiles\\alice\\AppData\\Roaming"},
        {"ProgramW6432", "D:\\Apps"},                   // the 64-bit view's folder
        {"CommonProgramW6432", "C:\\Shared"},           // expanded
        {"ProgramFiles", "C:\\Program Files (x86)"},    // a 32-bit program's
        {"PATH", "C:\\windows\\system32;C:\\windows"},  // the registry's, not the host's
        {"MYVAR", "plain\\x"},                          // plain strings are set first
        {"TEMP", "C:\\Profiles\\alice\\Temp"},          // the user's key wins
        {"windir", "C:\\windows"},
    };
    for (auto [name, value] : rows) EXPECT_EQ(wine.environment().Get(name), value) << name;
}

TEST_F(WineRegistryEnvironmentTest, ShellFoldersComeFromTheUserThenTheMachine) {
    WineMachine wine(prefix(), {}, prefix() / "settings");
    const std::pair<int, const char*> rows[] = {
        {csidl::Personal, "D:\\My Documents"},                     // user's, trailing '\' dropped
        {csidl::MyPictures, "C:\\Profiles\\alice\\Pics"},          // expanded
        {csidl::Desktop, "C:\\Profiles\\alice\\Desktop"},          // empty value: the default
        {csidl::CommonDesktopDirectory, "C:\\Everyone\\Desktop"},  // machine's
        {csidl::Favorites, "C:\\Profiles\\alice\\Favorites"},      // named nowhere
    };
    for (auto [id, path] : rows) EXPECT_EQ(wine.specialFolders().Path(id), path) << id;
    EXPECT_EQ(ReadText(wine.registry(), hkey::CurrentUser, "Environment", "TEMP"),
              "%USERPROFILE%\\Temp");
}

}  // namespace
