#include "platform/wine/WineServerLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include "platform/wine/HostFiles.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

// Wine's servers live under /tmp whatever TMPDIR says.
const fs::path kTmp = "/tmp";

// The name of the server folder of the prefix, "server-<dev>-<inode>"; "" without a prefix.
std::string ServerFolderName(const fs::path& prefix) {
    struct stat st;
    if (::stat(prefix.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return {};
    char name[64];
    std::snprintf(name, sizeof name, "server-%llx-%llx", static_cast<unsigned long long>(st.st_dev),
                  static_cast<unsigned long long>(st.st_ino));
    return name;
}

// The folder under /tmp that the prefix's `wineserver` file names (Debian's Wine writes it
// when its server first starts); "" when there is no such file or it names no plain folder.
std::string NamedServerRoot(const fs::path& prefix) {
    auto content = ReadHostFile(prefix / "wineserver");
    if (!content || content->size() > 255) return {};
    std::string name = *content;
    while (!name.empty() && (name.back() == '\n' || name.back() == '\r' || name.back() == ' '))
        name.pop_back();
    if (name.empty() || name == "." || name == ".." ||
        name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
        return {};
    return name;
}

// The lock a wineserver takes: a write lock on the first byte.
struct flock ServerLockRange() {
    struct flock range;
    std::memset(&range, 0, sizeof range);
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = 0;
    range.l_len = 1;
    return range;
}

std::string RunningSentence(const fs::path& prefix, long pid) {
    std::string who = pid > 0 ? "(wineserver process " + std::to_string(pid) + ")"
                              : "(or another program is writing its registry)";
    return "Wine is running in this prefix " + who +
           ". Close every program of the prefix, or run `wineserver -k` with WINEPREFIX=" +
           prefix.string() + ", then try again.";
}

// Makes a folder as Wine makes its server folders, or checks that the existing one is what
// Wine accepts: a real folder of this user that nobody else may enter.
std::string MakePrivateFolder(const fs::path& folder) {
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
        return folder.string() + ": " + std::strerror(errno);
    struct stat st;
    if (::lstat(folder.c_str(), &st) != 0) return folder.string() + ": " + std::strerror(errno);
    if (!S_ISDIR(st.st_mode)) return folder.string() + " is not a folder";
    if (st.st_uid != ::getuid()) return folder.string() + " belongs to another user";
    if (st.st_mode & 077) return folder.string() + " may be entered by other users";
    return {};
}

}  // namespace

std::vector<fs::path> WineServerFolders(const fs::path& prefix) {
    const std::string name = ServerFolderName(prefix);
    if (name.empty()) return {};
    std::vector<fs::path> folders{kTmp / (".wine-" + std::to_string(::getuid())) / name};
    if (std::string root = NamedServerRoot(prefix); !root.empty())
        folders.push_back(kTmp / root / name);
    return folders;
}

WineServerState FindWineServer(const fs::path& prefix) {
    for (const fs::path& folder : WineServerFolders(prefix)) {
        const fs::path lock = folder / "lock";
        FileHandle file(::open(lock.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
        if (!file.ok()) continue;
        struct flock range = ServerLockRange();
        if (::fcntl(file.fd(), F_GETLK, &range) != 0) continue;
        // A lock of an open file (no process, l_pid -1) is another Optera writing the registry
        // for a moment: a wineserver takes the lock of its process.
        if (range.l_type != F_UNLCK && range.l_pid != -1)
            return {true, static_cast<long>(range.l_pid), lock};
    }
    return {};
}

std::string WineServerRunningReason(const fs::path& prefix) {
    WineServerState server = FindWineServer(prefix);
    return server.running ? RunningSentence(prefix, server.pid) : std::string();
}

WineServerLock::WineServerLock(const fs::path& prefix, std::chrono::milliseconds patience)
    : patience_(patience) {
    std::vector<fs::path> folders = WineServerFolders(prefix);
    if (folders.empty()) failure_ = "There is no Wine prefix at " + prefix.string() + ".";
    for (const fs::path& folder : folders)
        if (!Take(folder, prefix)) break;
    if (!held()) {
        for (int fd : fds_) ::close(fd);
        fds_.clear();
    }
}

WineServerLock::~WineServerLock() {
    for (int fd : fds_) ::close(fd);
}

bool WineServerLock::Take(const fs::path& folder, const fs::path& prefix) {
    std::string problem = MakePrivateFolder(folder.parent_path());
    if (problem.empty()) problem = MakePrivateFolder(folder);
    int fd = -1;
    if (problem.empty()) {
        const fs::path lock = folder / "lock";
        fd = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) problem = lock.string() + ": " + std::strerror(errno);
    }
    if (!problem.empty()) {
        failure_ = "Optera cannot take Wine's lock for this prefix (" + problem +
                   "), so it leaves the registry files alone.";
        return false;
    }
    fds_.push_back(fd);
    // A lock of the open file rather than of the process: closing another descriptor of the
    // same file in this process must not release it.
    const auto deadline = std::chrono::steady_clock::now() + patience_;
    for (;;) {
        struct flock range = ServerLockRange();
        int taken = ::fcntl(fd, F_OFD_SETLK, &range);
        if (taken != 0 && errno == EINVAL) taken = ::fcntl(fd, F_SETLK, &range);
        if (taken == 0) return true;
        if (errno != EAGAIN && errno != EACCES) break;
        struct flock holder = ServerLockRange();
        long pid = ::fcntl(fd, F_GETLK, &holder) == 0 ? static_cast<long>(holder.l_pid) : 0;
        if (holder.l_type == F_UNLCK) continue;  // let go of meanwhile
        if (pid != -1) {
            failure_ = RunningSentence(prefix, pid);
            return false;
        }
        // Another Optera holds it for one registry write: wait for it, a short while.
        if (std::chrono::steady_clock::now() >= deadline) {
            failure_ = "Another Optera is writing the registry of the Wine prefix " +
                       prefix.string() + ". Nothing was changed; try again when it has finished.";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    failure_ = "Optera cannot take Wine's lock for this prefix (" + folder.string() +
               "/lock: " + std::strerror(errno) + "), so it leaves the registry files alone.";
    return false;
}

}  // namespace optera::platform
