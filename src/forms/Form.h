#pragma once
// A form: a control of kind "Form" that holds its controls in window order. Controls stay where
// they were made, so references to them stay valid for the form's life.

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "forms/Control.h"

namespace optera::forms {

class Form : public Control {
  public:
    explicit Form(std::string name);

    // Adds a control after the others.
    Control& Add(std::string kind, std::string name, std::optional<int> index = std::nullopt);
    // The control of that name (case ignored) and array index; nullptr when there is none.
    Control* Find(std::string_view name, std::optional<int> index = std::nullopt);
    std::deque<Control>& Controls() { return controls_; }

    // Called after any property of the form or one of its controls changed, or a list's lines
    // did ("Items"), so that a view can redraw.
    std::function<void(Control& control, std::string_view property)> onChange;

    void NotifyChanged(Control& control, std::string_view property) {
        if (onChange) onChange(control, property);
    }

  private:
    std::deque<Control> controls_;
};

}  // namespace optera::forms
