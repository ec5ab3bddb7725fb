#pragma once
// Small POSIX helpers shared by the Wine machine's parts: folders read in directory order, file
// descriptors that close themselves, and complete reads and writes. None of them throws.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace optera::platform {

// A host folder read entry by entry in directory order, without "." and "..".
class Folder {
  public:
    explicit Folder(const std::filesystem::path& path);
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    bool ok() const { return dir_ != nullptr; }
    int fd() const;
    // The next entry's name; nullptr at the end or when reading fails.
    const char* Next();
    // True when reading stopped on an error rather than at the end.
    bool failed() const { return failed_; }
    // The kind of the entry Next gave last, as the directory tells it (DT_DIR, DT_REG, ...;
    // DT_UNKNOWN where the file system does not say).
    unsigned char type() const { return type_; }

  private:
    DIR* dir_;
    bool failed_ = false;
    unsigned char type_ = 0;
};

// An open file descriptor, closed when it goes.
class FileHandle {
  public:
    explicit FileHandle(int fd) : fd_(fd) {}
    ~FileHandle();
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    bool ok() const { return fd_ >= 0; }
    int fd() const { return fd_; }
    // Closes now; false when the close reports an error (a write that did not make it).
    bool Close();

  private:
    int fd_;
};

bool WriteFully(int fd, std::string_view bytes);
// Copies what is left of `from` to `to`.
bool CopyFully(int from, int to);
// Makes a change to a folder's entries (a rename, a new file) outlast a crash.
void SyncFolder(const std::filesystem::path& folder);
// The whole content of a regular file; nullopt when it is missing, not a regular file or
// unreadable, with the reason in `error` when given. `status`, when given, gets the status of
// the file opened, taken before its content is read.
std::optional<std::string> ReadHostFile(const std::filesystem::path& file, int* error = nullptr,
                                        struct stat* status = nullptr);
// The value of the extended attribute in which Wine keeps a file's hidden and system marks
// (`user.DOSATTRIB`, text such as "0x2"), links followed; nullopt when the file has none.
std::optional<std::string> ReadDosAttribute(const std::filesystem::path& file);
// Those marks (attr::Hidden, attr::System) as the attribute's value gives them.
std::uint32_t DosMarksOf(std::string_view value);
// The attribute's value for the marks, as Wine writes it ("0x2").
std::string DosAttributeText(std::uint32_t marks);
// Stores the value where Wine reads it; 0 as errno when the file system keeps no such
// attributes, which Wine takes as success too. False with errno set when it could not.
bool WriteDosAttribute(int fd, std::string_view value);

// Replaces a file so that a crash leaves the old or the new content (see HostReplace.h): a
// trusted link is edited at its target and stays a link; the file keeps its mode and owner
// unless `mode` is given.
bool ReplaceHostFile(const std::filesystem::path& file, std::string_view bytes,
                     std::optional<mode_t> mode = std::nullopt);

}  // namespace optera::platform
