#include "forms/Form.h"

namespace optera::forms {

Form::Form(std::string name) : Control("Form", std::move(name)) {
    SetOwner(this);
}

Control& Form::Add(std::string kind, std::string name, std::optional<int> index) {
    Control& control = controls_.emplace_back(std::move(kind), std::move(name), index);
    control.SetOwner(this);
    return control;
}

Control* Form::Find(std::string_view name, std::optional<int> index) {
    for (Control& control : controls_)
        if (text::EqualsNoCase(control.Name(), name) && control.Index() == index) return &control;
    return nullptr;
}

}  // namespace optera::forms
