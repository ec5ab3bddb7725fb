#include <gtest/gtest.h>

#include <filesystem>

#include "platform/wine/UserSettingsFile.h"
#include "support/TempFolder.h"

using namespace optera::platform;
namespace fs = std::filesystem;

namespace {

TEST(WineUserSettingsFile, SettingsOutliveTheObject) {
    optera::testing::TempFolder temp;
    const fs::path file = temp.path() / "config/optera/user-settings.ini";
    {
        UserSettingsFile settings(file);
        EXPECT_EQ(settings.Get("Optera", "Options", "Restart", "0"), "0");
        ASSERT_TRUE(settings.Set("Optera", "Options", "Restart", "1"));
        ASSERT_TRUE(settings.Set("Optera", "Paths", "Last", "C:\\Games\\x=1 50%\r\nnext"));
        ASSERT_TRUE(settings.Set("Odd\\App=", "Sec", "Key", "odd"));
        ASSERT_TRUE(settings.Set("optera", "OPTIONS", "restart", "2"));  // same setting
    }
    UserSettingsFile again(file);
    EXPECT_EQ(again.Get("Optera", "Options", "Restart", "?"), "2");
    EXPECT_EQ(again.Get("Optera", "Paths", "Last", "?"), "C:\\Games\\x=1 50%\r\nnext");
    EXPECT_EQ(again.Get("Odd\\App=", "Sec", "Key", "?"), "odd");
    EXPECT_EQ(again.Get("Odd", "App=\\Sec", "Key", "?"), "?");
    EXPECT_EQ(temp.Read("config/optera/user-settings.ini"),
              "optera\\OPTIONS\\restart=2\n"
              "Optera\\Paths\\Last=C:\\Games\\x=1 50%25%0D%0Anext\n"
              "Odd%5CApp%3D\\Sec\\Key=odd\n");
}

TEST(WineUserSettingsFile, GarbageIsReadWithoutHarm) {
    optera::testing::TempFolder temp;
    using namespace std::string_literals;
    const std::string garbage = "\xff\xfe\0junk\nno equals sign\n=\nA\\B\\C=%4\nA\\B\\D=%zz%4"s;
    const fs::path file = temp.Write("settings.ini", garbage);
    UserSettingsFile settings(file);
    EXPECT_EQ(settings.Get("A", "B", "C", "?"), "%4");
    EXPECT_EQ(settings.Get("a", "b", "d", "?"), "%zz%4");
    EXPECT_EQ(settings.Get("X", "Y", "Z", "fallback"), "fallback");
    ASSERT_TRUE(settings.Set("A", "B", "C", "fixed"));
    EXPECT_EQ(settings.Get("A", "B", "C", "?"), "fixed");
    EXPECT_EQ(settings.Get("a", "b", "d", "?"), "%zz%4");

    // A folder where the file should be reads as empty and is not replaced.
    UserSettingsFile folder(temp.path());
    EXPECT_EQ(folder.Get("A", "B", "C", "none"), "none");
    EXPECT_FALSE(folder.Set("A", "B", "C", "x"));
}

TEST(WineUserSettingsFile, DefaultPathFollowsTheXdgRules) {
    const std::pair<EnvironmentVariables, fs::path> rows[] = {
        {{{"XDG_CONFIG_HOME", "/cfg"}, {"HOME", "/home/a"}}, "/cfg/optera/user-settings.ini"},
        {{{"XDG_CONFIG_HOME", "relative"}, {"HOME", "/home/a"}},
         "/home/a/.config/optera/user-settings.ini"},
        {{{"HOME", "/home/a"}}, "/home/a/.config/optera/user-settings.ini"},
    };
    for (const auto& [host, path] : rows) EXPECT_EQ(UserSettingsFile::DefaultPath(host), path);
}

}  // namespace
