#pragma once
// The names of host folders by their case-folded Windows spelling, so that looking up a name
// that differs in letter case (or is not there at all) does not read the whole folder each
// time. A folder's names are kept only while the kernel reports every change to it (inotify):
// each question first takes in the changes reported since, so a name created, removed or moved
// by anyone is seen as soon as that call has returned. Without inotify, or for a folder it
// cannot watch, every question reads the folder.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace optera::platform {

class FolderNames {
  public:
    FolderNames();
    ~FolderNames();
    FolderNames(const FolderNames&) = delete;
    FolderNames& operator=(const FolderNames&) = delete;

    // The host name of the entry of `folder` whose Windows name equals `windowsName` without
    // regard to case; of several, the first in directory order. nullopt when there is none or
    // the folder cannot be read. `status` is the folder's, as the caller just took it.
    std::optional<std::string> FindNoCase(const std::filesystem::path& folder,
                                          std::string_view windowsName, const struct stat& status);

  private:
    struct Spelling {
        std::string windows;
        std::string host;
    };
    struct Names {
        int watch = -1;
        std::unordered_map<std::string, std::vector<Spelling>> byFolded;
    };
    using FolderId = std::pair<std::uint64_t, std::uint64_t>;  // device, file number

    // Takes in every change reported so far; false when some were lost.
    bool TakeInChanges();
    void Add(Names& names, std::string_view host);
    void Remove(Names& names, std::string_view host);
    void Forget(FolderId id);  // by value: callers pass ids held in the maps it erases from
    void ForgetAll();

    int inotify_ = -1;
    std::mutex lock_;
    std::map<FolderId, Names> folders_;
    std::unordered_map<int, FolderId> byWatch_;
    std::list<FolderId> recent_;  // most recently asked first
};

}  // namespace optera::platform
