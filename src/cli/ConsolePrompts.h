#pragma once
// Message boxes on a terminal. Every box is printed on stderr as "<title>: <text>" and, with a
// transcript file, appended to it as one JSON object a line. A question takes the answer the
// command line gave (--yes, --no); without one it is asked on the terminal, and with no
// terminal the answer is No. The file dialog answers with the file the command names; Ctrl-C
// during a long walk is the Cancel button.

#include <atomic>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

#include "platform/Prompts.h"

namespace optera::cli {

enum class AnswerPolicy { Ask, Yes, No };

class ConsolePrompts : public platform::Prompts {
  public:
    explicit ConsolePrompts(std::ostream& err) : err_(err) {}

    AnswerPolicy policy = AnswerPolicy::Ask;
    std::filesystem::path transcript;  // empty: none
    // What the next file dialog brings back (the Browse command's file); nullopt cancels.
    std::optional<std::string> chosenFile;
    // The answer to the last question asked.
    std::optional<platform::MessageAnswer> lastAnswer;
    // Run when the user interrupts (Ctrl-C) a long walk.
    std::function<void()> onInterrupt;

    platform::MessageAnswer ShowMessage(const platform::PromptMessage& box) override;
    std::optional<std::string> ChooseFile(const std::string& title,
                                          const std::string& filter) override;
    void RunPendingEvents() override;

    // Set from the SIGINT handler.
    static std::atomic<bool> interrupted;

  private:
    platform::MessageAnswer Ask(const platform::PromptMessage& box);
    void Record(const platform::PromptMessage& box, platform::MessageAnswer answer);

    std::ostream& err_;
};

}  // namespace optera::cli
