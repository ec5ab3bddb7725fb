#pragma once
// What every command works on: the core's session (the machine, the program folder and the
// services) with the console's prompts.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/ConsolePrompts.h"
#include "core/Session.h"

namespace optera::cli {

using SessionOptions = core::SessionOptions;

class Session {
  public:
    // nullptr with a reason in `error` when there is no usable program folder.
    static std::unique_ptr<Session> Open(const SessionOptions& options, std::string& error);

    core::Session& core() { return *core_; }
    platform::Machine machine() { return core_->machine(); }
    services::cPrivateProfile& profile() { return core_->profile(); }
    services::cRegistry& registry() { return core_->registry(); }
    recipes::RecipeState& recipeState() { return core_->recipeState(); }
    recipes::RecipeReader& reader() { return core_->reader(); }
    ConsolePrompts& prompts() { return *prompts_; }
    const std::string& programFolder() const { return core_->programFolder(); }
    std::string modsFolder() const { return core_->modsFolder(); }
    std::string HostPathOf(const std::string& windowsPath) {
        return core_->HostPathOf(windowsPath);
    }

  private:
    Session() = default;

    std::unique_ptr<ConsolePrompts> prompts_;
    std::unique_ptr<core::Session> core_;
};

}  // namespace optera::cli
