#include "windowmodel/GameMessage.h"

namespace optera::mainwindow {

namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kTab = "\t";

std::string Join(std::initializer_list<std::string_view> pieces) {
    std::string joined;
    for (std::string_view piece : pieces) joined += piece;
    return joined;
}

}  // namespace

std::string GameMessage(std::int16_t number, const recipes::GameRecord& game,
                        std::string_view selectedLineText) {
    const std::string_view n = kCrLf;
    switch (number) {
        case 2:
            return Join({"This is not the correct 'exe' file for '", selectedLineText, "'. ", n,
                         "Please find the '", game.GameExe, "' file."});
        case 3:
            return Join({"A game configuration file could not be found!", n, n,
                         "If the game was just installed and has not been run, please run", n,
                         "the game once to allow the configuration file to be created ."});
        case 4:
            return Join({"Optera was unable to find the game installation location.", n, n,
                         "Would you like to find the game location yourself ?"});
        case 5:
            return Join({"A system scan failed to locate the game.", n,
                         "If you are sure its installed, please try", n,
                         "using the browse button to locate it."});
        case 7:
            return Join({"The following widescape gaming configuration files for", n, n, kTab, "'",
                         game.Name, "' ", n, n,
                         "is about to be removed and replaced with the original", n,
                         "ones. You will loose all changes made to the files.", n, n, kTab,
                         "Do you wish to do this?"});
        case 8:
            return "Unable to process this registry entry";
        case 9:
            return "This may cause your game to behave in a way different than expected.";
        case 10:
            return "Invalid Registry Entry";
        case 11:
            return Join({"The Optera's Cfg file:",
                         n,
                         n,
                         kTab,
                         game.Name,
                         ".txt",
                         n,
                         n,
                         "does not contain any 'GameLoc' nor 'UserLoc'",
                         n,
                         "location entry information, therefore the Optera",
                         n,
                         "cannot detect the game automatically.",
                         n,
                         n,
                         "It is possible that this game may not add any",
                         n,
                         "information into the windows registry. In cases",
                         n,
                         "such as these it is nesessary to do a manual",
                         n,
                         "search for the game.",
                         n,
                         n,
                         "So, if this game is installed, please use either the",
                         n,
                         n,
                         kTab,
                         "BROWSE   or   SEARCH",
                         n,
                         n,
                         "button to get the games install location.",
                         n,
                         n});
        default:
            return {};
    }
}

}  // namespace optera::mainwindow
