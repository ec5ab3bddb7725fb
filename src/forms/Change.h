#pragma once
// What a listener of a form hears: every change of a control's properties or of a list's lines,
// once, after it happened, and nothing when a write left everything as it was. A view mirrors
// the form from these alone, reading the new value from the control it is told about.

#include <cstdint>
#include <functional>
#include <string_view>

namespace optera::forms {

class Control;

enum class ChangeKind {
    Property,          // `what` names the property
    LineInserted,      // `line` is the new line's place; the lines after it moved down one
    LineChanged,       // `what` names the field: one of line_field
    LineRemoved,       // `line` was removed; the lines after it moved up one
    LinesCleared,      // every line is gone
    SelectionChanged,  // `line` is the selected line, 0 for none
    ColumnsChanged,    // a list view's column headers
};

struct Change {
    ChangeKind kind = ChangeKind::Property;
    Control* control = nullptr;
    std::string_view what;  // valid for the call only
    int line = 0;           // one-based
};

using Listener = std::function<void(const Change&)>;
using ListenerId = std::uint64_t;

}  // namespace optera::forms
