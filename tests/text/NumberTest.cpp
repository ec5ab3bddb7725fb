#include <gtest/gtest.h>

#include <cmath>

#include "text/Number.h"

using namespace optera::text;

TEST(LeadingNumber, TakesTheLongestNumberAtTheFront) {
    struct Row {
        const char* text;
        double value;
    } rows[] = {
        {"42", 42},    {"  -7px", -7}, {"\t+3.5e2x", 350}, {".5", 0.5},
        {"5.", 5},     {"1e", 1},      {"1e+", 1},         {"2E-1", 0.2},
        {"12 34", 12}, {"&H1F", 31},   {"&hff&", 255},     {"&H", 0},
        {"", 0},       {"abc", 0},     {"-", 0},           {".", 0},
        {"- 5", 0},    {"1.2.3", 1.2}, {"0x10", 0},        {"16777215", 16777215},
    };
    for (const Row& row : rows) EXPECT_DOUBLE_EQ(LeadingNumber(row.text), row.value) << row.text;
}

TEST(LeadingNumber, SaturatesInsteadOfFailingOnHugeExponents) {
    EXPECT_TRUE(std::isinf(LeadingNumber("1e999")));
    EXPECT_LT(LeadingNumber("-1e999"), 0);
    EXPECT_EQ(LeadingNumber("1e-999"), 0);
}

TEST(Rounding, TiesGoToTheEvenNeighbour) {
    EXPECT_EQ(RoundToInt16(0.5), 0);
    EXPECT_EQ(RoundToInt16(1.5), 2);
    EXPECT_EQ(RoundToInt16(2.5), 2);
    EXPECT_EQ(RoundToInt16(-2.5), -2);
    EXPECT_EQ(RoundToInt16(2.5000001), 3);
    EXPECT_EQ(RoundToInt32(1e9 + 0.5), 1000000000);
}

TEST(Rounding, OverflowIsAFailure) {
    EXPECT_EQ(RoundToInt16(32767.4), 32767);
    EXPECT_FALSE(RoundToInt16(32767.5));  // rounds to 32768
    EXPECT_EQ(RoundToInt16(-32768.5), -32768);
    EXPECT_FALSE(RoundToInt16(-32769));
    EXPECT_EQ(RoundToInt32(2147483647.0), 2147483647);
    EXPECT_FALSE(RoundToInt32(2147483647.5));
    EXPECT_FALSE(RoundToInt32(NAN));
    EXPECT_FALSE(RoundToInt16(INFINITY));
}
