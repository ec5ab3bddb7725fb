#include "cli/ConsolePrompts.h"

#include <ostream>

namespace optera::cli {

platform::MessageAnswer ConsolePrompts::ShowMessage(const platform::PromptMessage& box) {
    err_ << platform::ShownTitle(box) << ": " << box.text << '\n';
    return box.buttons == platform::MessageButtons::YesNo ? platform::MessageAnswer::No
                                                          : platform::MessageAnswer::Ok;
}

}  // namespace optera::cli
