#pragma once
// The main window's load on the model, shared by the front ends: the skin's game-state colours,
// the settings of Optera.ini, then the resolution list and the game list.

#include <string>

#include "core/Session.h"
#include "mainwindow/MainWindowLogic.h"

namespace optera::core {

// False, with the reason, when Optera.ini names no skin that exists.
bool StartMainWindow(Session& session, mainwindow::MainWindowLogic& logic, std::string& error);

}  // namespace optera::core
