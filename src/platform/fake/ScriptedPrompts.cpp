#include "platform/fake/ScriptedPrompts.h"

namespace optera::platform {

MessageAnswer ScriptedPrompts::ShowMessage(const PromptMessage& box) {
    shown.push_back(box);
    if (box.buttons == MessageButtons::Ok) return MessageAnswer::Ok;
    if (answers_.empty()) return MessageAnswer::No;
    MessageAnswer answer = answers_.front();
    answers_.pop_front();
    return answer;
}

}  // namespace optera::platform
