#include <gtest/gtest.h>

#include "optimizer/ConfigFileEdit.h"
#include "optimizer/FileLines.h"
#include "optimizer/TextEdits.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/ScriptedPrompts.h"
#include "platform/wine/WineFileSystem.h"
#include "support/TempFolder.h"

using namespace optera;
using optimizer::Lines;

namespace {

class ConfigFileEdit : public ::testing::Test {
  protected:
    platform::FakeFileSystem files;
    services::cPrivateProfile profile{files};
    platform::ScriptedPrompts prompts;
    const std::string path = "C:\\Games\\Sample\\game.cfg";

    // Applies recipe lines to a file with the given bytes; gives the file's bytes afterwards.
    std::string Edit(std::string_view before, const Lines& lines, std::string_view expectedKind) {
        files.PutFile(path, before);
        std::string applied = optimizer::ModifyConfigFile({files, profile, prompts}, path, lines);
        EXPECT_EQ(applied, expectedKind);
        return files.ReadAll(path).value_or("<missing>");
    }
};

}  // namespace

TEST_F(ConfigFileEdit, EveryKindFromRecipeLinesToTheFileOnDisk) {
    EXPECT_EQ(Edit("a\r\nb\r\nc\r\n", {"2=B"}, "LineNumber"), "a\r\nB\r\nc\r\n");
    EXPECT_EQ(Edit("w = 800\r\nh = 600\r\n", {"w=1024", "d=32"}, "String"),
              "w = 1024\r\nh = 600\r\nd = 32\r\n");
    EXPECT_EQ(Edit("set res 800 600;x\n", {"res=1024 768=;"}, "StringInsert"),
              "set res 1024 768;x\n");
    EXPECT_EQ(Edit("anything\n", {"=[Video]", "=Width=1024"}, "ReplaceCFG"),
              "[Video]\r\nWidth=1024\r\n");
    EXPECT_EQ(Edit("; keep me\n[Display]\nWidth = 800\n\n[Other]\nx=1\n", {"Disp,Width=1024"},
                   "PrivProfile"),
              "; keep me\n[Display]\nWidth = 1024\n\n[Other]\nx=1\n");
    EXPECT_EQ(Edit("<r><a w=\"800\"/></r>", {"//a[@w]=1024"}, "XML"), "<r><a w=\"1024\"/></r>");
    EXPECT_EQ(Edit("untouched \xE9\n", {""}, "None"), "untouched \xE9\n");
}

TEST_F(ConfigFileEdit, RewrittenFilesLoseHighBytesAndKeepTheirLineEnds) {
    EXPECT_EQ(Edit("\xEF\xBB\xBFname=Caf\xE9\r\nwidth=800\r\nlast", {"width=1024"}, "String"),
              "name=Caf\r\nwidth=1024\r\nlast");
    // Majority CR LF: replaced lines end in CR LF even where the file had LF.
    EXPECT_EQ(Edit("a\r\nb\r\nc\n", {"3=C"}, "LineNumber"), "a\r\nb\r\nC\r\n");
    // No majority: a replaced line gets no line end, and the next one joins it.
    EXPECT_EQ(Edit("a\r\nb\nc", {"1=A"}, "LineNumber"), "Ab\nc");
    // Lone CR lines count as lines; an empty line's line end counts as its indent.
    EXPECT_EQ(Edit("a\rb\r\rd\r", {"3=C"}, "LineNumber"), "a\rb\r\rC\rd\r");
}

TEST_F(ConfigFileEdit, AMissingFileIsCreatedAndReceivesTheLinesAsAppends) {
    const std::string missing = "C:\\Games\\Sample\\new.cfg";
    files.CreateFolder("C:\\Games");
    files.CreateFolder("C:\\Games\\Sample");
    optimizer::ModifyConfigFile({files, profile, prompts}, missing, {"width=1024", "height=768"});
    EXPECT_EQ(files.ReadAll(missing), "width1024height768") << "no separator or line end to copy";
}

TEST_F(ConfigFileEdit, AFileThatCannotBeReplacedStaysAsItWas) {
    files.PutFile(path, "w=800\n");
    files.SetAttributes(path, platform::attr::ReadOnly);
    files.FailWritesWhen([](std::string_view p) { return p.ends_with("Mod_Cfg.tmp"); });
    optimizer::ModifyConfigFile({files, profile, prompts}, path, {"w=1024"});
    EXPECT_EQ(files.ReadAll(path), "w=800\n");
    EXPECT_EQ(*files.Attributes(path) & platform::attr::ReadOnly, platform::attr::ReadOnly);
    EXPECT_EQ(files.List("C:\\Games\\Sample")->size(), 1u);
}

TEST(ConfigFileEditOnDisk, AReadOnlyFileIsReplacedAndComesOutWritable) {
    optera::testing::TempFolder root;
    std::filesystem::create_directories(root.path() / "dosdevices");
    std::filesystem::create_directory_symlink("../drive_c", root.path() / "dosdevices/c:");
    auto cfg = root.Write("drive_c/Game/settings.cfg", "w=800\nh=600\n");
    root.Write("drive_c/Game/other.txt", "other");
    std::filesystem::permissions(cfg, std::filesystem::perms::owner_read |
                                          std::filesystem::perms::group_read |
                                          std::filesystem::perms::others_read);

    platform::WineFileSystem files(root.path());
    services::cPrivateProfile profile(files);
    platform::ScriptedPrompts prompts;
    ASSERT_EQ(*files.Attributes("C:\\game\\SETTINGS.cfg") & platform::attr::ReadOnly,
              platform::attr::ReadOnly);
    optimizer::ModifyConfigFile({files, profile, prompts}, "C:\\game\\SETTINGS.cfg", {"w=1024"});

    EXPECT_EQ(root.Read("drive_c/Game/settings.cfg"), "w=1024\nh=600\n");
    EXPECT_EQ(*files.Attributes("C:\\Game\\settings.cfg") & platform::attr::ReadOnly, 0u);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(root.path() / "drive_c/Game"))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"other.txt", "settings.cfg"}));
    EXPECT_EQ(root.Read("drive_c/Game/other.txt"), "other");
}

TEST(ReadFileLines, KeepsLineEndsInsideTheLines) {
    platform::FakeFileSystem files;
    files.PutFile("C:\\a.txt", "x\r\ny\nz\r\r\n\x80w");
    auto read = optimizer::ReadFileLines(files, "C:\\a.txt", 128);
    EXPECT_EQ(read.lines, (Lines{"x\r\n", "y\n", "z\r", "\r\n", "w"}));
    EXPECT_EQ(read.lineEnd, "\r\n");
    files.PutFile("C:\\empty.txt", "");
    EXPECT_EQ(optimizer::ReadFileLines(files, "C:\\empty.txt", 128).lines, (Lines{""}));
    EXPECT_EQ(optimizer::ReadFileLines(files, "C:\\a.txt", 256).lines.back(), "\x80w");
}
