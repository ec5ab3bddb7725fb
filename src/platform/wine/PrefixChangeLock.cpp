#include "platform/wine/PrefixChangeLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <thread>

namespace optera::platform {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kDefaultPatience{5000};
constexpr milliseconds kRetryEvery{20};

// Opens (or creates) a lock file without following a link at its name and without blocking on
// anything planted there; only a plain file will do. Read access suffices for flock, so a file
// another user created (mode 0644) serves as well.
int OpenPlainFile(const fs::path& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644);
    if (fd < 0) return -1;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        errno = EINVAL;
        return -1;
    }
    return fd;
}

}  // namespace

PrefixChangeLock::PrefixChangeLock(fs::path prefix, milliseconds patience)
    : prefix_(std::move(prefix)), patience_(patience) {}

PrefixChangeLock::~PrefixChangeLock() {
    if (fd_ >= 0) ::close(fd_);
}

milliseconds PrefixChangeLock::PatienceFrom(const EnvironmentVariables& host) {
    auto found = host.find("OPTERA_LOCK_WAIT_MS");
    if (found == host.end()) return kDefaultPatience;
    const std::string& text = found->second;
    long value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0)
        return kDefaultPatience;
    return milliseconds(value);
}

int PrefixChangeLock::OpenLockFile(std::string& problem) const {
    int fd = OpenPlainFile(prefix_ / ".optera.lock");
    if (fd >= 0) return fd;
    const fs::path fallback = "/tmp/.optera-" + std::to_string(::getuid()) + ".lock";
    fd = OpenPlainFile(fallback);
    if (fd < 0) problem = fallback.string() + ": " + std::strerror(errno);
    return fd;
}

std::string PrefixChangeLock::Acquire() {
    if (depth_ > 0) {
        ++depth_;
        return {};
    }
    std::string problem;
    const int fd = OpenLockFile(problem);
    if (fd < 0)
        return "Optera cannot take its lock for the Wine prefix " + prefix_.string() + " (" +
               problem + "). Nothing was changed.";
    const auto deadline = std::chrono::steady_clock::now() + patience_;
    for (;;) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            fd_ = fd;
            depth_ = 1;
            return {};
        }
        const int error = errno;
        if ((error != EWOULDBLOCK && error != EINTR) ||
            std::chrono::steady_clock::now() >= deadline) {
            ::close(fd);
            if (error != EWOULDBLOCK && error != EINTR)
                return "Optera cannot take its lock for the Wine prefix " + prefix_.string() +
                       " (" + std::strerror(error) + "). Nothing was changed.";
            return "Another Optera is busy changing the Wine prefix " + prefix_.string() +
                   ". Nothing was changed; try again when it has finished.";
        }
        std::this_thread::sleep_for(kRetryEvery);
    }
}

void PrefixChangeLock::Release() {
    if (depth_ == 0 || --depth_ > 0) return;
    ::close(fd_);
    fd_ = -1;
}

}  // namespace optera::platform
