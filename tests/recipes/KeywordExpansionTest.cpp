#include <gtest/gtest.h>

#include "platform/fake/FakeFileSystem.h"
#include "recipes/KeywordExpansion.h"

using namespace optera;
using recipes::kMissingEntryMarker;
using Lines = std::vector<std::string>;

namespace {

class Keywords : public ::testing::Test {
  protected:
    platform::FakeFileSystem files;
    services::cPrivateProfile profile{files};
    recipes::SelectedResolution selected{3840, 1024};
    recipes::KeywordExpander expander{profile, selected};
    const std::string recipe = "C:\\Optera\\MODS\\Sample.txt";

    void SetUp() override {
        files.PutFile(recipe,
                      "[RESDEPENDENT.1]\r\n"
                      "1024x768=75\r\n"
                      "3840x1024=90\r\n"
                      "3840X1024=second line loses\r\n"
                      "[RESDEPENDENT.12]\r\n"
                      "3840x1024=a^b #KELVANW\r\n"
                      "[RESDEPENDENT.2]\r\n"
                      "1600X1200=5\r\n"
                      "3840x1024=0=ignored\r\n"
                      "[RESDEPENDENT.3]\r\n"
                      "3840x1024=\r\n"
                      "0x0=zero\r\n");
    }
    std::string Expand(std::string_view text) { return expander.ExpandKeywords(text, recipe); }
};

}  // namespace

TEST_F(Keywords, ResolutionKeywordsAreReplacedOnceEach) {
    EXPECT_EQ(Expand("-w #KELVANW -h #KELVANH"), "-w 3840 -h 1024");
    EXPECT_EQ(Expand("#kelvanw"), "3840");
    EXPECT_EQ(Expand("#KELVANW #KELVANW"), "3840 #KELVANW");
    EXPECT_EQ(Expand("Name=a^b^"), "Name=a b ");
    EXPECT_EQ(Expand("^^x"), "  x");
    EXPECT_EQ(Expand("no keyword here"), "no keyword here");
    EXPECT_EQ(Expand(""), "");
}

TEST_F(Keywords, TableValuesComeFromTheSelectedResolutionsLine) {
    EXPECT_EQ(Expand("3=fov #RESDEPENDENT.1"), "3=fov 90");
    EXPECT_EQ(Expand("x=#resdependent.1"), "x=90");
    EXPECT_EQ(Expand("x=#RESDEPENDENT.12y"), "x=a^b #KELVANWy") << "values are not scanned again";
    EXPECT_EQ(Expand("x=#RESDEPENDENT.2"), "x=0") << "0 is a value; text behind a second = is lost";
    EXPECT_EQ(Expand("#RESDEPENDENT.1 #RESDEPENDENT.1"), "90 #RESDEPENDENT.1");
    selected = {1600, 1200};
    EXPECT_EQ(Expand("x=#RESDEPENDENT.2"), "x=5") << "the x of a table line may be upper case";
}

TEST_F(Keywords, AMissingTableValueLeavesOnlyTheMarker) {
    EXPECT_EQ(Expand("before #RESDEPENDENT.3 after"), kMissingEntryMarker) << "empty value";
    EXPECT_EQ(Expand("x=#RESDEPENDENT.9"), kMissingEntryMarker) << "no such section";
    EXPECT_EQ(Expand("x=#RESDEPENDENT."), kMissingEntryMarker) << "a section without digits";
    selected = {0, 0};
    EXPECT_EQ(Expand("#KELVANW,#RESDEPENDENT.3"), "0,zero") << "nothing selected reads as 0x0";
    EXPECT_EQ(Expand("#RESDEPENDENT.1"), kMissingEntryMarker);
}

TEST_F(Keywords, OneMissingValueVoidsItsWholeSection) {
    Lines lines{"a=#KELVANW", "b=#RESDEPENDENT.1", "c=^", "d=#RESDEPENDENT.3", "e=#KELVANH"};
    EXPECT_EQ(expander.ExpandLines(lines, recipe), (Lines{std::string(kMissingEntryMarker)}));

    Lines fine{"a=#KELVANW", "b=#RESDEPENDENT.1", "c=^"};
    EXPECT_EQ(expander.ExpandLines(fine, recipe), (Lines{"a=3840", "b=90", "c= "}));

    Lines empty{"", "x=#RESDEPENDENT.3"};
    EXPECT_EQ(expander.ExpandLines(empty, recipe), (Lines{"", "x=#RESDEPENDENT.3"}))
        << "a section whose first line is empty is not expanded";
}
