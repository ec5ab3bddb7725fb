#include "platform/fake/ScriptedPrompts.h"

namespace optera::platform {

MessageAnswer ScriptedPrompts::ShowMessage(const PromptMessage& box) {
    shown.push_back(box);
    if (onMessage) onMessage(box);
    if (box.buttons == MessageButtons::Ok) return MessageAnswer::Ok;
    if (answers_.empty()) return MessageAnswer::No;
    MessageAnswer answer = answers_.front();
    answers_.pop_front();
    return answer;
}

std::optional<std::string> ScriptedPrompts::ChooseFile(const std::string&, const std::string&) {
    ++fileDialogs;
    if (files_.empty()) return std::nullopt;
    std::optional<std::string> file = std::move(files_.front());
    files_.pop_front();
    return file;
}

}  // namespace optera::platform
