#include <gtest/gtest.h>

#include "optimizer/ConfigFileEdit.h"
#include "optimizer/FileLines.h"
#include "optimizer/TextEdits.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/ScriptedPrompts.h"

using namespace optera;
using optimizer::Lines;

namespace {

class ConfigFileEdit : public ::testing::Test {
  protected:
    platform::FakeFileSystem files;
    platform::ScriptedPrompts prompts;
    const std::string path = "C:\\Games\\Sample\\game.cfg";

    // Applies recipe lines to a file with the given bytes; gives the file's bytes afterwards.
    std::string Edit(std::string_view before, const Lines& lines, std::string_view expectedKind) {
        files.PutFile(path, before);
        optimizer::FileEdit applied = optimizer::ModifyConfigFile({files, prompts}, path, lines);
        EXPECT_EQ(applied.kind, expectedKind);
        EXPECT_EQ(applied.failure, "");
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
    // Lone CR lines count as lines, but the character after a lone CR starts the next line even
    // when it is a CR: the third line is "\rd\r", and its leading CR counts as indent.
    EXPECT_EQ(Edit("a\rb\r\rd\r", {"3=C"}, "LineNumber"), "a\rb\r\rC\r");
}

TEST_F(ConfigFileEdit, AMissingFileIsCreatedAndReceivesTheLinesAsAppends) {
    const std::string missing = "C:\\Games\\Sample\\new.cfg";
    files.CreateFolder("C:\\Games");
    files.CreateFolder("C:\\Games\\Sample");
    optimizer::ModifyConfigFile({files, prompts}, missing, {"width=1024", "height=768"});
    EXPECT_EQ(files.ReadAll(missing), "width1024height768") << "no separator or line end to copy";
}

// A file that cannot be read, or whose edit cannot be put in its place, stays as it was, mark
// included and with no temporary beside it, and the edit says why.
TEST_F(ConfigFileEdit, AFileThatCannotBeReadOrReplacedStaysAsItWas) {
    enum Trouble { Unreadable, FullDisk, ReadOnly, FullDiskReadOnly };
    const struct {
        std::string before;
        Lines lines;
        Trouble trouble;
        std::string failure;
    } rows[] = {
        {"w=800\n", {"w=1024"}, Unreadable, "it could not be read: permission denied"},
        {"w=800\n", {"w=1024"}, FullDiskReadOnly, "it could not be replaced: the disk is full"},
        {"<r><a w=\"800\"/></r>",
         {"//a[@w]=1024"},
         FullDisk,
         "it could not be replaced: the disk is full"},
        {"<r><a w=\"800\"/></r>", {"//a[@w]=1024"}, ReadOnly, "it is read-only"},
        {"[Display]\r\nWidth=800\r\n", {"Display,Width=1024"}, ReadOnly, "it is read-only"},
    };
    for (const auto& row : rows) {
        platform::FakeFileSystem fresh;
        fresh.PutFile(path, row.before);
        if (row.trouble == Unreadable)
            fresh.FailReadsWhen([](auto p) { return p.ends_with("cfg"); });
        if (row.trouble == FullDisk || row.trouble == FullDiskReadOnly)
            fresh.FailWritesWhen([](auto p) { return p.ends_with("Mod_Cfg.tmp"); });
        if (row.trouble == ReadOnly || row.trouble == FullDiskReadOnly)
            fresh.SetAttributes(path, platform::attr::ReadOnly);
        const auto marks = fresh.Attributes(path);
        EXPECT_EQ(optimizer::ModifyConfigFile({fresh, prompts}, path, row.lines).failure,
                  row.failure);
        fresh.FailReadsWhen(nullptr);
        EXPECT_EQ(fresh.ReadAll(path), row.before) << row.failure;
        EXPECT_EQ(fresh.Attributes(path), marks) << row.failure;
        EXPECT_EQ(fresh.List("C:\\Games\\Sample")->size(), 1u) << row.failure;
    }
}

TEST(ReadFileLines, KeepsLineEndsInsideTheLines) {
    struct Row {
        const char* bytes;
        Lines lines;
        const char* lineEnd;
    };
    const Row rows[] = {
        // After a lone CR the next character starts a line whatever it is: "\r\n" that follows
        // "z\r\r" is an LF line, which makes LF the majority.
        {"x\r\ny\nz\r\r\n\x80w", {"x\r\n", "y\n", "z\r", "\r\n", "w"}, "\n"},
        {"a\r\rb\r\rc", {"a\r", "\rb\r", "\rc"}, "\r"},
        {"a\r\x80\r\n", {"a\r", "\r\n", ""}, ""},
        {"", {""}, ""},
    };
    platform::FakeFileSystem files;
    for (const Row& row : rows) {
        files.PutFile("C:\\a.txt", row.bytes);
        auto read = optimizer::ReadFileLines(files, "C:\\a.txt", 128);
        EXPECT_EQ(read.lines, row.lines) << row.bytes;
        EXPECT_EQ(read.lineEnd, row.lineEnd) << row.bytes;
    }
    files.PutFile("C:\\a.txt", "x\r\n\x80w");
    EXPECT_EQ(optimizer::ReadFileLines(files, "C:\\a.txt", 256).lines.back(), "\x80w");
}
