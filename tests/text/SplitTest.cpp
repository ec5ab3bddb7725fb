#include <gtest/gtest.h>

#include "text/Split.h"

using namespace optera::text;
using Pieces = std::vector<std::string>;

TEST(Split, CutsAtEveryDelimiter) {
    EXPECT_EQ(Split("a=b=c", "="), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(Split("=x", "="), (Pieces{"", "x"}));
    EXPECT_EQ(Split("x=", "="), (Pieces{"x", ""}));
    EXPECT_EQ(Split("", "="), (Pieces{""}));
    EXPECT_EQ(Split("1920, 1080, 32", ", "), (Pieces{"1920", "1080", "32"}));
    EXPECT_EQ(PieceOr(Split("key", "="), 1), "");
}

TEST(Trim, BlanksOnlyOrAllWhiteSpace) {
    EXPECT_EQ(TrimBlanks("  a b \t"), "a b \t");
    EXPECT_EQ(TrimWhite(" \ta b \r\n"), "a b");
    EXPECT_EQ(TrimWhite("   "), "");
}
