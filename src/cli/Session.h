#pragma once
// What every command works on: the machine (a Wine prefix), the program folder with its
// Optera.ini, MODS and SKINS, and the profile service over the machine's files.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "cli/ConsolePrompts.h"
#include "platform/wine/WineMachine.h"
#include "recipes/RecipeReader.h"
#include "services/cPrivateProfile.h"
#include "services/cRegistry.h"

namespace optera::cli {

struct SessionOptions {
    std::filesystem::path home;    // empty: $OPTERA_HOME, then the executable's folder
    std::filesystem::path prefix;  // empty: $WINEPREFIX, then ~/.wine
    std::filesystem::path executableFolder;
};

class Session {
  public:
    // nullopt with a reason in `error` when there is no usable program folder.
    static std::unique_ptr<Session> Open(const SessionOptions& options, std::string& error);

    platform::Machine machine() { return wine_.machine(); }
    services::cPrivateProfile& profile() { return profile_; }
    services::cRegistry& registry() { return registry_; }
    recipes::RecipeState& recipeState() { return recipeState_; }
    recipes::RecipeReader& reader() { return reader_; }
    ConsolePrompts& prompts() { return prompts_; }
    platform::WineMachine& wine() { return wine_; }
    // The program folder as the machine names it, without a trailing backslash.
    const std::string& programFolder() const { return programFolder_; }
    std::string modsFolder() const { return programFolder_ + "\\MODS"; }
    // The host path of a Windows path, for messages.
    std::string HostPathOf(const std::string& windowsPath);

  private:
    Session(const std::filesystem::path& prefix, std::string programFolder);

    platform::WineMachine wine_;
    services::cPrivateProfile profile_;
    std::string programFolder_;
    ConsolePrompts prompts_;
    services::cRegistry registry_;
    recipes::RecipeState recipeState_;
    recipes::RecipeReader reader_;
};

// The program folder: the one given, else $OPTERA_HOME, else the executable's folder when it
// holds Optera.ini, else the per-user data folder.
std::filesystem::path ResolveHome(const SessionOptions& options);

}  // namespace optera::cli
