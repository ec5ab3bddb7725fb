#pragma once
// A game's class, worked out afresh from its record and the disk: not detected, configuration
// file missing, not optimized, optimized, or native support. The mark of an optimized game is
// the original copy of a configuration file beside it; nothing else is stored.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "recipes/GameRecord.h"
#include "windowmodel/MainWindow.h"

namespace optera::discovery {

// The words ListClass gives, one per class.
inline constexpr std::string_view kGreen = "GREEN";  // optimized
inline constexpr std::string_view kRed = "RED";      // configuration file missing
inline constexpr std::string_view kBlack = "BLACK";  // not optimized
inline constexpr std::string_view kGrey = "GREY";    // not detected
inline constexpr std::string_view kBlue = "BLUE";    // native support

// The original copy of a configuration file: its path less the last three characters, then
// "original", blanks trimmed ("C:\Game\game.cfg" -> "C:\Game\game.original"). A path too short
// to hold a file name in a folder has no copy: "".
std::string BackupPathOf(std::string_view path);

// True for a path that no file can have: characters Windows refuses in names (wildcards, <>|",
// control characters) or a colon anywhere but after the drive letter.
bool IsBadFileName(std::string_view path);

// The class word of a game, which decides whether it stands in the list of detected games.
// Entries of a pattern play no part; "" when no entry was tested.
std::string ListClass(const platform::FileSystem& files, const recipes::GameRecord& game);

// Brings line `index` (one-based) of the game list and the controls in line with the game's
// class: the line's colour, check mark and bold face, the path label's colour, the status
// label's colour and text, which buttons are enabled and shown, and whether the resolution list
// is shown. `game` must be the record of that very line.
// The status text of the first class whose skin colour is `colour`, in the order optimized,
// configuration file missing, not optimized, not detected, native support; "" for none.
std::string StatusTextOf(const mainwindow::MainWindow& gui, forms::Colour colour);

void UpdateGameStatus(mainwindow::MainWindow& gui, const platform::FileSystem& files,
                      const recipes::GameRecord& game, std::int16_t index);

}  // namespace optera::discovery
