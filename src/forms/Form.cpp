#include "forms/Form.h"

#include <algorithm>

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
        if (control.Index() == index && text::EqualsNoCase(control.Name(), name)) return &control;
    return nullptr;
}

ListenerId Form::Listen(Listener listener) {
    listeners_.emplace_back(nextListener_, std::move(listener));
    return nextListener_++;
}

void Form::StopListening(ListenerId id) {
    std::erase_if(listeners_, [id](const auto& entry) { return entry.first == id; });
}

void Form::Notify(const Change& change) {
    // A listener may begin or stop listening while it hears: tell the ones there were, each
    // only while it still listens.
    std::vector<ListenerId> ids;
    for (const auto& entry : listeners_) ids.push_back(entry.first);
    for (ListenerId id : ids) {
        auto it = std::find_if(listeners_.begin(), listeners_.end(),
                               [id](const auto& entry) { return entry.first == id; });
        if (it == listeners_.end()) continue;
        Listener listener = it->second;  // the entry may go while it runs
        listener(change);
    }
}

}  // namespace optera::forms
