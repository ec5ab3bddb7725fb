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
    std::deque<MessageAnswer> answers_;
    std::deque<std::optional<std::string>> files_;
};

}  // namespace optera::platform
