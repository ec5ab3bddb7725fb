#pragma once
// One Optera per user on Linux: the running one holds a lock on a file in the user's runtime
// folder ($XDG_RUNTIME_DIR/optera.lock, else /tmp/optera-<uid>.lock) for as long as it lives;
// the kernel lets it go when the process ends, however it ends.

#include <filesystem>

#include "platform/SingleInstance.h"
#include "platform/wine/WineEnvironment.h"

namespace optera::platform {

class HostSingleInstance : public SingleInstance {
  public:
    explicit HostSingleInstance(std::filesystem::path lockFile) : lockFile_(std::move(lockFile)) {}
    ~HostSingleInstance() override;
    HostSingleInstance(const HostSingleInstance&) = delete;
    HostSingleInstance& operator=(const HostSingleInstance&) = delete;

    static std::filesystem::path DefaultLockFile(const EnvironmentVariables& host);

    bool AnotherIsRunning() override;

  private:
    std::filesystem::path lockFile_;
    int fd_ = -1;
};

}  // namespace optera::platform
