#include <gtest/gtest.h>

#include "optimizer/TextEdits.h"

using namespace optera::optimizer;

TEST(DetectSeparator, FollowsTheFilesMajority) {
    EXPECT_EQ(DetectSeparator({"a = b\n", "c = d\n", "e=f\n"}), " = ");
    EXPECT_EQ(DetectSeparator({"a=b\n", "c=d\n", "e = f\n"}), "=");
    EXPECT_EQ(DetectSeparator({"a b\n", "c d\n", "e=f\n"}), " ");
    EXPECT_EQ(DetectSeparator({"a=b\n", "c d\n"}), "") << "a tie";
    EXPECT_EQ(DetectSeparator({"a=b\n", "\n", "\n"}), "") << "a line of only its line end counts";
    EXPECT_EQ(DetectSeparator({"a=b\n", ""}), "=") << "the empty last line does not";
}

TEST(ApplyLineNumber, ReplacesByNumberKeepingTheIndent) {
    Lines file{"[video]\r\n", "    width 800\r\n", "\theight 600\r\n", "\r\n", ""};
    ApplyLineNumber(file, {"2=width 1024", "3=height=768", "4=fov 90", "0=never", "x=never"},
                    "\r\n");
    EXPECT_EQ(file, (Lines{"[video]\r\n", "    width 1024\r\n", "\theight=768\r\n",
                           "\r\nfov 90\r\n", ""}));
    // A line far beyond the end adds one line; several pile up in their order.
    ApplyLineNumber(file, {"99=a", "50=b", "5=c"}, "\r\n");
    EXPECT_EQ(file.size(), 7u);
    EXPECT_EQ(file[4], "c\r\n") << "line 5 is the empty last line";
    EXPECT_EQ(file[5], "a\r\n");
    EXPECT_EQ(file[6], "b\r\n");
}

TEST(ApplyString, ReplacesTheRestOfEveryLineThatHoldsTheKey) {
    Lines file{"// Resolution of the screen\n", "Res=800x600\n", "res=lower case\n", "Other=1"};
    ApplyString(file, {"Res=1024x768", "New=5", "Other=2", "Broken"}, "\n");
    EXPECT_EQ(file, (Lines{"// Res=1024x768\n", "Res=1024x768\n", "res=lower case\n", "Other=2\n",
                           "New=5\n"}));
}

TEST(ApplyString, AddedKeysJoinALastLineWithoutLineEnd) {
    Lines file{"a b\n", "c d"};
    ApplyString(file, {"width=1024", "height=768"}, "\n");
    EXPECT_EQ(file, (Lines{"a b\n", "c d", "width 1024\n", "height 768\n"}));
}

TEST(ApplyStringInsert, ReplacesBetweenKeyAndEndText) {
    Lines file{"set res 800 600;x\r\n", "set gamma 1\r\n", "bind res;x\r\n"};
    ApplyStringInsert(file, {"res=1024 768=;", "fov=90=;", "short=1"});
    EXPECT_EQ(file, (Lines{"set res 1024 768;x\r\n", "set gamma 1\r\n", "bind res 1024 768;x\r\n",
                           "fov 90;"}));

    Lines noEnd{"gamma=1\n", "res=800\n", "x=y\n"};
    ApplyStringInsert(noEnd, {"res=1024=;"});
    EXPECT_EQ(noEnd[1], "res=1024res=800\n") << "without the end text the old line follows";
}

TEST(ApplyReplaceCfg, TheLinesBecomeTheWholeFileInCrLf) {
    Lines file{"old\n", "content"};
    ApplyReplaceCfg(file, {"=first line", "=", " =x "});
    EXPECT_EQ(file, (Lines{"first line\r\n", "\r\n", "x\r\n"}));
}
