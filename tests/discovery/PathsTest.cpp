#include <gtest/gtest.h>

#include <array>

#include "paths/PathExpansion.h"
#include "paths/SpecialFolderPath.h"
#include "platform/fake/FakeMachine.h"

using namespace optera::discovery;
namespace csidl = optera::platform::csidl;

TEST(CombinePath, JoinsAsDescribedInEachRow) {
    // name, base, relative, expected
    const std::array<const char*, 4> rows[] = {
        {"one step", R"(C:\Games\Foo\)", R"(..\Bar\x.cfg)", R"(C:\Games\Bar\x.cfg)"},
        {"two steps", R"(C:\Games\Foo\)", R"(..\..\x.cfg)", R"(C:\x.cfg)"},
        {"beyond the drive", R"(C:\Games\)", R"(..\..\..\..\x.cfg)", R"(\x.cfg)"},
        {"leading quote", R"("C:\Games\Foo\foo.exe)", R"(..\x.cfg)", R"(C:\Games\Foo\x.cfg)"},
        {"last of two paths", R"("C:\a\b.exe" D:\Games\)", "x.cfg", R"(D:\Games\x.cfg)"},
        {"seam at the front", R"(:\Games)", "x", R"(:\Games\x)"},
        {"doubled slash kept", R"(C:\Games\)", R"(\x.cfg)", R"(C:\Games\\x.cfg)"},
        {"empty relative", R"(C:\Games)", "", R"(C:\Games\)"},
        {"steps only in front", R"(C:\Games\)", R"(a\..\x)", R"(C:\Games\a\..\x)"},
    };
    for (const auto& [name, base, relative, expected] : rows) {
        EXPECT_EQ(CombinePath(base, relative), expected) << name;
    }
}

class PathsTest : public ::testing::Test {
  protected:
    optera::platform::FakeMachine fake;
    std::string Expand(std::string_view text) { return ExpandPercentForms(text, fake.machine()); }
    std::string Folder(std::string_view word) { return SpecialFolderPath(word, fake.machine()); }
};

TEST_F(PathsTest, ExpandsFromEnvironmentThenTableThenName) {
    fake.environment.variables = {{"a", "AAA"},
                                  {"b", "BBB"},
                                  {"windir", R"(C:\Windows)"},
                                  {"nested", R"(%windir%\sys)"},
                                  {"pct", "50%"}};
    fake.specialFolders.folders = {{csidl::Windows, R"(C:\Table)"},
                                   {csidl::Programs, R"(C:\Start\Programs)"},
                                   {csidl::Profile, R"(C:\Users\bob)"}};
    const std::pair<const char*, const char*> rows[] = {
        {"100% sure", "100% sure"},
        {R"(%a%\x%)", R"(AAA\x%)"},
        {R"(%a%\%b%)", R"(AAA\BBB)"},
        {R"(%NoSuchName%\a)", R"(NoSuchName\a)"},
        {"%nested%", R"(C:\Windows\sys)"},
        {"%WINDIR%", R"(C:\Windows)"},  // not windowsfolder's C:\Table
        {R"(%startmenuprograms%\Game)", R"(C:\Start\Programs\Game)"},
        {"%username%", "bob"},
        {"x%mydocuments%y", "xy"},  // the machine has no such folder
        {"a%%b", "ab"},
        {"%pct% and %b%", "50 and b%"},  // a sign from a value pairs with the next one
    };
    for (const auto& [text, expected] : rows) EXPECT_EQ(Expand(text), expected) << text;
}

TEST_F(PathsTest, ExpansionStopsWhenValuesKeepMakingForms) {
    fake.environment.variables = {{"x", "%x%"}, {"two", "%two%%two%"}};
    EXPECT_EQ(Expand("a%x%b"), "a%x%b");
    EXPECT_EQ(Expand("%two%").size(), 5 * (kMaxPercentReplacements + 1));  // one more per pass
}

TEST_F(PathsTest, FolderKeywords) {
    fake.specialFolders.folders = {{csidl::Personal, R"(C:\Docs)"},
                                   {csidl::Profile, R"(C:\Users\bob)"}};
    const std::pair<const char*, const char*> rows[] = {
        {"MyDocuments", R"(C:\Docs)"},
        {"my documents", R"(C:\Docs)"},
        {"Foo", "Foo"},
        {"username", "bob"},
        {"User", "bob"},
        {"userprofilename", R"(C:\Users\bob)"},
        {"desktop", ""},  // the machine has no such folder
    };
    for (const auto& [word, expected] : rows) EXPECT_EQ(Folder(word), expected) << word;
    fake.specialFolders.folders.clear();
    EXPECT_EQ(Folder("user"), "");
}
