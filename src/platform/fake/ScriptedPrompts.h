#pragma once
// Prompts for tests: answers come from a queue, and every box shown is kept in order.

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Prompts.h"

namespace optera::platform {

class ScriptedPrompts : public Prompts {
  public:
    // The answers the next questions get, in order.
    void Answer(MessageAnswer answer) { answers_.push_back(answer); }

    // An OK box is answered Ok; a question takes the next scripted answer, or No when none is
    // left (the answer that changes nothing).
    MessageAnswer ShowMessage(const PromptMessage& box) override;
    // The file the next file dialog brings back; nullopt is a cancel.
    void Choose(std::optional<std::string> file) { files_.push_back(std::move(file)); }
    // Takes the next scripted file, or cancels when none is left.
    std::optional<std::string> ChooseFile(const std::string& title,
                                          const std::string& filter) override;
    // The colour and the font the next dialogs bring back; nullopt is a cancel, and so is a
    // dialog with nothing scripted. Each dialog is kept with what it was opened on.
    void ChooseColourNext(std::optional<std::uint32_t> colour) { colours_.push_back(colour); }
    void ChooseFontNext(std::optional<FontChoice> font) { fonts_.push_back(std::move(font)); }
    std::optional<std::uint32_t> ChooseColour(std::uint32_t initial) override {
        colourDialogs.push_back(initial);
        return Next(colours_);
    }
    std::optional<FontChoice> ChooseFont(const FontChoice& initial) override {
        fontDialogs.push_back(initial);
        return Next(fonts_);
    }
    std::vector<std::uint32_t> colourDialogs;
    std::vector<FontChoice> fontDialogs;

    // Counts the runs and calls `onPendingEvents`, through which a test acts meanwhile (the
    // user pressing Cancel during a search).
    void RunPendingEvents() override {
        ++pendingEventRuns;
        if (onPendingEvents) onPendingEvents();
    }
    std::function<void()> onPendingEvents;
    // Called with every box as it is shown, through which a test looks at the machine then.
    std::function<void(const PromptMessage&)> onMessage;
    int fileDialogs = 0;

    std::vector<PromptMessage> shown;
    int pendingEventRuns = 0;

  private:
    template <typename T>
    static std::optional<T> Next(std::deque<std::optional<T>>& queue) {
        if (queue.empty()) return std::nullopt;
        std::optional<T> next = std::move(queue.front());
        queue.pop_front();
        return next;
    }

    std::deque<MessageAnswer> answers_;
    std::deque<std::optional<std::uint32_t>> colours_;
    std::deque<std::optional<FontChoice>> fonts_;
    std::deque<std::optional<std::string>> files_;
};

}  // namespace optera::platform
