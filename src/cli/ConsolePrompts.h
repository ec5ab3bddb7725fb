#pragma once
// Message boxes on a terminal: each box is printed on stderr as "<title>: <text>". Questions are
// answered No until the command line learns to ask them.

#include <iosfwd>

#include "platform/Prompts.h"

namespace optera::cli {

class ConsolePrompts : public platform::Prompts {
  public:
    explicit ConsolePrompts(std::ostream& err) : err_(err) {}
    platform::MessageAnswer ShowMessage(const platform::PromptMessage& box) override;

  private:
    std::ostream& err_;
};

}  // namespace optera::cli
