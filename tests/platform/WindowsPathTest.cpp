#include <gtest/gtest.h>

#include "platform/WindowsPath.h"

using namespace optera::platform;

TEST(WindowsPath, SplitsAndJoins) {
    EXPECT_EQ(ParentOf("C:\\Games\\a.cfg"), "C:\\Games");
    EXPECT_EQ(NameOf("C:\\Games\\a.cfg"), "a.cfg");
    EXPECT_EQ(NameOf("a.cfg"), "a.cfg");
    EXPECT_EQ(JoinPath("C:\\Games\\", "\\a.cfg"), "C:\\Games\\a.cfg");
    EXPECT_EQ(DriveLetterOf("d:\\x"), 'D');
    EXPECT_EQ(DriveLetterOf("\\x"), '\0');
}

TEST(WindowsPath, NormalisesDotsAndSlashes) {
    EXPECT_EQ(NormalizePath("c:\\Games\\.\\Foo\\..\\Bar\\"), "C:\\Games\\Bar");
    EXPECT_EQ(NormalizePath("C:/a//b"), "C:\\a\\b");
    EXPECT_EQ(NormalizePath("C:\\..\\.."), "C:\\");
}
