#include <gtest/gtest.h>

#include "optimizer/Optimizer.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "support/FakeOptimizer.h"

using namespace optera;
using platform::MessageAnswer;
namespace attr = platform::attr;

namespace {

class Details : public ::testing::Test, public optera::testing::FakeOptimizer {
  protected:
    void SetUp() override {
        fake.specialFolders.folders[platform::csidl::Desktop] = "C:\\users\\me\\Desktop";
        fake.specialFolders.folders[platform::csidl::CommonDesktopDirectory] =
            "C:\\users\\Public\\Desktop";
        SetUpGame();
        gui.CurrentGameText = "  Game  ";
    }
    void Entry(const std::string& path, std::vector<std::string> lines) {
        game.CfgFiles.push_back({path, "SINGLE", std::move(lines)});
    }
    bool ReadOnly(std::string_view path) {
        return (fake.files.Attributes(path).value_or(0) & attr::ReadOnly) != 0;
    }
};

TEST_F(Details, ReadOnlyMarksGoWithTheEditUnlessTheRecipeForcesThem) {
    fake.files.PutFile("C:\\Game\\locked.cfg", "x\r\n");
    fake.files.SetAttributes("C:\\Game\\locked.cfg", attr::ReadOnly);
    Entry("C:\\Game\\locked.cfg", {"1=y"});
    Optimize();
    EXPECT_EQ(fake.files.ReadAll("C:\\Game\\locked.cfg"), "y\r\n");
    EXPECT_FALSE(ReadOnly("C:\\Game\\locked.cfg"));

    game.ForceModFilesToReadOnly = true;
    game.CfgFiles[0].Lines = {"1=z"};
    for (int run = 0; run < 2; ++run) {
        Optimize();
        EXPECT_EQ(fake.files.ReadAll("C:\\Game\\locked.cfg"), "z\r\n") << run;
        EXPECT_TRUE(ReadOnly("C:\\Game\\locked.cfg")) << run;
    }

    // The restore puts a read-only copy back and leaves no mark.
    fake.files.SetAttributes("C:\\Game\\locked.original", attr::ReadOnly);
    Restore();
    EXPECT_EQ(fake.files.ReadAll("C:\\Game\\locked.cfg"), "x\r\n");
    EXPECT_FALSE(ReadOnly("C:\\Game\\locked.cfg"));
    EXPECT_FALSE(platform::FileExists(fake.files, "C:\\Game\\locked.original"));
}

TEST_F(Details, AShortcutWithoutParametersIsOfferedAndOldOnesGo) {
    fake.shortcuts.links["game Widescape"] = {};
    fake.files.PutFile("C:\\users\\me\\Desktop\\game Optimized.lnk", "");
    fake.files.PutFile("C:\\users\\Public\\Desktop\\game Widescape.lnk", "");
    prompts.Answer(MessageAnswer::No);
    optimizer.CreateDesktopShortcut();
    EXPECT_TRUE(fake.shortcuts.links.empty()) << "declined, and the old one is gone";
    EXPECT_FALSE(platform::FileExists(fake.files, "C:\\users\\me\\Desktop\\game Optimized.lnk"));
    EXPECT_FALSE(
        platform::FileExists(fake.files, "C:\\users\\Public\\Desktop\\game Widescape.lnk"));
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].text,
              "Would you like a 'Widescape Game' desktop shortcut icon, for\r\n\r\n\t'Game'\r\n\r\n"
              "to be created for you?");
    EXPECT_EQ(prompts.shown[0].buttons, platform::MessageButtons::YesNo);

    game.ShortcutStartIn = "..\\data";
    prompts.Answer(MessageAnswer::Yes);
    optimizer.CreateDesktopShortcut();
    ASSERT_EQ(fake.shortcuts.links.count("game Widescape"), 1u) << "named after the executable";
    const platform::ShellLink& link = fake.shortcuts.links["game Widescape"];
    EXPECT_EQ(link.TargetPath, "C:\\Game\\game.exe");
    EXPECT_EQ(link.WorkingDirectory, "C:\\data");
    EXPECT_EQ(link.IconLocation, "C:\\Game\\game.exe");
    EXPECT_EQ(link.Description, "Kelvan created game Widescape link file");
    EXPECT_EQ(link.WindowStyle, 1);
}

TEST_F(Details, AShortcutThatCannotBeMadeIsReported) {
    game.ShortcutName = "Big Game";
    game.ShortcutParameters = "-wide";
    fake.shortcuts.failCreate = true;
    optimizer.CreateDesktopShortcut();
    ASSERT_EQ(prompts.shown.size(), 2u) << "the notice, then the failure";
    EXPECT_EQ(prompts.shown[1],
              (platform::PromptMessage{"", "Unable to create desktop shortcut!",
                                       platform::MessageButtons::Ok, platform::MessageIcon::None}));
    fake.shortcuts.failCreate = false;
    optimizer.CreateDesktopShortcut();
    EXPECT_EQ(fake.shortcuts.links["Big Game Widescape"].Arguments, "-wide");

    // In a whole run, the report at its end names the shortcut and why it is missing.
    fake.shortcuts.failCreate = true;
    prompts.shown.clear();
    Optimize();
    ASSERT_FALSE(prompts.shown.empty());
    EXPECT_NE(
        prompts.shown.back().text.find(
            "The desktop shortcut 'Big Game Widescape': it could not be made: the disk is full"),
        std::string::npos)
        << prompts.shown.back().text;
}

}  // namespace
