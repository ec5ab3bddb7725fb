#include "platform/wine/HostReplace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "platform/wine/HostFiles.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

constexpr int kMostHops = 40;  // as many links as the kernel follows in one path
constexpr int kTempAttempts = 3;

bool StickyWorldWritable(const struct stat& folder) {
    return (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
}

fs::path FolderOf(const fs::path& file) {
    fs::path folder = file.parent_path();
    return folder.empty() ? fs::path(".") : folder;
}

// Creates the temporary exclusively, never through a link. A stray entry of that name (what a
// killed run leaves) is unlinked, which removes a link itself and never its target.
int CreateTemp(int folder, const std::string& name) {
    for (int attempt = 0; attempt < kTempAttempts; ++attempt) {
        int fd = ::openat(folder, name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd >= 0 || errno != EEXIST) return fd;
        struct stat st;
        if (::fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode))
            return -1;  // errno is still EEXIST: a folder of that name is not ours to remove
        if (::unlinkat(folder, name.c_str(), 0) != 0 && errno != ENOENT) return -1;
    }
    errno = EEXIST;
    return -1;
}

}  // namespace

mode_t ProcessUmask() {
    static const mode_t mask = [] {
        std::ifstream status("/proc/self/status");
        std::string line;
        while (std::getline(status, line)) {
            if (line.rfind("Umask:", 0) == 0)
                return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8) & 0777);
        }
        mode_t old = ::umask(022);
        ::umask(old);
        return old;
    }();
    return mask;
}

std::optional<fs::path> ResolveTrustedLink(const fs::path& file, int& error) {
    const uid_t self = ::geteuid();
    fs::path at = file;
    std::optional<uid_t> foreignOwner;  // the owner of a link not made by the running user
    for (int hop = 0; hop <= kMostHops; ++hop) {
        struct stat link;
        const bool exists = ::lstat(at.c_str(), &link) == 0;
        if (!exists || !S_ISLNK(link.st_mode)) {
            if (foreignOwner && (!exists || link.st_uid != *foreignOwner)) break;
            return at;
        }
        if (hop == kMostHops) break;
        struct stat folder;
        if (::stat(FolderOf(at).c_str(), &folder) != 0) break;
        if (StickyWorldWritable(folder) && link.st_uid != self && link.st_uid != folder.st_uid)
            break;
        if (link.st_uid != self) {
            if (foreignOwner && *foreignOwner != link.st_uid) break;
            foreignOwner = link.st_uid;
        }
        std::error_code failed;
        fs::path target = fs::read_symlink(at, failed);
        if (failed) break;
        at = target.is_absolute() ? target : FolderOf(at) / target;
    }
    error = kUntrustedLink;
    return std::nullopt;
}

int ReplaceHostEntry(const fs::path& file, const HostReplacement& how) {
    const fs::path folderPath = FolderOf(file);
    const std::string name = file.filename().string();
    FileHandle folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat folderStat;
    if (!folder.ok() || ::fstat(folder.fd(), &folderStat) != 0) return errno;

    struct stat old;
    const bool hadOld = ::fstatat(folder.fd(), name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
                        S_ISREG(old.st_mode);
    FileHandle temp(CreateTemp(folder.fd(), how.tempName));
    if (!temp.ok()) return errno;

    int error = 0;
    auto step = [&](bool ok) {
        if (!ok && error == 0) error = errno != 0 ? errno : EIO;
        return ok;
    };
    // The superuser writing a user's files keeps them the user's: a replaced file keeps its
    // owner, a new one gets the owner of its folder. Anyone else cannot give files away.
    if (::geteuid() == 0) {
        const uid_t uid = hadOld ? old.st_uid : folderStat.st_uid;
        const gid_t gid = hadOld ? old.st_gid : folderStat.st_gid;
        step(::fchown(temp.fd(), uid, gid) == 0);
    }
    const mode_t mode = how.mode ? *how.mode
                        : hadOld ? old.st_mode & 07777
                                 : 0666 & ~ProcessUmask();
    const std::string marks = how.dosAttribute ? *how.dosAttribute
                              : hadOld         ? ReadDosAttribute(folderPath / name).value_or("")
                                               : "";
    // The marks go on while the temporary is still writable; the mode after the owner, since a
    // change of owner clears the set-id bits.
    errno = 0;
    (marks.empty() || step(WriteDosAttribute(temp.fd(), marks))) &&
        step(::fchmod(temp.fd(), mode) == 0) && step(how.fill(temp.fd())) &&
        step(::fsync(temp.fd()) == 0) &&
        (!how.written || step(::fstat(temp.fd(), how.written) == 0)) && step(temp.Close()) &&
        step(::renameat(folder.fd(), how.tempName.c_str(), folder.fd(), name.c_str()) == 0);
    if (error != 0) {
        ::unlinkat(folder.fd(), how.tempName.c_str(), 0);
        return error;
    }
    // The new file is in place; syncing the folder only makes that outlast a crash.
    ::fsync(folder.fd());
    return 0;
}

std::string TempNameFor(const fs::path& file) {
    return file.filename().string() + ".optera-new";
}

std::string ErrorText(int error) {
    switch (error) {
        case 0:
            return {};
        case kUntrustedLink:
        case ELOOP:
            return "it is a link Optera does not follow";
        case kReadOnlyFile:
            return "the file is read-only";
        case ENOSPC:
        case EDQUOT:
            return "the disk is full";
        case EACCES:
        case EPERM:
            return "permission denied";
        case EROFS:
            return "the disk is read-only";
        case ENOENT:
        case ENOTDIR:
            return "the file or folder does not exist";
        case EISDIR:
            return "it is a folder";
        case EEXIST:
            return "something of that name is in the way";
        case ENOTEMPTY:
            return "the folder is not empty";
        case EIO:
            return "the disk could not be read or written";
        case ENAMETOOLONG:
            return "the name is too long";
        case EBUSY:
        case ETXTBSY:
            return "the file is in use";
        default:
            return std::strerror(error);
    }
}

}  // namespace optera::platform
