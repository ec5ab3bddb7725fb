#pragma once
// The main window's logic over a fake machine, wired as the program wires it, with Optera in
// C:\Optera and every dialog closed again unanswered.

#include "mainwindow/MainWindowLogic.h"
#include "support/FakeServices.h"
#include "support/NoDialogs.h"

namespace optera::testing {

struct FakeWindow : FakeServices {
    NoDialogs dialogs;
    mainwindow::MainWindowLogic logic{
        {fake.machine(), profile, registry, prompts, regFiles, "C:\\Optera"}, gui, dialogs};
};

}  // namespace optera::testing
