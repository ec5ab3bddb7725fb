#pragma once
// An in-memory file system for tests: drives, folders and files on Windows paths, folders
// listed in the order an NTFS volume gives, read-only and hidden marks, and reads and writes
// that can be made to fail with a reason, as a full disk or an unreadable file fails.

#include <functional>
#include <map>
#include <memory>

#include "platform/FileSystem.h"
#include "text/NoCase.h"

namespace optera::platform {

class FakeFileSystem : public FileSystem {
  public:
    // Starts with one fixed drive, C:.
    FakeFileSystem();

    // A drive and the host folder it stands for ("/fake/drive_x" when none is given).
    void AddDrive(char letter, DriveType type, std::string hostFolder = {});
    // Creates a file, and the folders above it, with the given content.
    void PutFile(std::string_view path, std::string_view bytes);
    // Every write, rename, copy or removal whose target path this returns true for fails, and
    // LastError then gives `reason`.
    void FailWritesWhen(std::function<bool(std::string_view path)> fails,
                        std::string reason = "the disk is full");
    // Every read (ReadAll, or the source of a Copy) of a path this returns true for fails.
    void FailReadsWhen(std::function<bool(std::string_view path)> fails,
                       std::string reason = "permission denied");

    std::optional<std::uint32_t> Attributes(std::string_view path) const override;
    bool SetAttributes(std::string_view path, std::uint32_t attributes) override;
    std::optional<std::vector<DirEntry>> List(std::string_view folder) const override;
    std::optional<std::string> ReadAll(std::string_view path) const override;
    bool WriteAll(std::string_view path, std::string_view bytes) override;
    bool ReplaceContent(std::string_view path, std::string_view bytes,
                        std::string_view tempName) override;
    bool Rename(std::string_view from, std::string_view to) override;
    bool Copy(std::string_view from, std::string_view to) override;
    bool Remove(std::string_view path) override;
    bool CreateFolder(std::string_view path) override;
    std::vector<DriveInfo> Drives() const override;
    // Through the drives' host folders; the fake has no links, and a relative host path has no
    // folder to start from.
    std::optional<std::string> ToHostPath(std::string_view windowsPath) const override;
    std::optional<std::string> ToWindowsPath(std::string_view hostPath) const override;
    // Every change of a file's content or marks gives it a new version, which stands for its
    // times; stamps are always settled.
    std::optional<FileStamp> Stamp(std::string_view path) const override;
    std::string LastError() const override { return lastError_; }

  private:
    struct Node {
        std::string name;
        bool folder = false;
        std::uint32_t marks = 0;  // read-only and hidden
        std::string bytes;
        std::vector<std::string> children;  // keys of the entries
        std::uint64_t version = 0;
    };

    // Gives the node a version no node had before.
    void Changed(Node& node) { node.version = ++versions_; }

    Node* Find(std::string_view path);
    const Node* Find(std::string_view path) const;
    // The folder that will hold `path`, if it exists.
    Node* ParentFolder(std::string_view path);
    void MakeFolders(std::string_view folder);
    Node& MakeChild(Node& parent, std::string_view path, bool folder);
    void Unlink(std::string_view path);
    // True, with the reason recorded, when writes to the path are made to fail.
    bool Fails(std::string_view path) const;
    bool ReadFails(std::string_view path) const;
    // Records why a call failed; always false.
    bool Failed(std::string reason) const;

    std::map<std::string, Node, text::LessNoCase> nodes_;  // keyed by normalised path
    struct Drive {
        DriveType type;
        std::vector<std::string> hostFolder;  // components below the host's root
    };
    std::map<char, Drive> drives_;
    std::function<bool(std::string_view)> fails_;
    std::string failReason_;
    std::function<bool(std::string_view)> readFails_;
    std::string readFailReason_;
    mutable std::string lastError_;
    std::uint64_t versions_ = 0;
};

}  // namespace optera::platform
