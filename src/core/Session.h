#pragma once
// The composition root: the machine Optera works on (a Wine prefix here; the backend is chosen
// by the build), the program folder, and the services every front end shares, built once. The
// command line and the window program open one each and differ only in their prompts and view.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "mainwindow/MainWindowLogic.h"
#include "optimizer/RegistryFiles.h"
#include "platform/Machine.h"
#include "platform/Prompts.h"
#include "recipes/RecipeReader.h"
#include "services/cPrivateProfile.h"
#include "services/cRegistry.h"

namespace optera::core {

struct SessionOptions {
    std::filesystem::path home;    // empty: $OPTERA_HOME, the executable's folder, per-user data
    std::filesystem::path prefix;  // empty: $WINEPREFIX, then ~/.wine
    std::filesystem::path executableFolder;
    // The front end runs on a terminal the user types at: the user's editor opens there.
    bool terminal = false;
};

class Session {
  public:
    // nullptr with the reason in `error` when there is no usable program folder. A per-user
    // program folder that does not exist yet is made from the installed data.
    static std::unique_ptr<Session> Open(const SessionOptions& options, platform::Prompts& prompts,
                                         std::string& error);
    ~Session();

    platform::Machine machine();
    services::cPrivateProfile& profile() { return profile_; }
    services::cRegistry& registry() { return registry_; }
    optimizer::RegistryFiles& registryFiles() { return *registryFiles_; }
    recipes::RecipeState& recipeState() { return recipeState_; }
    recipes::RecipeReader& reader() { return reader_; }
    platform::Prompts& prompts() { return prompts_; }
    // What the main window's logic works with.
    mainwindow::LogicServices WindowServices();

    // The program folder as the machine names it, without a trailing backslash.
    const std::string& programFolder() const { return programFolder_; }
    std::string modsFolder() const { return programFolder_ + "\\MODS"; }
    // A Windows path as the host names it, for messages; empty when it is on no drive.
    std::string HostPathOf(const std::string& windowsPath);
    // A host path as the machine names it; nullopt when it is on no drive of the machine.
    std::optional<std::string> WindowsPathOf(const std::filesystem::path& hostPath);

  private:
    struct Backend;
    Session(std::unique_ptr<Backend> backend, std::string programFolder,
            platform::Prompts& prompts);

    std::unique_ptr<Backend> backend_;
    services::cPrivateProfile profile_;
    std::string programFolder_;
    platform::Prompts& prompts_;
    services::cRegistry registry_;
    std::unique_ptr<optimizer::RegistryFiles> registryFiles_;
    recipes::RecipeState recipeState_;
    recipes::RecipeReader reader_;
};

}  // namespace optera::core
