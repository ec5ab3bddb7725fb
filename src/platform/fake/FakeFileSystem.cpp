#include "platform/fake/FakeFileSystem.h"

#include <algorithm>

#include "platform/DirectoryOrder.h"
#include "platform/WindowsPath.h"

namespace optera::platform {

namespace {
constexpr std::uint32_t kSettableMarks = attr::ReadOnly | attr::Hidden;
// The reasons the Wine file system gives for the same failures.
constexpr const char* kMissing = "the file or folder does not exist";
constexpr const char* kFolder = "it is a folder";
constexpr const char* kReadOnly = "the file is read-only";
constexpr const char* kInTheWay = "something of that name is in the way";

// The components of an absolute host path, ".." taking away the one before; nullopt for a
// relative one.
std::optional<std::vector<std::string>> HostComponents(std::string_view path) {
    if (path.empty() || path.front() != '/') return std::nullopt;
    std::vector<std::string> parts;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.emplace_back(part);
        }
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    }
    return parts;
}
}  // namespace

FakeFileSystem::FakeFileSystem() {
    AddDrive('C', DriveType::Fixed);
}

void FakeFileSystem::AddDrive(char letter, DriveType type, std::string hostFolder) {
    letter = text::FoldUpper(letter);
    if (hostFolder.empty()) hostFolder = std::string("/fake/drive_") + text::FoldLower(letter);
    drives_[letter] = {type, HostComponents(hostFolder).value_or(std::vector<std::string>{})};
    std::string root{letter, ':', '\\'};
    Node& node = nodes_[root];
    node.name = root;
    node.folder = true;
}

void FakeFileSystem::FailWritesWhen(std::function<bool(std::string_view)> fails,
                                    std::string reason) {
    fails_ = std::move(fails);
    failReason_ = std::move(reason);
}

void FakeFileSystem::FailReadsWhen(std::function<bool(std::string_view)> fails,
                                   std::string reason) {
    readFails_ = std::move(fails);
    readFailReason_ = std::move(reason);
}

bool FakeFileSystem::Fails(std::string_view path) const {
    return fails_ && fails_(path) && !Failed(failReason_);
}

bool FakeFileSystem::ReadFails(std::string_view path) const {
    return readFails_ && readFails_(path) && !Failed(readFailReason_);
}

bool FakeFileSystem::Failed(std::string reason) const {
    lastError_ = std::move(reason);
    return false;
}

FakeFileSystem::Node* FakeFileSystem::Find(std::string_view path) {
    auto it = nodes_.find(NormalizePath(path));
    return it == nodes_.end() ? nullptr : &it->second;
}

const FakeFileSystem::Node* FakeFileSystem::Find(std::string_view path) const {
    auto it = nodes_.find(NormalizePath(path));
    return it == nodes_.end() ? nullptr : &it->second;
}

FakeFileSystem::Node* FakeFileSystem::ParentFolder(std::string_view path) {
    std::string normal = NormalizePath(path);
    if (ComponentsOf(normal).empty()) return nullptr;  // a root has no parent
    Node* parent = Find(NormalizePath(ParentOf(normal)));
    return parent && parent->folder ? parent : nullptr;
}

FakeFileSystem::Node& FakeFileSystem::MakeChild(Node& parent, std::string_view path, bool folder) {
    std::string key = NormalizePath(path);
    parent.children.push_back(key);
    Node& node = nodes_[key];
    node.name = std::string(NameOf(key));
    node.folder = folder;
    return node;
}

void FakeFileSystem::MakeFolders(std::string_view folder) {
    std::string normal = NormalizePath(folder);
    if (Find(normal) || ComponentsOf(normal).empty()) return;
    MakeFolders(ParentOf(normal));
    CreateFolder(normal);
}

void FakeFileSystem::PutFile(std::string_view path, std::string_view bytes) {
    std::string normal = NormalizePath(path);
    MakeFolders(ParentOf(normal));
    Node* node = Find(normal);
    if (!node) {
        Node* parent = ParentFolder(normal);
        if (!parent) return;  // no such drive
        node = &MakeChild(*parent, normal, false);
    }
    node->bytes = std::string(bytes);
    Changed(*node);
}

std::optional<std::uint32_t> FakeFileSystem::Attributes(std::string_view path) const {
    const Node* node = Find(path);
    if (!node) return std::nullopt;
    return node->marks | (node->folder ? attr::Directory : attr::Archive);
}

bool FakeFileSystem::SetAttributes(std::string_view path, std::uint32_t attributes) {
    Node* node = Find(path);
    if (!node) return Failed(kMissing);
    if (Fails(path)) return false;
    node->marks = attributes & kSettableMarks;
    Changed(*node);
    return true;
}

std::optional<std::vector<DirEntry>> FakeFileSystem::List(std::string_view folder) const {
    const Node* node = Find(folder);
    if (!node || !node->folder) return Failed(kMissing), std::nullopt;
    if (ReadFails(folder)) return std::nullopt;
    std::vector<DirEntry> entries;
    for (const std::string& key : node->children) {
        const Node& child = nodes_.at(key);
        entries.push_back({child.name, *Attributes(key)});
    }
    SortInDirectoryOrder(entries);
    return entries;
}

std::optional<std::string> FakeFileSystem::ReadAll(std::string_view path) const {
    const Node* node = Find(path);
    if (!node) return Failed(kMissing), std::nullopt;
    if (node->folder) return Failed(kFolder), std::nullopt;
    if (ReadFails(path)) return std::nullopt;
    return node->bytes;
}

