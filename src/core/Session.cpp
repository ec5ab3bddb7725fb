#include "core/Session.h"

#include <system_error>

#include "core/ProgramFolder.h"
#include "platform/wine/WineMachine.h"

namespace optera::core {

namespace fs = std::filesystem;

// The machine of the platform this build is for.
struct Session::Backend {
    explicit Backend(const fs::path& prefix) : wine(prefix) {}
    platform::WineMachine wine;
};

Session::Session(std::unique_ptr<Backend> backend, std::string programFolder,
                 platform::Prompts& prompts)
    : backend_(std::move(backend)),
      profile_(backend_->wine.files()),
      programFolder_(std::move(programFolder)),
      prompts_(prompts),
      registry_(backend_->wine.registry(), prompts_, &backend_->wine.files()),
      registryFiles_(std::make_unique<optimizer::KeyStoreRegistryFiles>(backend_->wine.registry(),
                                                                        backend_->wine.files())),
      reader_({backend_->wine.machine(), profile_, registry_, programFolder_}, recipeState_) {}

Session::~Session() = default;

std::unique_ptr<Session> Session::Open(const SessionOptions& options, platform::Prompts& prompts,
                                       std::string& error) {
    std::error_code ec;
    const ProgramFolderChoice choice = ResolveProgramFolder(options.home, options.executableFolder);
    if (choice.perUser &&
        !SeedProgramFolder(choice.folder, InstalledDataCandidates(options.executableFolder), error))
        return nullptr;
    fs::path home = fs::absolute(choice.folder, ec);
    if (ec || !fs::is_directory(home, ec)) {
        error = "the program folder " + home.string() + " does not exist";
        return nullptr;
    }
    fs::path prefix =
        options.prefix.empty() ? platform::WineMachine::DefaultPrefix() : options.prefix;
    auto backend = std::make_unique<Backend>(fs::absolute(prefix, ec));
    backend->wine.shell().UseTerminal(options.terminal);
    auto folder = backend->wine.machine().files.ToWindowsPath(fs::canonical(home, ec).native());
    if (!folder) {
        error = "the program folder " + home.string() + " is on no drive of the prefix";
        return nullptr;
    }
    std::string programFolder = *folder;
    while (programFolder.size() > 3 && programFolder.back() == '\\') programFolder.pop_back();
    return std::unique_ptr<Session>(
        new Session(std::move(backend), std::move(programFolder), prompts));
}

platform::Machine Session::machine() {
    return backend_->wine.machine();
}

mainwindow::LogicServices Session::WindowServices() {
    return {machine(), profile_, registry_, prompts_, *registryFiles_, programFolder_};
}

std::string Session::HostPathOf(const std::string& windowsPath) {
    return machine().files.ToHostPath(windowsPath).value_or(std::string());
}

std::optional<std::string> Session::WindowsPathOf(const fs::path& hostPath) {
    return machine().files.ToWindowsPath(hostPath.native());
}

}  // namespace optera::core
