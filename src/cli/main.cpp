// optera-cli: Optera's work from a terminal, on a Wine prefix.
#include <CLI/CLI.hpp>

#include <unistd.h>

#include <csignal>
#include <iostream>

#include "cli/Commands.h"
#include "cli/TerminalText.h"
#include "cli/WindowCommands.h"
#include "forms/Names.h"

namespace {

std::filesystem::path ExecutableFolder(const char* argv0) {
    std::error_code ec;
    auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) self = std::filesystem::absolute(argv0, ec);
    return self.parent_path();
}

extern "C" void Interrupted(int) {
    optera::cli::ConsolePrompts::interrupted = true;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace optera::cli;
    CLI::App app{"Optera: wide-screen settings for games in a Wine prefix", "optera-cli"};
    app.require_subcommand(1);
    SessionOptions options;
    options.executableFolder = ExecutableFolder(argv[0]);
    options.terminal = ::isatty(STDIN_FILENO) && ::isatty(STDOUT_FILENO);
    app.add_option("--home", options.home, "Program folder (Optera.ini, MODS, SKINS)");
    app.add_option("--prefix", options.prefix, "Wine prefix (default $WINEPREFIX, then ~/.wine)");
    bool yes = false, no = false;
    std::filesystem::path transcript;
    auto* yesFlag = app.add_flag("--yes", yes, "Answer Yes to every question");
    app.add_flag("--no", no, "Answer No to every question")->excludes(yesFlag);
    app.add_option("--transcript", transcript, "Append every message box to FILE as JSON lines");

    std::string game, resolution, text, exe;
    std::vector<std::string> sections;
    bool json = false, all = false, detected = false, noEditor = false;

    auto* recipes = app.add_subcommand("recipes", "List the games that have recipes");

    auto* expand = app.add_subcommand("expand", "Show a recipe's lines expanded for a resolution");
    expand->add_option("GAME", game, "Recipe name")->required();
    expand->add_option("--resolution", resolution, "Resolution as WIDTHxHEIGHT")->required();
    expand->add_option("SECTION", sections, "Sections to show (default: all with keywords)");

    auto* show = app.add_subcommand("show", "Show a game's record on this machine");
    show->add_option("GAME", game, "Recipe name")->required();
    show->add_option("--resolution", resolution, "Resolution as WIDTHxHEIGHT (default: RES)");
    show->add_flag("--json", json, "Write the record as JSON");

    auto* path = app.add_subcommand("path", "Expand %name% forms on this machine");
    path->add_option("TEXT", text, "Text with %name% forms")->required();

    auto* list = app.add_subcommand("list", "The game list with each game's status");
    auto* allFlag = list->add_flag("--all", all, "Every game");
    list->add_flag("--detected", detected, "The detected games only")->excludes(allFlag);
    list->add_flag("--json", json, "Write JSON");

    auto addGame = [&](CLI::App* command, bool withResolution) {
        command->add_option("GAME", game, "Game (recipe name)")->required();
        if (withResolution)
            command->add_option("--resolution", resolution, "Resolution row as WIDTHxHEIGHT");
    };
    auto* select = app.add_subcommand("select", "What a click on the game shows");
    addGame(select, true);
    select->add_flag("--json", json, "Write JSON");
    auto* details = app.add_subcommand("details", "The report of what optimizing will do");
    addGame(details, true);
    auto* howto = app.add_subcommand("howto", "The game's How-To text");
    addGame(howto, false);
    auto* resolutions = app.add_subcommand("resolutions", "The resolutions offered");
    resolutions->add_option("GAME", game, "Game (recipe name)");
    resolutions->add_flag("--json", json, "Write JSON");
    auto* optimize = app.add_subcommand("optimize", "Optimize a game");
    addGame(optimize, true);
    auto* restore = app.add_subcommand("restore", "Restore a game's original files");
    addGame(restore, false);
    auto* locate = app.add_subcommand("locate", "Tell where a game's executable is");
    addGame(locate, false);
    locate->add_option("EXE", exe, "The executable (Windows or host path)")->required();
    auto* uncheck = app.add_subcommand("uncheck", "Clear a game's check mark");
    addGame(uncheck, false);
    auto* search = app.add_subcommand("search", "Search the fixed drives for a game");
    addGame(search, false);
    auto* newRecipe = app.add_subcommand("new-recipe", "Write MODS\\_BLANK.txt and open it");
    newRecipe->add_flag("--no-editor", noEditor, "Write it only");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? 0 : 2;
    }

    // Names and texts from the terminal become program text; a host path stays as the host
    // names it.
    for (std::string* argument : {&game, &resolution, &text}) *argument = FromTerminal(*argument);
    for (std::string& section : sections) section = FromTerminal(section);
    if (!exe.empty() && exe.front() != '/') exe = FromTerminal(exe);

    std::string error;
    auto session = Session::Open(options, error);
    if (!session) {
        std::cerr << "optera-cli: " << error << '\n';
        return 2;
    }
    ConsolePrompts& prompts = session->prompts();
    prompts.policy = yes ? AnswerPolicy::Yes : no ? AnswerPolicy::No : AnswerPolicy::Ask;
    prompts.transcript = transcript;

    if (*recipes) return ListRecipes(*session, std::cout);
    if (*expand) return ExpandRecipe(*session, game, resolution, sections, std::cout, std::cerr);
    if (*show) return ShowGame(*session, game, resolution, json, std::cout, std::cerr);
    if (*path) return ExpandPath(*session, text, std::cout);

    Window window(*session);
    if (!window.Start(error)) {
        std::cerr << "optera-cli: " << error << '\n';
        return 1;
    }
    prompts.onInterrupt = [&window] {
        window.logic().scanner().Form().Find("CancelBtn")->Raise(optera::forms::event::Click);
    };
    std::signal(SIGINT, Interrupted);
    const GameChoice choice{game, resolution};
    if (*list)
        return ListGames(window,
                         all        ? std::optional(true)
                         : detected ? std::optional(false)
                                    : std::nullopt,
                         json, std::cout);
    if (*select) return SelectGameCommand(window, choice, json, std::cout, std::cerr);
    if (*details) return DetailsCommand(window, choice, std::cout, std::cerr);
    if (*howto) return HowToText(window, game, std::cout, std::cerr);
    if (*resolutions) return ResolutionsCommand(window, game, json, std::cout, std::cerr);
    if (*optimize) return OptimizeGame(window, choice, std::cout, std::cerr);
    if (*restore) return RestoreGame(window, *session, game, std::cout, std::cerr);
    if (*locate) return LocateGameCommand(window, *session, game, exe, std::cout, std::cerr);
    if (*uncheck) return UncheckGame(window, game, std::cout, std::cerr);
    if (*search) return SearchGame(window, game, std::cout, std::cerr);
    if (*newRecipe) return NewRecipe(window, *session, !noEditor, std::cout);
    return 2;
}