bool FakeFileSystem::WriteAll(std::string_view path, std::string_view bytes) {
    Node* node = Find(path);
    if (node) {
        if (node->folder) return Failed(kFolder);
        if (node->marks & attr::ReadOnly) return Failed(kReadOnly);
    } else if (!ParentFolder(path)) {
        return Failed(kMissing);
    }
    if (Fails(path)) return false;
    if (!node) node = &MakeChild(*ParentFolder(path), path, false);
    node->bytes = std::string(bytes);
    Changed(*node);
    return true;
}

bool FakeFileSystem::ReplaceContent(std::string_view path, std::string_view bytes,
                                    std::string_view tempName) {
    std::string tempPath = JoinPath(ParentOf(path), tempName);
    if (WriteAll(tempPath, bytes) && Rename(tempPath, path)) return true;
    // The reason is the failed step's, not that of clearing its temporary away.
    std::string reason = lastError_;
    Remove(tempPath);
    return Failed(std::move(reason));
}

bool FakeFileSystem::Rename(std::string_view from, std::string_view to) {
    Node* source = Find(from);
    if (!source) return Failed(kMissing);
    if (source->folder) return Failed(kFolder);
    Node* target = Find(to);
    if (target == source) {
        // The same file: at most a new spelling of its name.
        source->name = NameOf(NormalizePath(to));
        return true;
    }
    if (target && target->folder) return Failed(kFolder);
    if (target && (target->marks & attr::ReadOnly)) return Failed(kReadOnly);
    if (!target && !ParentFolder(to)) return Failed(kMissing);
    if (Fails(to) || Fails(from)) return false;
    // One step, as rename(2): the target is replaced, never removed first.
    if (!target) target = &MakeChild(*ParentFolder(to), to, false);
    target->bytes = std::move(source->bytes);
    target->marks = source->marks;
    Changed(*target);
    Unlink(from);
    return true;
}

bool FakeFileSystem::Copy(std::string_view from, std::string_view to) {
    const Node* source = Find(from);
    if (!source) return Failed(kMissing);
    if (source->folder) return Failed(kFolder);
    if (ReadFails(from)) return false;
    Node copy = *source;
    Node* target = Find(to);
    if (target == source) return Failed(kInTheWay);
    if (!WriteAll(to, copy.bytes)) return false;
    Find(to)->marks = copy.marks;
    Changed(*Find(to));
    return true;
}

bool FakeFileSystem::Remove(std::string_view path) {
    Node* node = Find(path);
    if (!node || ComponentsOf(path).empty()) return Failed(kMissing);
    if (node->folder && !node->children.empty()) return Failed("the folder is not empty");
    if (Fails(path)) return false;
    Unlink(path);
    return true;
}

void FakeFileSystem::Unlink(std::string_view path) {
    std::string key = NormalizePath(path);
    Node* parent = ParentFolder(key);
    auto& siblings = parent->children;
    siblings.erase(std::remove_if(siblings.begin(), siblings.end(),
                                  [&](const std::string& k) { return text::EqualsNoCase(k, key); }),
                   siblings.end());
    nodes_.erase(key);
}

bool FakeFileSystem::CreateFolder(std::string_view path) {
    if (Find(path)) return Failed(kInTheWay);
    Node* parent = ParentFolder(path);
    if (!parent) return Failed(kMissing);
    if (Fails(path)) return false;
    MakeChild(*parent, path, true);
    return true;
}

std::optional<FileStamp> FakeFileSystem::Stamp(std::string_view path) const {
    const Node* node = Find(path);
    // A file made unreadable must not be known by its stamp, or its last content would do.
    if (!node || node->folder || (readFails_ && readFails_(path))) return std::nullopt;
    return FileStamp{0,
                     0,
                     node->bytes.size(),
                     static_cast<std::int64_t>(node->version),
                     static_cast<std::int64_t>(node->version),
                     true};
}

std::vector<DriveInfo> FakeFileSystem::Drives() const {
    std::vector<DriveInfo> drives;
    for (const auto& [letter, drive] : drives_)
        drives.push_back({std::string{letter, ':', '\\'}, drive.type});
    return drives;
}

std::optional<std::string> FakeFileSystem::ToHostPath(std::string_view windowsPath) const {
    auto drive = drives_.find(DriveLetterOf(windowsPath));
    if (drive == drives_.end()) return std::nullopt;
    std::string host;
    for (const std::string& part : drive->second.hostFolder) host += "/" + part;
    std::string windows{drive->first, ':', '\\'};
    for (const std::string& part : ComponentsOf(windowsPath)) {
        windows = JoinPath(windows, part);
        const Node* node = Find(windows);
        host += "/" + (node ? node->name : part);
    }
    return host.empty() ? "/" : host;
}

std::optional<std::string> FakeFileSystem::ToWindowsPath(std::string_view hostPath) const {
    auto parts = HostComponents(hostPath);
    if (!parts) return std::nullopt;
    const std::pair<const char, Drive>* best = nullptr;
    for (const auto& entry : drives_) {
        const std::vector<std::string>& folder = entry.second.hostFolder;
        if (folder.size() > parts->size() ||
            !std::equal(folder.begin(), folder.end(), parts->begin()))
            continue;
        if (!best || folder.size() > best->second.hostFolder.size()) best = &entry;
    }
    if (!best) return std::nullopt;
    std::string windows{best->first, ':', '\\'};
    for (std::size_t i = best->second.hostFolder.size(); i < parts->size(); ++i)
        windows = JoinPath(windows, (*parts)[i]);
    return windows;
}

}  // namespace optera::platform
