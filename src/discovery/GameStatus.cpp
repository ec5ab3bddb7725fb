#include "discovery/GameStatus.h"

#include "text/Split.h"

namespace optera::discovery {

std::string BackupPathOf(std::string_view path) {
    if (path.size() < 3) return {};
    std::string copy(path.substr(0, path.size() - 3));
    copy += "original";
    return std::string(text::TrimBlanks(copy));
}

bool IsBadFileName(std::string_view path) {
    for (std::size_t i = 0; i < path.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(path[i]);
        if (c < 32 || c == '<' || c == '>' || c == '|' || c == '"' || c == '*' || c == '?')
            return true;
        if (c == ':' && i != 1) return true;
    }
    return false;
}

std::string ListClass(const platform::FileSystem& files, const recipes::GameRecord& game) {
    if (game.GameLoc.empty() && game.UserLoc.empty()) return std::string(kGrey);
    std::string word;
    for (const recipes::CfgEntry& entry : game.CfgFiles) {
        if (entry.Kind != recipes::kSingle && !entry.Kind.empty()) continue;
        if (entry.Path.empty()) return std::string(kRed);
        std::string copy = BackupPathOf(entry.Path);
        if (IsBadFileName(copy) || IsBadFileName(entry.Path)) return std::string(kRed);
        if (platform::FileExists(files, copy)) {
            word = kGreen;
            continue;
        }
        if (!platform::FileExists(files, entry.Path)) return std::string(kRed);
        return std::string(game.NativeSupport ? kBlue : kBlack);
    }
    return word;
}

namespace {

using mainwindow::MainWindow;
using mainwindow::SetButtonState;
namespace button = mainwindow::button;
namespace button_state = mainwindow::button_state;

// What the walk over a located game's configuration entries found.
struct EntryFlags {
    bool optimized = false;
    bool notOptimized = false;
    bool missing = false;
    bool badName = false;
};

// A file test on a path the file system refuses outright is remembered; the test then fails.
bool Exists(const platform::FileSystem& files, const std::string& path, EntryFlags& flags) {
    if (IsBadFileName(path)) {
        flags.badName = true;
        return false;
    }
    return platform::FileExists(files, path);
}

// The game's line in the game list by its place; 0 when the list has no such line, and then
// nothing is done to it.
using Line = int;

// The line's colour, mirrored on the path label.
void Paint(MainWindow& gui, Line line, forms::Colour colour) {
    gui.GameList().SetItemForeColor(line, colour);
    gui.PathLbl().SetForeColor(colour);
}

void ShowNativeSupport(MainWindow& gui, Line line) {
    Paint(gui, line, gui.GHNTS_Color);
    gui.ResListBox().SetVisible(false);
    // The buttons that act on a game go; How-To, Visit Web and Close stay usable.
    for (int i = button::Optimize; i <= button::View; ++i)
        SetButtonState(gui.GUI(), i, button_state::Enabled, false);
    for (int i = button::HowTo; i <= button::Close; ++i)
        SetButtonState(gui.GUI(), i, button_state::Enabled, true);
    for (int i = button::Optimize; i <= button::View; ++i)
        SetButtonState(gui.GUI(), i, button_state::Visible, false);
    SetButtonState(gui.GUI(), button::VisitWeb, button_state::Visible, true);
    SetButtonState(gui.GUI(), button::Close, button_state::Visible, true);
}

void ShowNotDetected(MainWindow& gui, Line line) {
    gui.GameList().SetItemChecked(line, false);
    gui.GameList().SetItemBold(line, false);
    Paint(gui, line, gui.GND_Color);
    SetButtonState(gui.GUI(), button::Optimize, button_state::Enabled, false);
    SetButtonState(gui.GUI(), button::Restore, button_state::Enabled, false);
}

// Nothing to apply: no modification line, no registry line, no launcher parameters.
bool NothingToApply(const recipes::GameRecord& game) {
    bool noLines = game.CfgFiles.empty() || game.CfgFiles[0].Lines.empty() ||
                   game.CfgFiles[0].Lines[0].empty();
    bool noRegistry = game.Registry.empty() || game.Registry[0].empty();
    return noLines && noRegistry && game.ShortcutParameters.empty();
}

void ShowLocated(MainWindow& gui, const platform::FileSystem& files,
                 const recipes::GameRecord& game, Line line, EntryFlags& flags) {
    for (const recipes::CfgEntry& entry : game.CfgFiles) {
        if (entry.Kind == recipes::kSingle || entry.Kind.empty()) {
            if (entry.Path.empty())
                flags.missing = true;
            else if (Exists(files, BackupPathOf(entry.Path), flags))
                flags.optimized = true;
            else if (Exists(files, std::string(text::TrimBlanks(entry.Path)), flags))
                flags.notOptimized = true;
            else
                flags.missing = true;
        } else if (entry.Kind == recipes::kMultiple) {
            // A pattern's match has a say only on a line already shown as optimized.
            const forms::ListItem* item = gui.GameList().Item(line);
            if (Exists(files, BackupPathOf(entry.Path), flags) && item &&
                item->ForeColor == gui.GO_Color)
                SetButtonState(gui.GUI(), button::Optimize, button_state::Enabled, true);
        }
    }
    if (flags.missing) {
        Paint(gui, line, gui.GCNF_Color);
        SetButtonState(gui.GUI(), button::Optimize, button_state::Enabled, true);
        SetButtonState(gui.GUI(), button::Restore, button_state::Enabled, false);
    } else if (flags.notOptimized) {
        Paint(gui, line, gui.GNO_Color);
        SetButtonState(gui.GUI(), button::Optimize, button_state::Enabled, !NothingToApply(game));
        SetButtonState(gui.GUI(), button::Restore, button_state::Enabled, false);
    } else if (flags.optimized) {
        Paint(gui, line, gui.GO_Color);
        SetButtonState(gui.GUI(), button::Optimize, button_state::Enabled, false);
        SetButtonState(gui.GUI(), button::Restore, button_state::Enabled, true);
    }
    gui.GameList().SetItemChecked(line, true);
    gui.GameList().SetItemBold(line, true);
}

// The status label takes the colour of the line and the text of the first class of that colour.
void ShowStatusText(MainWindow& gui, Line line) {
    const forms::ListItem* item = gui.GameList().Item(line);
    if (!item) return;
    const forms::Colour colour = item->ForeColor;
    std::string caption = StatusTextOf(gui, colour);
    if (caption.empty()) return;
    gui.StatusLbl().SetBackColor(colour);
    gui.StatusLbl().SetCaption(caption);
}

}  // namespace

std::string StatusTextOf(const MainWindow& gui, forms::Colour colour) {
    const std::pair<forms::Colour, const char*> classes[] = {
        {gui.GO_Color, "Game has been optimized"},    {gui.GCNF_Color, "Game CFG file not found"},
        {gui.GNO_Color, "Game not optimized yet"},    {gui.GND_Color, "Game not detected"},
        {gui.GHNTS_Color, "Game has native support"},
    };
    for (const auto& [classColour, caption] : classes)
        if (colour == classColour) return caption;
    return "";
}

void UpdateGameStatus(MainWindow& gui, const platform::FileSystem& files,
                      const recipes::GameRecord& game, std::int16_t index) {
    const Line line = gui.GameList().Item(index) ? index : 0;
    EntryFlags flags;
    if (game.NativeSupport) {
        ShowNativeSupport(gui, line);
    } else {
        if (game.GameLoc.empty() && game.UserLoc.empty())
            ShowNotDetected(gui, line);
        else
            ShowLocated(gui, files, game, line, flags);
        SetButtonState(gui.GUI(), button::View, button_state::Visible, true);
        SetButtonState(gui.GUI(), button::View, button_state::Enabled, true);
    }
    if (flags.badName) {
        Paint(gui, line, gui.GCNF_Color);
        SetButtonState(gui.GUI(), button::Optimize, button_state::Enabled, false);
        SetButtonState(gui.GUI(), button::Restore, button_state::Enabled, false);
    }
    ShowStatusText(gui, line);
}

}  // namespace optera::discovery
