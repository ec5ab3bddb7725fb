#pragma once
// A form: a control of kind "Form" that holds its controls in window order. Controls stay where
// they were made, so references to them stay valid for the form's life. Any number of listeners
// hear every change of the form and its controls (see Change.h), in the order they began to.

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "forms/Change.h"
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

    // A listener hears changes until it stops; one that stops while a change is told (itself or
    // another) hears no more of it.
    ListenerId Listen(Listener listener);
    void StopListening(ListenerId id);
    void Notify(const Change& change);

  private:
    std::deque<Control> controls_;
    std::vector<std::pair<ListenerId, Listener>> listeners_;
    ListenerId nextListener_ = 1;
};

// Listens to a form for its own lifetime; the form must outlive it.
class Subscription {
  public:
    Subscription() = default;
    Subscription(Form& form, Listener listener)
        : form_(&form), id_(form.Listen(std::move(listener))) {}
    Subscription(Subscription&& other) noexcept
        : form_(std::exchange(other.form_, nullptr)), id_(other.id_) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            Stop();
            form_ = std::exchange(other.form_, nullptr);
            id_ = other.id_;
        }
        return *this;
    }
    ~Subscription() { Stop(); }
    void Stop() {
        if (form_) form_->StopListening(id_);
        form_ = nullptr;
    }

  private:
    Form* form_ = nullptr;
    ListenerId id_ = 0;
};

}  // namespace optera::forms
