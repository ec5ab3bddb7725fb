#pragma once
// A modal host for tests that only need dialogs closed again: Confirm is left without an answer.

#include "mainwindow/Dialogs.h"

namespace optera::testing {

class NoDialogs : public mainwindow::ModalHost {
  public:
    void ShowModal(forms::Form& dialog) override { dialog.SetVisible(false); }
};

}  // namespace optera::testing
