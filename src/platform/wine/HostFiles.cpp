#include "platform/wine/HostFiles.h"

#include "platform/FileAttributes.h"
#include "platform/wine/HostReplace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace optera::platform {

namespace {
constexpr std::size_t kChunk = 64 * 1024;
}

Folder::Folder(const std::filesystem::path& path) : dir_(::opendir(path.c_str())) {}

Folder::~Folder() {
    if (dir_) ::closedir(dir_);
}

int Folder::fd() const {
    return dir_ ? ::dirfd(dir_) : -1;
}

const char* Folder::Next() {
    if (!dir_) return nullptr;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(dir_);
        if (!entry) {
            failed_ = errno != 0;
            return nullptr;
        }
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            type_ = entry->d_type;
            return entry->d_name;
        }
    }
}

FileHandle::~FileHandle() {
    if (fd_ >= 0) ::close(fd_);
}

bool FileHandle::Close() {
    int fd = fd_;
    fd_ = -1;
    return fd >= 0 && ::close(fd) == 0;
}

bool WriteFully(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (written == 0) {
            errno = ENOSPC;  // a write that takes nothing will take nothing on a retry either
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool CopyFully(int from, int to) {
    char buffer[kChunk];
    for (;;) {
        ssize_t got = ::read(from, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (got == 0) return true;
        if (!WriteFully(to, std::string_view(buffer, static_cast<std::size_t>(got)))) return false;
    }
}

namespace {
constexpr const char* kDosAttribute = "user.DOSATTRIB";
}

std::optional<std::string> ReadDosAttribute(const std::filesystem::path& file) {
    char value[64];
    const ssize_t size = ::getxattr(file.c_str(), kDosAttribute, value, sizeof value);
    if (size < 0) return std::nullopt;
    return std::string(value, static_cast<std::size_t>(size));
}

std::uint32_t DosMarksOf(std::string_view value) {
    // Samba may follow the text with a binary record of its own; the text comes first.
    const std::string text(value.substr(0, value.find('\0')));
    if (!text.starts_with("0x") && !text.starts_with("0X")) return 0;
    const auto bits = static_cast<std::uint32_t>(std::strtoul(text.c_str() + 2, nullptr, 16));
    return bits & (attr::Hidden | attr::System);
}

std::string DosAttributeText(std::uint32_t marks) {
    static const char kDigits[] = "0123456789abcdef";
    std::string digits;
    do {
        digits.insert(digits.begin(), kDigits[marks & 0xf]);
        marks >>= 4;
    } while (marks != 0);
    return "0x" + digits;
}

bool WriteDosAttribute(int fd, std::string_view value) {
    if (::fsetxattr(fd, kDosAttribute, value.data(), value.size(), 0) == 0) return true;
    if (errno != ENOTSUP) return false;
    errno = 0;
    return true;
}

void SyncFolder(const std::filesystem::path& folder) {
    FileHandle handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.ok()) ::fsync(handle.fd());
}

std::optional<std::string> ReadHostFile(const std::filesystem::path& file, int* error,
                                        struct stat* status) {
    auto failed = [error](int number) -> std::optional<std::string> {
        if (error) *error = number;
        return std::nullopt;
    };
    // Non-blocking so that a pipe or device in a game's folder cannot hang the read; only
    // regular files are read at all.
    FileHandle handle(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st;
    if (!handle.ok() || ::fstat(handle.fd(), &st) != 0) return failed(errno);
    if (!S_ISREG(st.st_mode)) return failed(S_ISDIR(st.st_mode) ? EISDIR : EINVAL);
    if (status) *status = st;
    std::string content;
    content.reserve(static_cast<std::size_t>(st.st_size));
    char buffer[kChunk];
    for (;;) {
        ssize_t got = ::read(handle.fd(), buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            return failed(errno);
        }
        if (got == 0) return content;
        content.append(buffer, static_cast<std::size_t>(got));
    }
}

bool ReplaceHostFile(const std::filesystem::path& file, std::string_view bytes,
                     std::optional<mode_t> mode) {
    int error = 0;
    auto real = ResolveTrustedLink(file, error);
    if (!real) return false;
    HostReplacement how;
    how.tempName = TempNameFor(*real);
    how.fill = [bytes](int fd) { return WriteFully(fd, bytes); };
    how.mode = mode;
    return ReplaceHostEntry(*real, how) == 0;
}

}  // namespace optera::platform
