#include "platform/wine/HostSingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace optera::platform {

HostSingleInstance::~HostSingleInstance() {
    if (fd_ >= 0) ::close(fd_);
}

std::filesystem::path HostSingleInstance::DefaultLockFile(const EnvironmentVariables& host) {
    auto runtime = host.find("XDG_RUNTIME_DIR");
    if (runtime != host.end() && !runtime->second.empty())
        return std::filesystem::path(runtime->second) / "optera.lock";
    return std::filesystem::path("/tmp") / ("optera-" + std::to_string(::getuid()) + ".lock");
}

bool HostSingleInstance::AnotherIsRunning() {
    if (fd_ >= 0) return false;  // this process holds the place
    const int fd = ::open(lockFile_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    // A lock file that cannot be opened (a link planted in /tmp, a full disk) cannot say that
    // another runs; Optera starts rather than refusing for it.
    if (fd < 0) return false;
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
        fd_ = fd;
        return false;
    }
    const bool held = errno == EWOULDBLOCK;
    ::close(fd);
    return held;
}

}  // namespace optera::platform
