#pragma once
// Events of controls. Handlers run synchronously, in the order they were added, whether the
// logic or the view caused the event.

#include <functional>

namespace optera::forms {

class Control;

// Mouse buttons as the toolkit numbers them.
inline constexpr int kLeftButton = 1;
inline constexpr int kRightButton = 2;

struct EventArgs {
    int button = 0;             // mouse events
    int shift = 0;              // mouse and key events
    double x = 0, y = 0;        // mouse events, twips inside the control
    int keyCode = 0;            // key events
    int line = 0;               // ItemCheck, ItemClick: the line's one-based place
    Control* source = nullptr;  // DragDrop: the control dragged
};

using Handler = std::function<void(Control& sender, EventArgs& args)>;

}  // namespace optera::forms
