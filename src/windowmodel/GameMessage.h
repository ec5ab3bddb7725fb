#pragma once
// The numbered message texts of the main window, joined from fixed pieces and the game in hand.

#include <cstdint>
#include <string>
#include <string_view>

#include "recipes/GameRecord.h"

namespace optera::mainwindow {

// The text of a message number; "" for a number that has none. `selectedLineText` is the text
// of the selected line of the game list.
std::string GameMessage(std::int16_t number, const recipes::GameRecord& currentGame,
                        std::string_view selectedLineText);

}  // namespace optera::mainwindow
