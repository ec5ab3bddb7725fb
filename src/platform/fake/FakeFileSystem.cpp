#include "platform/fake/FakeFileSystem.h"

#include <algorithm>

#include "platform/WindowsPath.h"

namespace optera::platform {

namespace {
constexpr std::uint32_t kSettableMarks = attr::ReadOnly | attr::Hidden;
}

FakeFileSystem::FakeFileSystem() {
    AddDrive('C', DriveType::Fixed);
}

void FakeFileSystem::AddDrive(char letter, DriveType type) {
    letter = text::FoldUpper(letter);
    drives_[letter] = type;
    std::string root{letter, ':', '\\'};
    Node& node = nodes_[root];
    node.name = root;
    node.folder = true;
}

void FakeFileSystem::FailWritesWhen(std::function<bool(std::string_view)> fails) {
    fails_ = std::move(fails);
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
}

std::optional<std::uint32_t> FakeFileSystem::Attributes(std::string_view path) const {
    const Node* node = Find(path);
    if (!node) return std::nullopt;
    return node->marks | (node->folder ? attr::Directory : attr::Archive);
}

bool FakeFileSystem::SetAttributes(std::string_view path, std::uint32_t attributes) {
    Node* node = Find(path);
    if (!node || Fails(path)) return false;
    node->marks = attributes & kSettableMarks;
    return true;
}

std::optional<std::vector<DirEntry>> FakeFileSystem::List(std::string_view folder) const {
    const Node* node = Find(folder);
    if (!node || !node->folder) return std::nullopt;
    std::vector<DirEntry> entries;
    for (const std::string& key : node->children) {
        const Node& child = nodes_.at(key);
        entries.push_back({child.name, *Attributes(key)});
    }
    return entries;
}

std::optional<std::string> FakeFileSystem::ReadAll(std::string_view path) const {
    const Node* node = Find(path);
    if (!node || node->folder) return std::nullopt;
    return node->bytes;
}

bool FakeFileSystem::WriteAll(std::string_view path, std::string_view bytes) {
    if (Fails(path)) return false;
    Node* node = Find(path);
    if (node) {
        if (node->folder || (node->marks & attr::ReadOnly)) return false;
    } else {
        Node* parent = ParentFolder(path);
        if (!parent) return false;
        node = &MakeChild(*parent, path, false);
    }
    node->bytes = std::string(bytes);
    return true;
}

bool FakeFileSystem::Rename(std::string_view from, std::string_view to) {
    Node* source = Find(from);
    if (!source || source->folder || Fails(to) || Fails(from)) return false;
    Node* target = Find(to);
    if (target && target->folder) return false;
    if (!target) {
        Node* parent = ParentFolder(to);
        if (!parent) return false;
        target = &MakeChild(*parent, to, false);
    }
    if (target == source) return true;
    target->bytes = std::move(source->bytes);
    target->marks = source->marks;
    Unlink(from);
    return true;
}

bool FakeFileSystem::Copy(std::string_view from, std::string_view to) {
    const Node* source = Find(from);
    if (!source || source->folder) return false;
    Node copy = *source;
    Node* target = Find(to);
    if (target && (target->folder || (target->marks & attr::ReadOnly))) return false;
    if (!WriteAll(to, copy.bytes)) return false;
    Find(to)->marks = copy.marks;
    return true;
}

bool FakeFileSystem::Remove(std::string_view path) {
    Node* node = Find(path);
    if (!node || Fails(path) || ComponentsOf(path).empty()) return false;
    if (node->folder && !node->children.empty()) return false;
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
    if (Find(path) || Fails(path)) return false;
    Node* parent = ParentFolder(path);
    if (!parent) return false;
    MakeChild(*parent, path, true);
    return true;
}

std::vector<DriveInfo> FakeFileSystem::Drives() const {
    std::vector<DriveInfo> drives;
    for (auto [letter, type] : drives_) drives.push_back({std::string{letter, ':', '\\'}, type});
    return drives;
}

}  // namespace optera::platform
