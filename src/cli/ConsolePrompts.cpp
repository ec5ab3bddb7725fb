#include "cli/ConsolePrompts.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <ostream>

#include "cli/TerminalText.h"

namespace optera::cli {

namespace {

using platform::MessageAnswer;

const char* IconName(platform::MessageIcon icon) {
    switch (icon) {
        case platform::MessageIcon::Critical:
            return "critical";
        case platform::MessageIcon::Exclamation:
            return "exclamation";
        case platform::MessageIcon::Question:
            return "question";
        case platform::MessageIcon::Information:
            return "information";
        default:
            return "none";
    }
}

const char* AnswerName(MessageAnswer answer) {
    switch (answer) {
        case MessageAnswer::Yes:
            return "yes";
        case MessageAnswer::No:
            return "no";
        default:
            return "ok";
    }
}

}  // namespace

std::atomic<bool> ConsolePrompts::interrupted{false};

MessageAnswer ConsolePrompts::ShowMessage(const platform::PromptMessage& box) {
    err_ << Utf8(platform::ShownTitle(box)) << ": " << Utf8(box.text) << '\n';
    MessageAnswer answer = MessageAnswer::Ok;
    if (box.buttons == platform::MessageButtons::YesNo) {
        answer = policy == AnswerPolicy::Yes  ? MessageAnswer::Yes
                 : policy == AnswerPolicy::No ? MessageAnswer::No
                                              : Ask(box);
        lastAnswer = answer;
    }
    Record(box, answer);
    return answer;
}

MessageAnswer ConsolePrompts::Ask(const platform::PromptMessage&) {
    if (!::isatty(STDIN_FILENO)) return MessageAnswer::No;
    for (;;) {
        err_ << "[y/n] " << std::flush;
        std::string line;
        if (!std::getline(std::cin, line)) return MessageAnswer::No;
        if (line == "y" || line == "Y" || line == "yes") return MessageAnswer::Yes;
        if (line == "n" || line == "N" || line == "no") return MessageAnswer::No;
    }
}

void ConsolePrompts::Record(const platform::PromptMessage& box, MessageAnswer answer) {
    if (transcript.empty()) return;
    nlohmann::ordered_json line{
        {"title", Utf8(platform::ShownTitle(box))},
        {"text", Utf8(box.text)},
        {"icon", IconName(box.icon)},
        {"buttons", box.buttons == platform::MessageButtons::YesNo ? "yesno" : "ok"},
        {"answer", AnswerName(answer)}};
    std::ofstream(transcript, std::ios::app) << line.dump() << '\n';
}

std::optional<std::string> ConsolePrompts::ChooseFile(const std::string&, const std::string&) {
    std::optional<std::string> file = std::move(chosenFile);
    chosenFile.reset();
    return file;
}

void ConsolePrompts::RunPendingEvents() {
    if (interrupted.exchange(false) && onInterrupt) onInterrupt();
}

}  // namespace optera::cli
