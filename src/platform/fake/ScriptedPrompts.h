#pragma once
// Prompts for tests: answers come from a queue, and every box shown is kept in order.

#include <deque>
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
    void RunPendingEvents() override { ++pendingEventRuns; }

    std::vector<PromptMessage> shown;
    int pendingEventRuns = 0;

  private:
    std::deque<MessageAnswer> answers_;
};

}  // namespace optera::platform
