#include <gtest/gtest.h>

#include "optimizer/Classification.h"

using namespace optera::optimizer;
using Lines = std::vector<std::string>;

TEST(ClassifyLines, TheFirstDecidingLineSetsTheKind) {
    struct Row {
        const char* name;
        Lines lines;
        std::string_view expected;
    } rows[] = {
        {"line number", {"120=800"}, kind::LineNumber},
        {"fractional line number", {"12.5=x"}, kind::LineNumber},
        {"exponent spelled as long as its digits", {"1e2=x"}, kind::LineNumber},
        {"plain key", {"Width=800"}, kind::String},
        {"leading zero is no line number", {"012=5"}, kind::String},
        {"sign is no line number", {"+12=5"}, kind::String},
        {"zero is no line number", {"0=5"}, kind::String},
        {"digits and letters", {"12a=5"}, kind::String},
        {"profile entry", {"Video,Width=800"}, kind::PrivProfile},
        {"xpath", {"//cfg/video/@w=800"}, kind::Xml},
        {"comma and slashes", {"//a[@x='1,2']=800"}, kind::Xml},
        {"whole-file line", {"=whole line"}, kind::ReplaceCfg},
        {"blank left side", {"  =x"}, kind::ReplaceCfg},
        {"three pieces", {"w=800=;"}, kind::StringInsert},
        {"line number beats three pieces", {"3=a=b"}, kind::LineNumber},
        {"second line decides", {"Width=800", "Video,Height=600", "1=x"}, kind::PrivProfile},
        {"nothing decides", {"a=1", "b=2", "c"}, kind::String},
        {"empty section", {""}, kind::None},
        {"no lines", {}, kind::None},
    };
    for (const Row& row : rows) EXPECT_EQ(ClassifyLines(row.lines), row.expected) << row.name;
}

TEST(DecimalText, WritesNumbersAsTheNumberRuleReadsThem) {
    EXPECT_EQ(DecimalText(12), "12");
    EXPECT_EQ(DecimalText(12.5), "12.5");
    EXPECT_EQ(DecimalText(0.5), "0.5");
    EXPECT_EQ(DecimalText(1e20), "1E+20");
    EXPECT_EQ(DecimalText(1e-5), "1E-05");
    EXPECT_EQ(DecimalText(-3), "-3");
}
