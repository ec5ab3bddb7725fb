#pragma once
// The files of a Wine prefix, named by Windows paths. Drive X: is whatever the prefix's
// `dosdevices/x:` link points at; below it every component is matched as Wine matches it: the
// exact name first, then the first name in directory order that differs only in letter case.
// Read-only is "no write bit for anyone", hidden is a name starting with a dot.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/stat.h>

#include "platform/FileSystem.h"

namespace optera::platform {

class FolderNames;

class WineFileSystem : public FileSystem {
  public:
    // A drive letter and the host folder it stands for.
    struct Drive {
        char letter;                   // 'A'..'Z'
        std::filesystem::path target;  // absolute, lexically normal
    };

    // Reads the drives from `<prefix>/dosdevices`. Without that folder the machine has one
    // drive, Z:, for the host's root.
    explicit WineFileSystem(std::filesystem::path prefix);

    const std::filesystem::path& prefix() const { return prefix_; }
    const std::vector<Drive>& drives() const { return drives_; }

    // Drive X: is the folder `dosdevices/x:` leads to, so Z: (the host's root) holds every host
    // path; a path that lies on a drive's folder through a link maps onto that drive.
    std::optional<std::string> ToHostPath(std::string_view windowsPath) const override;
    std::optional<std::string> ToWindowsPath(std::string_view hostPath) const override;

    std::optional<std::uint32_t> Attributes(std::string_view path) const override;
    bool SetAttributes(std::string_view path, std::uint32_t attributes) override;
    std::optional<std::vector<DirEntry>> List(std::string_view folder) const override;
    // Regular files are taken from the directory's own record of their kind, without a stat.
    std::optional<std::vector<DirEntry>> ListForSearch(std::string_view folder) const override;
    std::optional<std::string> ReadAll(std::string_view path) const override;
    // Writes through an exclusive temporary renamed over the file, so the file is never half
    // written; it keeps its mode and owner, and a file that is a link is written at its target.
    bool WriteAll(std::string_view path, std::string_view bytes) override;
    // As WriteAll, through a temporary of the given name (a stray one of that name is removed).
    bool ReplaceContent(std::string_view path, std::string_view bytes,
                        std::string_view tempName) override;
    bool Rename(std::string_view from, std::string_view to) override;
    bool Copy(std::string_view from, std::string_view to) override;
    bool Remove(std::string_view path) override;
    bool CreateFolder(std::string_view path) override;
    std::vector<DriveInfo> Drives() const override;
    std::optional<std::pair<std::uint64_t, std::uint64_t>> FileIdentity(
        std::string_view path) const override;
    // From the file's status; settled once its times are 100 ms behind the clock, well past the
    // tick of the clock that stamps them.
    std::optional<FileStamp> Stamp(std::string_view path) const override;
    // The stamp from the status of the file opened for the read.
    std::optional<std::string> ReadStamped(std::string_view path,
                                           std::optional<FileStamp>& stamp) const override;
    std::string LastError() const override { return lastError_; }

  private:
    // What ToHostPath learnt on the way about what is at the path.
    struct Found {
        enum { Unknown, Missing, Status } what = Unknown;
        struct stat status;  // of the entry itself, which is not a link
    };
    // Where a Windows path is on the host; nullopt when the path has no drive letter or its
    // drive does not exist. Components that are not on disk are kept as written.
    std::optional<std::filesystem::path> Locate(std::string_view windowsPath,
                                                Found* found = nullptr) const;
    // The Windows path of an absolute, normal host path through the drive whose folder is the
    // deepest on it, and the depth of that folder; nullopt when no drive's folder is on it.
    std::optional<std::pair<std::string, std::size_t>> OnDeepestDrive(
        const std::filesystem::path& host) const;
    // The host path and the status of what is there (links followed); false when nothing is.
    bool StatHost(std::string_view windowsPath, std::filesystem::path& host,
                  struct stat& status) const;
    const Drive* FindDrive(char letter) const;
    std::optional<std::vector<DirEntry>> ListFolder(std::string_view folder, bool quick) const;

    // Records why a call failed; always false.
    bool Failed(int error) const;

    std::filesystem::path prefix_;
    std::vector<Drive> drives_;  // in letter order
    std::vector<std::pair<char, DriveType>> registryTypes_;
    mutable std::string lastError_;
    // Spares a read of the whole folder for each name that differs in case or is missing.
    std::shared_ptr<FolderNames> names_;
};

// The kind of drive a dosdevices target makes.
DriveType DriveTypeOf(const std::filesystem::path& target);

}  // namespace optera::platform
