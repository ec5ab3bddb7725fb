#include <gtest/gtest.h>

#include "optimizer/ProfileEdits.h"
#include "platform/fake/FakeFileSystem.h"

using namespace optera;

namespace {

std::string Apply(std::string_view before, const std::vector<std::string>& lines) {
    platform::FakeFileSystem files;
    services::cPrivateProfile profile(files);
    const std::string path = "C:\\game.ini";
    files.PutFile(path, before);
    optimizer::ApplyPrivProfile(profile, path, lines);
    return *files.ReadAll(path);
}

}  // namespace

TEST(ApplyPrivProfile, NamedSectionsExactPartialOrNew) {
    const std::string display = "[Display]\r\nWidth=800\r\nHeight=600\r\n";
    EXPECT_EQ(Apply(display, {"Display,Width=1024"}), "[Display]\r\nWidth=1024\r\nHeight=600\r\n");
    EXPECT_EQ(Apply(display, {"Disp,Width=1024"}), "[Display]\r\nWidth=1024\r\nHeight=600\r\n");
    EXPECT_EQ(Apply(display, {"display,Depth=32"}),
              "[Display]\r\nWidth=800\r\nHeight=600\r\nDepth=32\r\n")
        << "no partial hit with regard to case, but the exact write ignores case";
    EXPECT_EQ(Apply("[Display1]\r\n[Display2]\r\nWidth=5\r\n", {"Disp,Width=1024"}),
              "[Display1]\r\nWidth=1024\r\n[Display2]\r\nWidth=1024\r\n");
    EXPECT_EQ(Apply("[Display1]\r\n[Display2]\r\nWidth=5\r\n", {"disp,Width=1024"}),
              "[Display1]\r\n[Display2]\r\nWidth=5\r\n[disp]\r\nWidth=1024\r\n")
        << "the partial match respects letter case";
    EXPECT_EQ(Apply("[Video]\r\nx=1\r\n", {"Disp,Width=1024"}),
              "[Video]\r\nx=1\r\n[Disp]\r\nWidth=1024\r\n");
    EXPECT_EQ(
        Apply("[Display]\r\nWidth=800\r\n[DisplayOld]\r\nWidth=640\r\n", {"Display,Width=1024"}),
        "[Display]\r\nWidth=1024\r\n[DisplayOld]\r\nWidth=640\r\n")
        << "an exact section with a value is written directly, without the partial walk";
}

TEST(ApplyPrivProfile, KeysWithoutSectionGoWhereverTheyStand) {
    EXPECT_EQ(Apply("[A]\nWidth=1\n[B]\nWidth=2\n[C]\nx=1\n", {"Video,Depth=32", "Width=1024"}),
              "[A]\nWidth=1024\n[B]\nWidth=1024\n[C]\nx=1\n[Video]\nDepth=32\n");
    EXPECT_EQ(Apply("[A]\nWidth=\n[B]\ny=2\n", {"Video,Depth=32", "Width=1024"}),
              "[A]\nWidth=\n[B]\ny=2\n[Video]\nDepth=32\nWidth=1024\n")
        << "an empty value does not count; the key joins the last section";
    EXPECT_EQ(Apply("no sections\n", {"a,b=1", "Width=1024", "skipped"}),
              "no sections\n[a]\nb=1\nWidth=1024\n");
}
