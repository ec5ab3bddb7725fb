#pragma once
// The machine's files, named by Windows paths ("C:\Games\Sample\video.ini"). Names are matched
// without regard to case, as Windows matches them. Failures are results, never exceptions.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FileAttributes.h"

namespace optera::platform {

// What tells one state of a file's content from another: where it is on disk, its size and the
// times of its last change. `settled` says the times can be trusted to move with the next
// change: a file changed within the clock's last few ticks could change again without a new
// time, so its stamp is not settled.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t fileNumber = 0;
    std::uint64_t size = 0;
    std::int64_t modifiedNs = 0;
    std::int64_t changedNs = 0;
    bool settled = false;

    bool operator==(const FileStamp&) const = default;
};

class FileSystem {
  public:
    virtual ~FileSystem() = default;

    // Attribute bits of a file or folder; nullopt when nothing is at that path.
    virtual std::optional<std::uint32_t> Attributes(std::string_view path) const = 0;
    // Sets the read-only and hidden bits; the other bits are the file system's own.
    virtual bool SetAttributes(std::string_view path, std::uint32_t attributes) = 0;

    // The entries of a folder in directory order, without "." and "..";
    // nullopt when the folder does not exist or cannot be read.
    virtual std::optional<std::vector<DirEntry>> List(std::string_view folder) const = 0;

    // List for a walk through folders, which may be quicker: entries that are not folders may
    // carry only their Hidden and System bits and no identity. Folders are as List gives them.
    virtual std::optional<std::vector<DirEntry>> ListForSearch(std::string_view folder) const {
        return List(folder);
    }

    // The whole content of a file; nullopt when it is missing or cannot be read.
    virtual std::optional<std::string> ReadAll(std::string_view path) const = 0;
    // Creates or truncates the file and writes the bytes; they are on disk when it returns.
    virtual bool WriteAll(std::string_view path, std::string_view bytes) = 0;
    // Replaces the file's content so that a crash cannot leave it half-written; see ReplaceFile.
    // By default the bytes go to the temporary `tempName` in the file's folder, which is then
    // renamed over the file; a file system whose WriteAll is itself atomic may do just that.
    virtual bool ReplaceContent(std::string_view path, std::string_view bytes,
                                std::string_view tempName);
    // Moves a file, replacing whatever file has the target name, in one step.
    virtual bool Rename(std::string_view from, std::string_view to) = 0;
    // Copies a file with its attributes, replacing a file of the target name.
    virtual bool Copy(std::string_view from, std::string_view to) = 0;
    // Deletes a file (whatever its read-only mark) or an empty folder.
    virtual bool Remove(std::string_view path) = 0;
    virtual bool CreateFolder(std::string_view path) = 0;

    // The device and file number of what is at the path, as List gives them for its entries;
    // nullopt when nothing is there or the platform cannot tell.
    virtual std::optional<std::pair<std::uint64_t, std::uint64_t>> FileIdentity(
        std::string_view path) const {
        (void)path;
        return std::nullopt;
    }

    // The stamp of the file at the path; nullopt when nothing is there, it is a folder, or the
    // platform cannot tell. A file whose stamp is unchanged and settled has unchanged content;
    // a file system that buffers content of its own (and may change it without a trace on
    // disk) keeps this default.
    virtual std::optional<FileStamp> Stamp(std::string_view path) const {
        (void)path;
        return std::nullopt;
    }

    // ReadAll, and the file's stamp as Stamp gives it, taken before the content was read (so
    // that a change during the read shows at the next stamp). The default asks for the two
    // one after the other; a file system may take both from one opening of the file.
    virtual std::optional<std::string> ReadStamped(std::string_view path,
                                                   std::optional<FileStamp>& stamp) const {
        stamp = Stamp(path);
        return ReadAll(path);
    }

    // The drives of the machine in letter order.
    virtual std::vector<DriveInfo> Drives() const = 0;

    // Where a Windows path is on the host the machine runs on (for a file dialog, a message or a
    // host program): components that exist take their spelling on disk, the rest stay as
    // written. nullopt when the path has no drive letter, its drive does not exist, or the files
    // are not on a host.
    virtual std::optional<std::string> ToHostPath(std::string_view windowsPath) const {
        (void)windowsPath;
        return std::nullopt;
    }
    // The Windows path of an absolute host path (a file chosen in a host dialog), through the
    // drive whose folder holds it most closely; nullopt when it lies on no drive.
    virtual std::optional<std::string> ToWindowsPath(std::string_view hostPath) const {
        (void)hostPath;
        return std::nullopt;
    }

    // Why the last call that failed did so, in plain words for the user ("the disk is full",
    // "permission denied"); "" when the implementation cannot tell. Questions that only look
    // (Attributes, FileIdentity, Drives) leave it as it was.
    virtual std::string LastError() const { return {}; }
};

// True when a file (not a folder) is at the path.
bool FileExists(const FileSystem& files, std::string_view path);
// True when a folder is at the path.
bool FolderExists(const FileSystem& files, std::string_view path);

// Names of the entries of a folder that match a file pattern ("C:\Games\*.cfg"), in directory
// order. Folders are included only when `withFolders` is set.
std::vector<std::string> FindNames(const FileSystem& files, std::string_view pattern,
                                   bool withFolders);

// Replaces the file's content in a way that a crash cannot leave half-written: the bytes go to
// a temporary file in the same folder, which is then renamed over the file. `tempName` names the
// temporary file; empty means a name of this program's own.
bool ReplaceFile(FileSystem& files, std::string_view path, std::string_view bytes,
                 std::string_view tempName = {});

}  // namespace optera::platform
