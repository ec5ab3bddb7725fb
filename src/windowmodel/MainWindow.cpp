#include "windowmodel/MainWindow.h"
#include "forms/Names.h"

#include <cstdlib>

namespace optera::mainwindow {

MainWindow::MainWindow() : form_("GUI") {
    forms::Control& games = form_.Add("ListView", "GameList");
    games.Set(forms::property::Checkboxes, true);
    games.Set(forms::property::ToolTipText,
              std::string("Right Click toggles between full list and detected list."));
    games.AddColumnHeader("");
    form_.Add("ListView", "ResListBox");
    form_.Add("Label", "StatusLbl").SetCaption("StatusLabel");
    form_.Add("Label", "PathLbl").SetCaption("PathLabel");
    for (int i = 0; i < button::Count; ++i) form_.Add("Image", "BtnImageBox", i);
    for (int i = 0; i < button::Count; ++i) form_.Add("Label", "BtnLabel", i);
    form_.Add("Label", "TitleLabel");
    form_.Add("Image", "DragFormBar");
    form_.Add("Image", "Logo");
    form_.Add("Image", "BackGroundImage");
    forms::Control& timer = form_.Add("Timer", "Timer1");
    timer.Set(forms::property::Interval, 50);
    for (int n = 1; n <= 4; ++n)
        form_.Add("CommandButton", "Command" + std::to_string(n)).SetVisible(false);
}

forms::Control& MainWindow::Named(std::string_view name, std::optional<int> index) {
    forms::Control* control = form_.Find(name, index);
    // Every control is made by the constructor; a miss is a programming error.
    if (!control) std::abort();
    return *control;
}

forms::Control& MainWindow::Command(int number) {
    return Named("Command" + std::to_string(number));
}

void SetButtonState(forms::Form& form, std::int32_t index, std::int32_t kind, bool value) {
    if (kind != button_state::Enabled && kind != button_state::Visible) return;
    const std::string_view property =
        kind == button_state::Enabled ? forms::property::Enabled : forms::property::Visible;
    for (const char* array : {"BtnImageBox", "BtnLabel"})
        if (forms::Control* control = form.Find(array, index)) control->Set(property, value);
}

}  // namespace optera::mainwindow
