#include "platform/FileSystem.h"

#include "platform/WindowsPath.h"
#include "text/Wildcard.h"

namespace optera::platform {

bool FileExists(const FileSystem& files, std::string_view path) {
    auto attributes = files.Attributes(path);
    return attributes && (*attributes & attr::Directory) == 0;
}

bool FolderExists(const FileSystem& files, std::string_view path) {
    auto attributes = files.Attributes(path);
    return attributes && (*attributes & attr::Directory) != 0;
}

std::vector<std::string> FindNames(const FileSystem& files, std::string_view pattern,
                                   bool withFolders) {
    std::vector<std::string> names;
    auto entries = files.List(ParentOf(pattern));
    if (!entries) return names;
    std::string_view mask = NameOf(pattern);
    for (const DirEntry& entry : *entries) {
        if (!withFolders && (entry.attributes & attr::Directory) != 0) continue;
        if (text::MatchesWildcard(entry.name, mask)) names.push_back(entry.name);
    }
    return names;
}

bool FileSystem::ReplaceContent(std::string_view path, std::string_view bytes,
                                std::string_view tempName) {
    std::string tempPath = JoinPath(ParentOf(path), tempName);
    if (!WriteAll(tempPath, bytes) || !Rename(tempPath, path)) {
        Remove(tempPath);
        return false;
    }
    return true;
}

bool ReplaceFile(FileSystem& files, std::string_view path, std::string_view bytes,
                 std::string_view tempName) {
    std::string temp =
        tempName.empty() ? std::string(NameOf(path)) + ".optera-new" : std::string(tempName);
    return files.ReplaceContent(path, bytes, temp);
}

}  // namespace optera::platform
