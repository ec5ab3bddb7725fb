#include "platform/wine/WineMachine.h"

namespace optera::platform {

namespace fs = std::filesystem;

WineMachine::WineMachine(fs::path prefix)
    : WineMachine(std::move(prefix), ProcessEnvironment(),
                  UserSettingsFile::DefaultPath(ProcessEnvironment())) {}

WineMachine::WineMachine(fs::path prefix, const EnvironmentVariables& host, fs::path settingsFile)
    : files_(std::move(prefix)),
      registry_(files_.prefix()),
      environment_(files_.prefix(), host, &registry_),
      specialFolders_(environment_, &registry_),
      userSettings_(std::move(settingsFile)),
      shortcuts_(files_, host),
      display_(host),
      shell_(files_, host),
      changeLock_(files_.prefix(), PrefixChangeLock::PatienceFrom(host)),
      look_(registry_),
      instance_(HostSingleInstance::DefaultLockFile(host)) {}

fs::path WineMachine::DefaultPrefix(const EnvironmentVariables& host) {
    auto prefix = host.find("WINEPREFIX");
    if (prefix != host.end() && !prefix->second.empty()) return prefix->second;
    return HostHomeFolder(host) / ".wine";
}

}  // namespace optera::platform
