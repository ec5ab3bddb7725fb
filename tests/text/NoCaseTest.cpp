#include <gtest/gtest.h>

#include "text/NoCase.h"

using namespace optera::text;

TEST(NoCase, FoldsAsciiAndCodePageLetters) {
    EXPECT_EQ(ToLower("RESDependent.1"), "resdependent.1");
    EXPECT_EQ(ToUpper("1600x1200"), "1600X1200");
    EXPECT_EQ(ToLower("\xC9T\xC9"), "\xE9t\xE9");  // É -> é
    EXPECT_EQ(ToUpper("\x9A\xFF"), "\x8A\x9F");    // š ÿ -> Š Ÿ
    EXPECT_EQ(ToLower("\xD7\xF7"), "\xD7\xF7");    // × and ÷ are not letters
    EXPECT_TRUE(EqualsNoCase("GameInfo", "GAMEINFO"));
    EXPECT_FALSE(EqualsNoCase("GameInfo", "GameInf"));
}

TEST(NoCase, FindsFromAPosition) {
    EXPECT_EQ(FindNoCase("-w #kelvanW -h", "#KELVANW"), 3u);
    EXPECT_EQ(FindNoCase("aXbX", "x", 2), 3u);
    EXPECT_EQ(FindNoCase("abc", "abcd"), npos);
    EXPECT_EQ(FindNoCase("abc", "", 1), 1u);
    EXPECT_EQ(FindNoCase("abc", "a", 4), npos);
    EXPECT_TRUE(StartsWithNoCase("_BLANK copy", "_blank"));
    EXPECT_TRUE(EndsWithNoCase("Game.TXT", ".txt"));
}

TEST(NoCase, OrdersWithoutRegardToCase) {
    EXPECT_EQ(CompareNoCase("abc", "ABC"), 0);
    EXPECT_LT(CompareNoCase("ab", "ABC"), 0);
    EXPECT_GT(CompareNoCase("b", "A"), 0);
}
