#include "cli/WindowCommands.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <ostream>

#include "cli/TerminalText.h"
#include "forms/Names.h"
#include "platform/WindowsPath.h"

namespace optera::cli {

namespace {

std::string GameNames(Window& window) {
    std::string names;
    for (const forms::ListItem& line : window.gui().GameList().Items())
        names += (names.empty() ? "" : ", ") + line.Text;
    return names;
}

// Selects the game, and the resolution when one is asked for; 0, or the exit code of a usage
// error (already reported).
int Choose(Window& window, const GameChoice& choice, std::ostream& err) {
    int line = window.LineOf(choice.game);
    if (line == 0) {
        // A game the detected view leaves out is still a game: look in the full list.
        window.gui().ShowAllGames = true;
        window.logic().FillGameList();
        line = window.LineOf(choice.game);
    }
    if (line == 0) {
        err << "optera-cli: there is no game \"" << Utf8(choice.game)
            << "\"; the games are: " << Utf8(GameNames(window)) << '\n';
        return 2;
    }
    window.Select(line);
    if (choice.resolution.empty()) return 0;
    if (!window.SelectResolution(choice.resolution)) {
        std::string offered;
        for (const forms::ListItem& row : window.gui().ResListBox().Items())
            offered += (offered.empty() ? "" : ", ") + row.Text;
        err << "optera-cli: " << Utf8(choice.resolution) << " is not offered for \""
            << Utf8(choice.game) << "\"; offered: " << (offered.empty() ? "none" : Utf8(offered))
            << '\n';
        return 2;
    }
    return 0;
}

std::string Status(Window& window) {
    return window.gui().StatusLbl().Caption();
}

// 0 when the window offers the command's button for the selected game; else 1, with the game's
// state said: the command line does not press a button the window disables or hides.
int Unavailable(Window& window, int button, std::string_view command, std::ostream& err) {
    const forms::Control& image = window.gui().BtnImageBox(button);
    if (image.Visible() && image.Enabled()) return 0;
    err << "optera-cli: " << command << " is not possible for \""
        << Utf8(window.gui().GameList().SelectedItem()->Text) << "\" now: " << Utf8(Status(window))
        << '\n';
    return 1;
}

// Whether the last optimization or restore did everything. What it could not do was already
// shown on the error stream, as the message box that lists it.
bool Completed(Window& window) {
    return window.logic().optimizer().LastReport().empty();
}

}  // namespace

int ListGames(Window& window, std::optional<bool> all, bool json, std::ostream& out) {
    if (all) {
        window.gui().ShowAllGames = *all;
        window.logic().FillGameList();
    }
    nlohmann::ordered_json lines = nlohmann::ordered_json::array();
    for (const forms::ListItem& line : window.gui().GameList().Items()) {
        if (json)
            lines.push_back({{"name", line.Text}, {"status", window.StatusOf(line)}});
        else
            out << Utf8(line.Text) << '\t' << Utf8(window.StatusOf(line)) << '\n';
    }
    if (json) out << JsonText(lines) << '\n';
    return 0;
}

int SelectGameCommand(Window& window, const GameChoice& choice, bool json, std::ostream& out,
                      std::ostream& err) {
    if (int usage = Choose(window, choice, err)) return usage;
    mainwindow::MainWindow& gui = window.gui();
    const forms::ListItem* line = gui.GameList().SelectedItem();
    nlohmann::ordered_json state;
    state["game"] = line->Text;
    state["status"] = Status(window);
    state["path"] = gui.PathLbl().Caption();
    state["colour"] = line->ForeColor;
    state["checked"] = line->Checked;
    state["bold"] = line->Bold;
    state["buttons"] = nlohmann::ordered_json::array();
    for (int i = 0; i < mainwindow::button::Count; ++i)
        state["buttons"].push_back({{"index", i},
                                    {"enabled", gui.BtnImageBox(i).Enabled()},
                                    {"visible", gui.BtnImageBox(i).Visible()}});
    state["resolutions"] = nlohmann::ordered_json::array();
    std::string selected;
    for (const forms::ListItem& row : gui.ResListBox().Items()) {
        state["resolutions"].push_back(row.Text);
        if (row.Selected) selected = row.Text;
    }
    state["selected_resolution"] = gui.ResListBox().Visible() ? selected : "";
    if (json) {
        out << JsonText(state) << '\n';
        return 0;
    }
    static const char* kNames[] = {"Optimize", "Restore", "Browse",   "Search",
                                   "View",     "How-To",  "VisitWeb", "Close"};
    out << "status: " << Utf8(Status(window)) << "\npath: " << Utf8(gui.PathLbl().Caption())
        << "\ncolour: " << line->ForeColor << (line->Checked ? ", checked" : "")
        << (line->Bold ? ", bold" : "") << "\nbuttons:";
    for (int i = 0; i < mainwindow::button::Count; ++i) {
        const forms::Control& image = gui.BtnImageBox(i);
        out << ' ' << kNames[i] << '='
            << (!image.Visible()  ? "hidden"
                : image.Enabled() ? "enabled"
                                  : "disabled");
    }
    out << "\nresolutions:";
    for (const forms::ListItem& row : gui.ResListBox().Items())
        out << ' ' << Utf8(row.Selected ? "[" + row.Text + "]" : row.Text);
    out << '\n';
    return 0;
}

int DetailsCommand(Window& window, const GameChoice& choice, std::ostream& out, std::ostream& err) {
    if (int usage = Choose(window, choice, err)) return usage;
    auto report = mainwindow::BuildReport("Modify", window.logic().state().CurrentGame,
                                          window.gui().NativeMessages);
    out << Utf8(report->text);
    return 0;
}

int HowToText(Window& window, const std::string& game, std::ostream& out, std::ostream& err) {
    if (int usage = Choose(window, {game, ""}, err)) return usage;
    window.logic().HowToCommand();
    out << Utf8(window.logic().report().Text1().Text());
    return 0;
}

int ResolutionsCommand(Window& window, const std::string& game, bool json, std::ostream& out,
                       std::ostream& err) {
    nlohmann::ordered_json result;
    if (game.empty()) {
        result["resolutions"] = window.gui().Resolutions;
        result["default"] = window.gui().DefaultResolution;
    } else {
        if (int usage = Choose(window, {game, ""}, err)) return usage;
        std::vector<std::string> rows;
        std::string selected;
        for (const forms::ListItem& row : window.gui().ResListBox().Items()) {
            rows.push_back(row.Text);
            if (row.Selected) selected = row.Text;
        }
        result["resolutions"] = rows;
        result["selected_resolution"] = selected;
    }
    if (json) {
        out << JsonText(result) << '\n';
        return 0;
    }
    for (const auto& row : result["resolutions"]) out << Utf8(row.get<std::string>()) << '\n';
    return 0;
}

int OptimizeGame(Window& window, const GameChoice& choice, std::ostream& out, std::ostream& err) {
    // Held from before the game is looked at, so that the state the choice rests on is not
    // changed by another Optera until the run has ended.
    auto hold = window.logic().HoldForChanges();
    if (!hold) return 1;
    if (int usage = Choose(window, choice, err)) return usage;
    if (int refused = Unavailable(window, mainwindow::button::Optimize, "optimize", err))
        return refused;
    window.dialogs().confirmed = false;
    window.logic().RunCommand(mainwindow::button::Optimize);
    out << Utf8(Status(window)) << '\n';
    return window.dialogs().confirmed && Completed(window) ? 0 : 1;
}

int RestoreGame(Window& window, Session& session, const std::string& game, std::ostream& out,
                std::ostream& err) {
    auto hold = window.logic().HoldForChanges();
    if (!hold) return 1;
    if (int usage = Choose(window, {game, ""}, err)) return usage;
    if (int refused = Unavailable(window, mainwindow::button::Restore, "restore", err))
        return refused;
    session.prompts().lastAnswer.reset();
    window.logic().RunCommand(mainwindow::button::Restore);
    out << Utf8(Status(window)) << '\n';
    return session.prompts().lastAnswer == platform::MessageAnswer::Yes && Completed(window) ? 0
                                                                                             : 1;
}

int LocateGameCommand(Window& window, Session& session, const std::string& game,
                      const std::string& exe, std::ostream& out, std::ostream& err) {
    if (int usage = Choose(window, {game, ""}, err)) return usage;
    if (int refused = Unavailable(window, mainwindow::button::Browse, "locate", err))
        return refused;
    std::string windows = exe;
    if (!exe.empty() && exe.front() == '/') {
        auto mapped = session.core().WindowsPathOf(exe);
        if (!mapped) {
            err << "optera-cli: " << Utf8(exe) << " is on no drive of the prefix\n";
            return 2;
        }
        windows = *mapped;
    }
    // The dialog opens only for a game whose place is not known.
    window.gui().PathLbl().SetCaption("");
    session.prompts().chosenFile = windows;
    window.logic().RunCommand(mainwindow::button::Browse);
    out << Utf8(Status(window)) << '\n';
    const std::string userLoc = window.logic().state().CurrentGame.UserLoc;
    return text::EqualsNoCase(userLoc, windows) ? 0 : 1;
}

int UncheckGame(Window& window, const std::string& game, std::ostream& out, std::ostream& err) {
    if (int usage = Choose(window, {game, ""}, err)) return usage;
    window.gui().GameList().UserChecks(window.gui().GameList().SelectedItem()->Index);
    out << Utf8(Status(window)) << '\n';
    return 0;
}

int SearchGame(Window& window, const std::string& game, std::ostream& out, std::ostream& err) {
    if (int usage = Choose(window, {game, ""}, err)) return usage;
    if (int refused = Unavailable(window, mainwindow::button::Search, "search", err))
        return refused;
    discovery::Scanner& scanner = window.logic().scanner();
    auto last = std::chrono::steady_clock::now() - std::chrono::seconds(1);
    forms::Subscription progress(scanner.Form(), [&](const forms::Change& change) {
        if (change.kind != forms::ChangeKind::Property || change.control->Name() != "Label2" ||
            change.what != forms::property::Caption)
            return;
        auto now = std::chrono::steady_clock::now();
        if (now - last < std::chrono::milliseconds(250)) return;
        last = now;
        err << "Searching " << Utf8(change.control->Caption()) << '\n';
    });
    window.logic().RunCommand(mainwindow::button::Search);
    progress.Stop();
    // The search window has gone: the window reads the game afresh, with the place found.
    window.Activate();
    out << Utf8(Status(window)) << '\n';
    // Nothing found (or cancelled) leaves the Search button ready for another try.
    return window.gui().BtnImageBox(mainwindow::button::Search).Enabled() ? 1 : 0;
}

int NewRecipe(Window& window, Session& session, bool openEditor, std::ostream& out) {
    const std::string path = platform::JoinPath(session.programFolder(), "MODS\\_BLANK.txt");
    if (openEditor)
        window.logic().NewBlankRecipe();
    else
        window.logic().RewriteBlankRecipe();
    out << session.HostPathOf(path) << '\n';
    return 0;
}

}  // namespace optera::cli
