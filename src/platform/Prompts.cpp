#include "platform/Prompts.h"

namespace optera::platform {

std::string ShownTitle(const PromptMessage& box) {
    return box.title.empty() ? "Optera" : box.title;
}

}  // namespace optera::platform
