// The resolution list on an in-memory machine: candidates against the display's modes, the
// video card's limit, the default row, and a recipe's range.

#include <gtest/gtest.h>

#include "support/FakeWindow.h"

using namespace optera;
using platform::DisplayMode;

namespace {

using Rows_ = std::vector<std::string>;

class ResolutionList : public ::testing::Test, public optera::testing::FakeWindow {
  protected:
    ResolutionList() {
        for (auto [w, h] : {std::pair{1280, 1024}, {1920, 1080}, {3840, 1024}, {5760, 1080}})
            fake.display.modes.push_back({w, h, 32, 60});
        fake.display.modes.push_back({2560, 1024, 8, 60});
        fake.display.current = DisplayMode{5760, 1080, 32, 60};
        fake.display.controllers = {"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF1458&REV_A1\\4&1",
                                    "PCI\\VEN_1002&DEV_67DF&SUBSYS_E3531DA2&REV_E7\\4&2"};
    }
    void Ini(const std::string& text) { fake.files.PutFile("C:\\Optera\\Optera.ini", text); }
    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        for (const forms::ListItem& row : gui.ResListBox().Items())
            rows.push_back(row.Selected ? "[" + row.Text + "]" : row.Text);
        return rows;
    }
};

constexpr char kCandidates[] =
    "[RESOLUTIONS]\r\n5760x1080\r\n1280X1024\r\n3072x768\r\n3840x1024\r\n2560x1024\r\n"
    "1600x1200\r\n";

TEST_F(ResolutionList, CandidatesPassOnTheDisplaysModesAndTheWideModesThatAlwaysStay) {
    Ini(std::string(kCandidates) + "[DEFAULTRES]\r\nDefault=3840x1024\r\n");
    logic.BuildResolutionList();
    // Upper-case X passes on its lower-case form; 3072x768 stays without a mode; 2560x1024 has
    // only an 8-bit mode and 1600x1200 none.
    EXPECT_EQ(Rows(), (Rows_{"1280X1024", "3072x768", "[3840x1024]", "5760x1080"}));
    EXPECT_EQ(gui.Resolutions, (Rows_{"1280X1024", "3072x768", "3840x1024", "5760x1080"}));

    Ini(kCandidates);
    logic.BuildResolutionList();
    EXPECT_EQ(gui.DefaultResolution, "0");
    EXPECT_EQ(Rows().back(), "[5760x1080]") << "a default not in the list selects the last row";

    // No mode at all: not even the wide modes that otherwise always stay.
    fake.display.modes.clear();
    logic.BuildResolutionList();
    EXPECT_EQ(Rows(), (Rows_{"[]"}));
    fake.files.Remove("C:\\Optera\\Optera.ini");
    logic.BuildResolutionList();
    EXPECT_EQ(gui.Resolutions, (Rows_{""}));
}

TEST_F(ResolutionList, TheVideoCardsLimitEndsTheList) {
    struct Case {
        const char* limits;
        Rows_ rows;
    } cases[] = {
        // A device line settles the limit in either order; a vendor line may be replaced.
        {"10DE=3072x768\r\n10DE.1C82=3840x1024\r\n", {"1280X1024", "3072x768", "3840x1024"}},
        {"1C82.10DE=3840x1024\r\n10DE=3072x768\r\n", {"1280X1024", "3072x768", "3840x1024"}},
        // The second controller counts as the first does; so does a subsystem id.
        {"E3531DA2=3072x768\r\n", {"1280X1024", "3072x768"}},
        {"1002=1280X1024\r\n", {"1280X1024"}},
        // A limit that is not a candidate, or a card that matches nothing: no limit.
        {"10DE=3000x1000\r\n", {"1280X1024", "3072x768", "3840x1024", "5760x1080"}},
        {"8086=1280X1024\r\n", {"1280X1024", "3072x768", "3840x1024", "5760x1080"}},
    };
    for (const Case& c : cases) {
        Ini(std::string(kCandidates) + "[MAXVIDEOCARDRES]\r\n" + c.limits);
        logic.BuildResolutionList();
        EXPECT_EQ(gui.Resolutions, c.rows) << c.limits;
    }
}

