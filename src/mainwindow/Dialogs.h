#pragma once
// The two dialogs of the main window as form models: Confirm, which asks before a game's files
// are changed and lays itself out from the lengths of the recipe's texts, and ModifcationInfo,
// one text box for the report of what an optimization will do, a game's How-To text, or the
// note on a game with native support.

#include <string>
#include <vector>

#include "forms/Form.h"
#include "recipes/GameRecord.h"

namespace optera::mainwindow {

// Shows a dialog modally: returns when the dialog has hidden itself (a view waits for the user;
// the command line and tests answer for them through the dialog's own buttons).
class ModalHost {
  public:
    virtual ~ModalHost() = default;
    virtual void ShowModal(forms::Form& dialog) = 0;
};

// The confirmation dialog. Its buttons' Click handlers set or clear `proceed` and hide it;
// DETAILS shows the report over it.
class ConfirmDialog {
  public:
    ConfirmDialog();
    forms::Form& Form() { return form_; }
    forms::Control& Label1() { return *form_.Find("Label1"); }
    forms::Control& Label2(int index) { return *form_.Find("Label2", index); }
    forms::Control& Text1() { return *form_.Find("Text1"); }
    forms::Control& YesButton() { return *form_.Find("YesButton"); }
    forms::Control& NoButton() { return *form_.Find("NoButton"); }
    forms::Control& DetailButton() { return *form_.Find("DetailButton"); }

  private:
    forms::Form form_;
};

// Fills and lays out Confirm for the game, the dialog standing at `left` and `top` (twips).
void PrepareConfirm(ConfirmDialog& dialog, const recipes::GameRecord& game, double left,
                    double top);
// The caption Confirm takes when it shows: "Proceed with  3840 x 1024  optimizations?".
std::string ConfirmCaption(std::int16_t width, std::int16_t height);

// What ModifcationInfo shows: "Modify", "HowTo" or "Native".
struct Report {
    std::string caption;
    std::string text;
};
// The caption and text for a mode; nullopt for a mode that is none of the three (the form then
// keeps what it had).
std::optional<Report> BuildReport(std::string_view mode, const recipes::GameRecord& game,
                                  const std::vector<std::string>& nativeMessages);

// The report window: a multi-line text box, filled by BuildReport each time it loads.
class ReportDialog {
  public:
    ReportDialog();
    forms::Form& Form() { return form_; }
    forms::Control& Text1() { return *form_.Find("Text1"); }
    // Sets the caption and text for the mode, as the window does when it loads.
    void Load(std::string_view mode, const recipes::GameRecord& game,
              const std::vector<std::string>& nativeMessages);

  private:
    forms::Form form_;
};

}  // namespace optera::mainwindow
