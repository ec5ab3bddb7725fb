// Optimize and restore on a fake machine whose files fail where a test says: no file is edited
// without its original copy and no failure is passed over in silence. Runs killed at every
// moment are tried with real processes in the fault tests.

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "optimizer/Optimizer.h"
#include "platform/WindowsPath.h"
#include "platform/fake/FakeMachine.h"
#include "platform/fake/ScriptedPrompts.h"
#include "support/FakeOptimizer.h"

using namespace optera;

namespace {

using Files = std::map<std::string, std::string>;

constexpr char kVideo[] = "[Display]\r\nWidth=1024\r\nHeight=768\r\n";
constexpr char kGameCfg[] = "a\r\nb\r\nfov 75\r\n";
constexpr char kUi[] = "<ui><w>1024</w><h>768</h></ui>";
constexpr char kInput[] = "w 1024\r\nh 768\r\n";

// A game in C:\Game with one file of each kind of edit, and Optera in C:\Optera.
struct Bench : optera::testing::FakeOptimizer {
    Bench() {
        SetUpGame();
        fake.files.PutFile("C:\\Game\\video.ini", kVideo);
        fake.files.PutFile("C:\\Game\\game.cfg", kGameCfg);
        fake.files.PutFile("C:\\Game\\ui.xml", kUi);
        fake.files.PutFile("C:\\Game\\input.txt", kInput);
        Entry("video.ini", {"Display,Width=3840", "Display,Height=1024"});
        Entry("game.cfg", {"3=fov 90"});
        Entry("ui.xml", {"//ui/w=3840", "//ui/h=1024"});
        Entry("input.txt", {"w=3840", "h=1024"});
        gui.GameList().Select(gui.GameList().AddItem("Game"));
        gui.ResListBox().Select(gui.ResListBox().AddItem("3840x1024"));
    }
    void Entry(const std::string& name, std::vector<std::string> lines) {
        game.CfgFiles.push_back({"C:\\Game\\" + name, "SINGLE", std::move(lines)});
    }
    std::string Read(const std::string& name) {
        return fake.files.ReadAll("C:\\Game\\" + name).value_or("(missing)");
    }
    // Every file below the folder, by path, with its content.
    Files Snapshot(const std::string& folder = "C:\\") {
        Files found;
        for (const platform::DirEntry& entry :
             fake.files.List(folder).value_or(std::vector<platform::DirEntry>{})) {
            std::string path = platform::JoinPath(folder, entry.name);
            if (entry.attributes & platform::attr::Directory)
                found.merge(Snapshot(path));
            else
                found[path] = *fake.files.ReadAll(path);
        }
        return found;
    }
};

// Each row sets a failure up, then optimizes (or optimizes, then breaks something and
// restores). What the failure touched stays as it was, the rest is done, and the report names
// the file and why.
struct Row {
    const char* name;
    std::function<void(Bench&)> setUp;
    bool restore;
    std::map<std::string, std::string> expected;  // file in C:\Game -> content afterwards
    std::string what, why;                        // the one shortfall reported
};

// Writes (or reads) of the files whose names end so fail.
std::function<void(Bench&)> FailWrites(std::string end) {
    return [end](Bench& b) {
        b.fake.files.FailWritesWhen([end](std::string_view p) { return p.ends_with(end); });
    };
}
std::function<void(Bench&)> FailReads(std::string end) {
    return [end](Bench& b) {
        b.fake.files.FailReadsWhen([end](std::string_view p) { return p.ends_with(end); });
    };
}

TEST(NothingLost, AFileThatCannotBeKeptOrChangedIsLeftAsItWasAndReported) {
    const std::string video3840 = "[Display]\r\nWidth=3840\r\nHeight=1024\r\n";
    const std::string cfg90 = "a\r\nb\r\nfov 90\r\n";
    const Row rows[] = {
        {"the copy cannot be made",
         FailWrites("video.original"),
         false,
         {{"video.ini", kVideo}, {"video.original", "(missing)"}, {"game.cfg", cfg90}},
         "C:\\Game\\video.ini",
         "its original copy could not be made: the disk is full; it was not edited"},
        {"the file cannot be read, its copy is there from before",
         [](Bench& b) {
             b.fake.files.PutFile("C:\\Game\\video.original", kVideo);
             FailReads("video.ini")(b);
         },
         false,
         {{"video.ini", kVideo}, {"game.cfg", cfg90}},
         "C:\\Game\\video.ini",
         "it could not be read: permission denied"},
        {"the file cannot be replaced",
         FailWrites("game.cfg"),
         false,
         {{"game.cfg", kGameCfg}, {"game.original", kGameCfg}, {"Mod_Cfg.tmp", "(missing)"}},
         "C:\\Game\\game.cfg",
         "it could not be replaced: the disk is full"},
        {"a read-only profile file",
         [](Bench& b) {
             b.fake.files.SetAttributes("C:\\Game\\video.ini", platform::attr::ReadOnly);
         },
         false,
         {{"video.ini", kVideo}, {"video.original", kVideo}, {"game.cfg", cfg90}},
         "C:\\Game\\video.ini",
         "it is read-only"},
        {"a second file of the same stem",
         [](Bench& b) {
             b.fake.files.PutFile("C:\\Game\\video.cfg", "w=1\r\n");
             b.Entry("video.cfg", {"w=2"});
         },
         false,
         {{"video.ini", video3840}, {"video.original", kVideo}, {"video.cfg", "w=1\r\n"}},
         "C:\\Game\\video.cfg",
         "its original copy would be C:\\Game\\video.original, which keeps "
         "C:\\Game\\video.ini; with no original of its own it was not edited"},
        {"Restore is enabled and a file has no copy yet",
         [](Bench& b) {
             b.fake.files.PutFile("C:\\Game\\game.original", kGameCfg);
             b.gui.BtnImageBox(1).SetEnabled(true);
             FailReads("input.txt")(b);
         },
         false,
         {{"video.original", kVideo}, {"video.ini", video3840}, {"input.original", "(missing)"}},
         "C:\\Game\\input.txt",
         "its original copy could not be made: permission denied; it was not edited"},
        {"restore of a file that went missing",
         [](Bench& b) {
             b.Optimize();
             b.fake.files.Remove("C:\\Game\\video.ini");
             FailWrites("game.original")(b);
         },
         true,
         {{"video.ini", kVideo},
          {"video.original", "(missing)"},
          {"game.original", kGameCfg},
          {"game.cfg", cfg90}},
         "C:\\Game\\game.cfg",
         "its original could not be put back: the disk is full; the copy "
         "C:\\Game\\game.original was kept"},
    };
    for (const Row& row : rows) {
        Bench bench;
        // Marks too: the file the report names is left as it was, not marked read-only.
        bench.game.ForceModFilesToReadOnly = true;
        row.setUp(bench);
        const auto marks = bench.fake.files.Attributes(row.what);
        if (row.restore)
            bench.Restore();
        else
            bench.Optimize();
        bench.fake.files.FailReadsWhen(nullptr);
        for (const auto& [name, content] : row.expected)
            EXPECT_EQ(bench.Read(name), content) << row.name << ": " << name;
        EXPECT_EQ(bench.Reported(), std::vector<std::string>{row.what + ": " + row.why})
            << row.name;
        EXPECT_EQ(bench.fake.files.Attributes(row.what), marks) << row.name;
    }
}

// What could not be done is told in one exclamation box, in place of the success; a run that
// did everything shows no box of its own and leaves no report.
TEST(NothingLost, OneMessageListsWhatWasNotDone) {
    Bench bench;
    bench.fake.files.FailWritesWhen([](std::string_view p) {
        return p.ends_with("video.original") || p.ends_with("Game.txt.optera-new");
    });
    bench.Optimize();
    ASSERT_EQ(bench.prompts.shown.size(), 2u) << "the shortcut question, then the report";
    const platform::PromptMessage& box = bench.prompts.shown[1];
    EXPECT_EQ(box.title, "Optera - Not Everything Was Changed");
    EXPECT_EQ(box.icon, platform::MessageIcon::Exclamation);
    EXPECT_EQ(box.buttons, platform::MessageButtons::Ok);
    EXPECT_EQ(box.text,
              "The game was optimized except for these, which were left as they were:\r\n"
              "\r\nC:\\Game\\video.ini: its original copy could not be made: the disk is "
              "full; it was not edited"
              "\r\nC:\\Optera\\MODS\\Game.txt: the resolution 3840x1024 could not be written "
              "into it: the disk is full");
    EXPECT_NE(bench.gui.StatusLbl().Caption(), "Game has been optimized");

    bench.fake.files.FailWritesWhen(nullptr);
    bench.prompts.shown.clear();
    bench.Optimize();
    EXPECT_EQ(bench.Reported(), std::vector<std::string>{});
    EXPECT_EQ(bench.prompts.shown.size(), 1u) << "the shortcut question only";
    EXPECT_EQ(bench.gui.StatusLbl().Caption(), "Game has been optimized");

    bench.fake.files.FailWritesWhen([](std::string_view p) { return p.ends_with("ui.xml"); });
    bench.prompts.shown.clear();
    bench.Restore();
    ASSERT_EQ(bench.prompts.shown.size(), 2u) << "the question, then the report";
    EXPECT_EQ(bench.prompts.shown[1].title, "Optera - Not Everything Was Restored");
    EXPECT_EQ(bench.prompts.shown[1].text,
              "The game was restored except for these, which are as they were:\r\n\r\n"
              "C:\\Game\\ui.xml: its original could not be put back: the disk is full; the "
              "copy C:\\Game\\ui.original was kept");
}

// After a run that was stopped the window offers only Restore, so Restore removes the
// temporaries such a run leaves (a folder of such a name is not one).
TEST(NothingLost, RestoreRemovesWhatAStoppedRunLeft) {
    Bench bench;
    const Files start = bench.Snapshot();
    bench.Optimize();
    for (const char* stray :
         {"C:\\Game\\Mod_Cfg.tmp", "C:\\Game\\video.ini.optera-new",
          "C:\\Game\\ui.original.optera-new", "C:\\Optera\\MODS\\Game.txt.optera-new"})
        bench.fake.files.PutFile(stray, "");
    bench.fake.files.CreateFolder("C:\\Game\\input.original.optera-new");
    bench.Restore();
    EXPECT_EQ(bench.Snapshot(), start);
    EXPECT_TRUE(platform::FolderExists(bench.fake.files, "C:\\Game\\input.original.optera-new"));
}

}  // namespace