TEST_F(ResolutionList, ARecipeNarrowsTheRowsAndPicksOne) {
    Ini(kCandidates);
    logic.BuildResolutionList();
    gui.GameList().Select(gui.GameList().AddItem("Game"));
    struct Case {
        const char* range;
        const char* wanted;
        Rows_ rows;
        int row;
    } cases[] = {
        {"", "3840x1024", {"1280X1024", "3072x768", "3840x1024", "5760x1080"}, 3},
        {"Min=3072x768\r\nMax=3840x1024\r\n", "5760x1080", {"3072x768", "3840x1024"}, 2},
        {"Min=3840x1024\r\n", "1280X1024", {"3840x1024", "5760x1080"}, 2},
        // The walk ends at the first row that reaches Max, even above it.
        {"Max=3500x1000\r\n", "3072x768", {"1280X1024", "3072x768", "3840x1024"}, 2},
        {"Min=3840x1024\r\nMax=3840x1024\r\n", "", {"3840x1024"}, 1},
        {"Min=7680x1440\r\n", "3840x1024", {}, 0},
        {"", "none", {}, 1},
    };
    for (const Case& c : cases) {
        fake.files.PutFile("C:\\Optera\\MODS\\Game.txt",
                           std::string("[GAMERESOLUTIONS]\r\n") + c.range);
        EXPECT_EQ(logic.RestrictResolutionList(c.wanted), c.row) << c.range << c.wanted;
        EXPECT_EQ(Rows(), c.rows) << c.range << c.wanted;
    }

    // A click on a row sets the resolution the recipe's keywords stand for.
    logic.RestrictResolutionList("");
    gui.ResListBox().Select(2);
    gui.ResListBox().Raise("Click");
    EXPECT_EQ(logic.state().Selected.SelectedWidth, 3072);
    EXPECT_EQ(logic.state().Selected.SelectedHeight, 768);
}

// Rows written with a capital X are shown as written and count as any other: sorted, found as
// the default or the wanted row, compared with a range, and taken up when clicked.
TEST_F(ResolutionList, RowsWithACapitalXCountLikeAnyOther) {
    fake.display.modes.push_back({1280, 960, 32, 60});
    Ini("[RESOLUTIONS]\r\n1280X1024\r\n3840X1024\r\n1280x960\r\n"
        "[DEFAULTRES]\r\nDefault=1280X960\r\n");
    logic.BuildResolutionList();
    EXPECT_EQ(Rows(), (Rows_{"[1280x960]", "1280X1024", "3840X1024"}));

    gui.GameList().Select(gui.GameList().AddItem("Game"));
    fake.files.PutFile("C:\\Optera\\MODS\\Game.txt", "[GAMERESOLUTIONS]\r\nMin=1280X1000\r\n");
    EXPECT_EQ(logic.RestrictResolutionList("3840x1024"), 2);
    EXPECT_EQ(Rows(), (Rows_{"1280X1024", "3840X1024"}));
    gui.ResListBox().Select(1);
    gui.ResListBox().Raise("Click");
    EXPECT_EQ(logic.state().Selected.SelectedWidth, 1280);
    EXPECT_EQ(logic.state().Selected.SelectedHeight, 1024);
}

TEST(DisplayModes, EntriesAndTheCurrentMode) {
    platform::FakeDisplay display;
    display.modes = {{3840, 1024, 32, 60},
                     {1920, 1080, 32, 75},
                     {1920, 1080, 32, 60},
                     {1024, 768, 8, 60},
                     {800, 600, 16, 60}};
    display.current = DisplayMode{1920, 1080, 32, 60};
    services::cEnumDisplaySettings settings(display);
    EXPECT_EQ(settings.GetCurrentResolution(), "1920x1080x32@60hz");
    EXPECT_EQ(settings.GetDisplayModeList(16, 1),
              (Rows_{" 3840, 1024, 32, 60,True Color, ", " 1920, 1080, 32, 75,True Color,Current",
                     " 1920, 1080, 32, 60,True Color,Current", " 800, 600, 16, 60,High Color, "}));
    EXPECT_EQ(settings.GetDisplayModeList(16, 0), std::nullopt);
    EXPECT_EQ(settings.GetDisplayModeList(16, 2), Rows_{});
}

}  // namespace
