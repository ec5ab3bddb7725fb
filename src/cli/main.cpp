// optera-cli: Optera's work from a terminal, on a Wine prefix.
#include <CLI/CLI.hpp>

#include <iostream>

#include "cli/Commands.h"

namespace {

std::filesystem::path ExecutableFolder(const char* argv0) {
    std::error_code ec;
    auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) self = std::filesystem::absolute(argv0, ec);
    return self.parent_path();
}

}  // namespace

int main(int argc, char** argv) {
    using namespace optera::cli;
    CLI::App app{"Optera: wide-screen settings for games in a Wine prefix", "optera-cli"};
    app.require_subcommand(1);
    SessionOptions options;
    options.executableFolder = ExecutableFolder(argv[0]);
    app.add_option("--home", options.home, "Program folder (Optera.ini, MODS, SKINS)");
    app.add_option("--prefix", options.prefix, "Wine prefix (default $WINEPREFIX, then ~/.wine)");

    auto* recipes = app.add_subcommand("recipes", "List the games that have recipes");

    std::string game, resolution, text;
    std::vector<std::string> sections;
    auto* expand = app.add_subcommand("expand", "Show a recipe's lines expanded for a resolution");
    expand->add_option("GAME", game, "Recipe name")->required();
    expand->add_option("--resolution", resolution, "Resolution as WIDTHxHEIGHT")->required();
    expand->add_option("SECTION", sections, "Sections to show (default: all with keywords)");

    bool json = false;
    auto* show = app.add_subcommand("show", "Show a game's record on this machine");
    show->add_option("GAME", game, "Recipe name")->required();
    show->add_option("--resolution", resolution, "Resolution as WIDTHxHEIGHT (default: RES)");
    show->add_flag("--json", json, "Write the record as JSON");

    auto* path = app.add_subcommand("path", "Expand %name% forms on this machine");
    path->add_option("TEXT", text, "Text with %name% forms")->required();

    CLI11_PARSE(app, argc, argv);

    std::string error;
    auto session = Session::Open(options, error);
    if (!session) {
        std::cerr << "optera-cli: " << error << '\n';
        return 1;
    }
    if (*recipes) return ListRecipes(*session, std::cout);
    if (*expand) return ExpandRecipe(*session, game, resolution, sections, std::cout, std::cerr);
    if (*show) return ShowGame(*session, game, resolution, json, std::cout, std::cerr);
    if (*path) return ExpandPath(*session, text, std::cout);
    return 2;
}
