// A library preloaded into optera-cli (LD_PRELOAD) that sees every libc call the program makes to
// change files below one folder, and can stop the process or fill the disk at any of them.
//
//   OPTERA_FAULT_ROOT=<folder>   only calls on paths below this folder count (required)
//   OPTERA_FAULT_COUNT=<file>    "<calls> <space calls>\n", rewritten at every counted call
//   OPTERA_FAULT_LOG=<file>      one line per counted call: number, call, path(s)
//   OPTERA_FAULT_KILL_AT=N       SIGKILL just before the Nth counted call
//   OPTERA_FAULT_ENOSPC_AT=N     the Nth call that needs disk space and every later one fail
//                                with ENOSPC, as on a disk that has just become full
//   OPTERA_FAULT_NO_SYNC=1       syncs below the root are counted but not made: a killed process
//                                loses nothing that a sync would keep, and they are slow
//
// Counted calls: opens that may write or create, writes, syncs, truncations, renames, removals,
// new folders and links, changes of mode and owner. A call on a descriptor counts when the
// descriptor was opened below the root (by name, or by a name relative to a folder that was).
// Reads never count. Calls "that need space" are those that a full disk makes fail: writes,
// the creation of a new file, folder or link, and a rename to a name not yet there.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

namespace {

constexpr int kMostFds = 65536;

struct Settings {
    bool ready = false;
    std::string root;  // canonical, without a trailing slash
    std::string countFile;
    std::string logFile;
    long killAt = 0;
    long spaceAt = 0;
    bool noSync = false;
};

Settings& Config();

std::atomic<long> calls{0};
std::atomic<long> spaceCalls{0};
std::atomic<bool> tracked[kMostFds];
thread_local bool inside = false;  // a call made by this library itself

template <typename F>
F Real(const char* name) {
    return reinterpret_cast<F>(::dlsym(RTLD_NEXT, name));
}

// The C library's own function of a name, looked up once where it is used.
#define NEXT(name)                                               \
    ([] {                                                        \
        static const auto next = Real<decltype(&::name)>(#name); \
        return next;                                             \
    }())

using OpenFn = int (*)(const char*, int, ...);
using OpenAtFn = int (*)(int, const char*, int, ...);
using WriteFn = ssize_t (*)(int, const void*, size_t);
using CloseFn = int (*)(int);

// Collapses ".", ".." and repeated slashes without touching the disk: the name decides whether a
// call is below the root, as a link inside the root still names a place inside it.
std::string Normal(const std::string& path) {
    std::string out;
    std::size_t at = 0;
    while (at <= path.size()) {
        std::size_t next = path.find('/', at);
        if (next == std::string::npos) next = path.size();
        std::string part = path.substr(at, next - at);
        if (part == "..") {
            std::size_t cut = out.rfind('/');
            out.erase(cut == std::string::npos ? 0 : cut);
        } else if (!part.empty() && part != ".") {
            out += '/';
            out += part;
        }
        at = next + 1;
    }
    return out.empty() ? "/" : out;
}

std::string FolderOfFd(int fd) {
    char link[64];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    char target[4096];
    ssize_t got = ::readlink(link, target, sizeof target - 1);
    return got > 0 ? std::string(target, static_cast<std::size_t>(got)) : std::string();
}

std::string Absolute(int dirfd, const char* path) {
    if (!path) return {};
    if (path[0] == '/') return Normal(path);
    std::string base;
    if (dirfd == AT_FDCWD) {
        char cwd[4096];
        if (::getcwd(cwd, sizeof cwd)) base = cwd;
    } else {
        base = FolderOfFd(dirfd);
    }
    if (base.empty()) return {};
    return Normal(base + "/" + path);
}

bool Below(const std::string& absolute) {
    const Settings& s = Config();
    if (!s.ready || absolute.empty()) return false;
    return absolute == s.root ||
           (absolute.size() > s.root.size() && absolute.compare(0, s.root.size(), s.root) == 0 &&
            absolute[s.root.size()] == '/');
}

bool BelowAt(int dirfd, const char* path) {
    return Config().ready && !inside && Below(Absolute(dirfd, path));
}

bool Tracked(int fd) {
    return !inside && fd >= 0 && fd < kMostFds && tracked[fd].load();
}

void Track(int fd, bool on) {
    if (fd >= 0 && fd < kMostFds) tracked[fd].store(on);
}

void WriteWhole(const std::string& file, const std::string& text, int flags) {
    static auto realOpen = Real<OpenFn>("open");
    static auto realWrite = Real<WriteFn>("write");
    static auto realClose = Real<CloseFn>("close");
    int fd = realOpen(file.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return;
    (void)!realWrite(fd, text.data(), text.size());
    realClose(fd);
}

// Counts a call, records it, and dies here when this is the call to die before. Returns false
// when the call must fail with ENOSPC instead of being made.
bool Count(const char* call, const std::string& what, bool needsSpace) {
    const Settings& s = Config();
    inside = true;
    const long number = ++calls;
    const long space = needsSpace ? ++spaceCalls : spaceCalls.load();
    if (!s.countFile.empty())
        WriteWhole(s.countFile, std::to_string(number) + " " + std::to_string(space) + "\n",
                   O_TRUNC);
    if (!s.logFile.empty())
        WriteWhole(s.logFile,
                   std::to_string(number) + (needsSpace ? " +" : "  ") + call + " " + what + "\n",
                   O_APPEND);
    if (s.killAt > 0 && number == s.killAt) ::kill(::getpid(), SIGKILL);
    inside = false;
    return !(needsSpace && s.spaceAt > 0 && space >= s.spaceAt);
}

std::string FdName(int fd) {
    return "fd " + std::to_string(fd) + " " + FolderOfFd(fd);
}

bool Exists(int dirfd, const char* path) {
    struct stat st;
    return ::fstatat(dirfd, path, &st, AT_SYMLINK_NOFOLLOW) == 0;
}

int NoSpace() {
    errno = ENOSPC;
    return -1;
}

bool OpensForChange(int flags) {
    return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
}

bool TakesMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

// The common part of every open: counts it when it may change the file, fails it on a full
// disk when it would create one, and remembers descriptors opened below the root.
template <typename Open>
int OpenCounted(const char* call, int dirfd, const char* path, int flags, Open open) {
    const bool below = BelowAt(dirfd, path);
    if (below && OpensForChange(flags)) {
        const bool creates = (flags & O_CREAT) != 0 && !Exists(dirfd, path);
        if (!Count(call, Absolute(dirfd, path), creates)) return NoSpace();
    }
    const int fd = open();
    if (fd >= 0) Track(fd, below);
    return fd;
}

template <typename Write>
ssize_t WriteCounted(const char* call, int fd, std::size_t size, Write write) {
    if (Tracked(fd) && !Count(call, FdName(fd), size > 0)) return NoSpace();
    return write();
}

template <typename Change>
int FdChange(const char* call, int fd, Change change) {
    if (Tracked(fd)) Count(call, FdName(fd), false);
    return change();
}

template <typename Change>
int PathChange(const char* call, int dirfd, const char* path, bool needsSpace, Change change) {
    if (BelowAt(dirfd, path) && !Count(call, Absolute(dirfd, path), needsSpace)) return NoSpace();
    return change();
}

int RenameCounted(const char* call, int fromFd, const char* from, int toFd, const char* to,
                  auto rename) {
    if (BelowAt(fromFd, from) || BelowAt(toFd, to)) {
        const bool newName = !Exists(toFd, to);
        if (!Count(call, Absolute(fromFd, from) + " -> " + Absolute(toFd, to), newName))
            return NoSpace();
    }
    return rename();
}

Settings& Config() {
    static Settings settings = [] {
        Settings s;
        const char* root = ::getenv("OPTERA_FAULT_ROOT");
        if (!root || !*root) return s;
        char canonical[PATH_MAX];
        s.root = ::realpath(root, canonical) ? canonical : Normal(root);
        if (s.root.size() > 1 && s.root.back() == '/') s.root.pop_back();
        if (const char* v = ::getenv("OPTERA_FAULT_COUNT")) s.countFile = v;
        if (const char* v = ::getenv("OPTERA_FAULT_LOG")) s.logFile = v;
        if (const char* v = ::getenv("OPTERA_FAULT_KILL_AT")) s.killAt = ::atol(v);
        if (const char* v = ::getenv("OPTERA_FAULT_ENOSPC_AT")) s.spaceAt = ::atol(v);
        if (const char* v = ::getenv("OPTERA_FAULT_NO_SYNC")) s.noSync = *v == '1';
        s.ready = true;
        return s;
    }();
    return settings;
}

mode_t ModeArgument(int flags, va_list args) {
    return TakesMode(flags) ? static_cast<mode_t>(va_arg(args, int)) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = ModeArgument(flags, args);
    va_end(args);
    return OpenCounted("open", AT_FDCWD, path, flags,
                       [&] { return NEXT(open)(path, flags, mode); });
}

int open64(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = ModeArgument(flags, args);
    va_end(args);
    return OpenCounted("open", AT_FDCWD, path, flags,
                       [&] { return NEXT(open64)(path, flags, mode); });
}

int __open_2(const char* path, int flags) {
    static auto real = Real<int (*)(const char*, int)>("__open_2");
    return OpenCounted("open", AT_FDCWD, path, flags, [&] { return real(path, flags); });
}

int openat(int dirfd, const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = ModeArgument(flags, args);
    va_end(args);
    return OpenCounted("openat", dirfd, path, flags,
                       [&] { return NEXT(openat)(dirfd, path, flags, mode); });
}

int openat64(int dirfd, const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = ModeArgument(flags, args);
    va_end(args);
    return OpenCounted("openat", dirfd, path, flags,
                       [&] { return NEXT(openat64)(dirfd, path, flags, mode); });
}

int __openat_2(int dirfd, const char* path, int flags) {
    static auto real = Real<int (*)(int, const char*, int)>("__openat_2");
    return OpenCounted("openat", dirfd, path, flags, [&] { return real(dirfd, path, flags); });
}

int creat(const char* path, mode_t mode) {
    return OpenCounted("creat", AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC,
                       [&] { return NEXT(creat)(path, mode); });
}

int creat64(const char* path, mode_t mode) {
    return OpenCounted("creat", AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC,
                       [&] { return NEXT(creat64)(path, mode); });
}

// mkstemp opens inside libc, where the open above does not see it.
int mkostemp(char* pattern, int flags) {
    const bool below = BelowAt(AT_FDCWD, pattern);
    if (below && !Count("mkostemp", Absolute(AT_FDCWD, pattern), true)) return NoSpace();
    const int fd = NEXT(mkostemp)(pattern, flags);
    if (fd >= 0) Track(fd, below);
    return fd;
}

int mkstemp(char* pattern) {
    return mkostemp(pattern, 0);
}

FILE* fopen(const char* path, const char* mode) {
    const bool changes = mode && (strchr(mode, 'w') || strchr(mode, 'a') || strchr(mode, '+'));
    const bool below = BelowAt(AT_FDCWD, path);
    if (below && changes && !Count("fopen", Absolute(AT_FDCWD, path), !Exists(AT_FDCWD, path))) {
        errno = ENOSPC;
        return nullptr;
    }
    FILE* file = NEXT(fopen)(path, mode);
    if (file) Track(fileno(file), below);
    return file;
}

FILE* fopen64(const char* path, const char* mode) {
    return fopen(path, mode);
}

int close(int fd) {
    Track(fd, false);
    return NEXT(close)(fd);
}

ssize_t write(int fd, const void* buffer, size_t size) {
    return WriteCounted("write", fd, size, [&] { return NEXT(write)(fd, buffer, size); });
}

ssize_t pwrite(int fd, const void* buffer, size_t size, off_t offset) {
    return WriteCounted("pwrite", fd, size, [&] { return NEXT(pwrite)(fd, buffer, size, offset); });
}

ssize_t pwrite64(int fd, const void* buffer, size_t size, off_t offset) {
    return WriteCounted("pwrite", fd, size,
                        [&] { return NEXT(pwrite64)(fd, buffer, size, offset); });
}

ssize_t writev(int fd, const struct iovec* parts, int count) {
    std::size_t size = 0;
    for (int i = 0; i < count; ++i) size += parts[i].iov_len;
    return WriteCounted("writev", fd, size, [&] { return NEXT(writev)(fd, parts, count); });
}

ssize_t sendfile(int to, int from, off_t* offset, size_t size) {
    return WriteCounted("sendfile", to, size,
                        [&] { return NEXT(sendfile)(to, from, offset, size); });
}

ssize_t copy_file_range(int from, off_t* fromOffset, int to, off_t* toOffset, size_t size,
                        unsigned int flags) {
    return WriteCounted("copy_file_range", to, size, [&] {
        return NEXT(copy_file_range)(from, fromOffset, to, toOffset, size, flags);
    });
}

int fsync(int fd) {
    const bool skip = Tracked(fd) && Config().noSync;
    return FdChange("fsync", fd, [&] { return skip ? 0 : NEXT(fsync)(fd); });
}

int fdatasync(int fd) {
    const bool skip = Tracked(fd) && Config().noSync;
    return FdChange("fdatasync", fd, [&] { return skip ? 0 : NEXT(fdatasync)(fd); });
}

int ftruncate(int fd, off_t length) {
    return FdChange("ftruncate", fd, [&] { return NEXT(ftruncate)(fd, length); });
}

int ftruncate64(int fd, off_t length) {
    return FdChange("ftruncate", fd, [&] { return NEXT(ftruncate64)(fd, length); });
}

int fallocate(int fd, int mode, off_t offset, off_t length) {
    if (Tracked(fd) && !Count("fallocate", FdName(fd), true)) return NoSpace();
    return NEXT(fallocate)(fd, mode, offset, length);
}

int fchmod(int fd, mode_t mode) {
    return FdChange("fchmod", fd, [&] { return NEXT(fchmod)(fd, mode); });
}

int fchown(int fd, uid_t uid, gid_t gid) {
    return FdChange("fchown", fd, [&] { return NEXT(fchown)(fd, uid, gid); });
}

int chmod(const char* path, mode_t mode) {
    return PathChange("chmod", AT_FDCWD, path, false, [&] { return NEXT(chmod)(path, mode); });
}

int fchmodat(int dirfd, const char* path, mode_t mode, int flags) {
    return PathChange("fchmodat", dirfd, path, false,
                      [&] { return NEXT(fchmodat)(dirfd, path, mode, flags); });
}

int chown(const char* path, uid_t uid, gid_t gid) {
    return PathChange("chown", AT_FDCWD, path, false, [&] { return NEXT(chown)(path, uid, gid); });
}

int lchown(const char* path, uid_t uid, gid_t gid) {
    return PathChange("lchown", AT_FDCWD, path, false,
                      [&] { return NEXT(lchown)(path, uid, gid); });
}

int fchownat(int dirfd, const char* path, uid_t uid, gid_t gid, int flags) {
    return PathChange("fchownat", dirfd, path, false,
                      [&] { return NEXT(fchownat)(dirfd, path, uid, gid, flags); });
}

int truncate(const char* path, off_t length) {
    return PathChange("truncate", AT_FDCWD, path, false,
                      [&] { return NEXT(truncate)(path, length); });
}

int rename(const char* from, const char* to) {
    return RenameCounted("rename", AT_FDCWD, from, AT_FDCWD, to,
                         [&] { return NEXT(rename)(from, to); });
}

int renameat(int fromFd, const char* from, int toFd, const char* to) {
    return RenameCounted("renameat", fromFd, from, toFd, to,
                         [&] { return NEXT(renameat)(fromFd, from, toFd, to); });
}

int renameat2(int fromFd, const char* from, int toFd, const char* to, unsigned int flags) {
    return RenameCounted("renameat2", fromFd, from, toFd, to,
                         [&] { return NEXT(renameat2)(fromFd, from, toFd, to, flags); });
}

int unlink(const char* path) {
    return PathChange("unlink", AT_FDCWD, path, false, [&] { return NEXT(unlink)(path); });
}

int unlinkat(int dirfd, const char* path, int flags) {
    return PathChange("unlinkat", dirfd, path, false,
                      [&] { return NEXT(unlinkat)(dirfd, path, flags); });
}

// remove() unlinks inside libc, where unlink above does not see it.
int remove(const char* path) {
    return PathChange("remove", AT_FDCWD, path, false, [&] { return NEXT(remove)(path); });
}

int rmdir(const char* path) {
    return PathChange("rmdir", AT_FDCWD, path, false, [&] { return NEXT(rmdir)(path); });
}

int mkdir(const char* path, mode_t mode) {
    return PathChange("mkdir", AT_FDCWD, path, !Exists(AT_FDCWD, path),
                      [&] { return NEXT(mkdir)(path, mode); });
}

int mkdirat(int dirfd, const char* path, mode_t mode) {
    return PathChange("mkdirat", dirfd, path, !Exists(dirfd, path),
                      [&] { return NEXT(mkdirat)(dirfd, path, mode); });
}

int link(const char* from, const char* to) {
    return PathChange("link", AT_FDCWD, to, true, [&] { return NEXT(link)(from, to); });
}

int linkat(int fromFd, const char* from, int toFd, const char* to, int flags) {
    return PathChange("linkat", toFd, to, true,
                      [&] { return NEXT(linkat)(fromFd, from, toFd, to, flags); });
}

int symlink(const char* target, const char* path) {
    return PathChange("symlink", AT_FDCWD, path, true, [&] { return NEXT(symlink)(target, path); });
}

int symlinkat(const char* target, int dirfd, const char* path) {
    return PathChange("symlinkat", dirfd, path, true,
                      [&] { return NEXT(symlinkat)(target, dirfd, path); });
}

}  // extern "C"
