#include "platform/wine/FolderNames.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/DirectoryOrder.h"
#include "platform/wine/HostFiles.h"
#include "text/CodePage.h"
#include "text/NoCase.h"

namespace optera::platform {

namespace {

constexpr std::size_t kFoldersKept = 32;
constexpr std::uint32_t kChanges =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_ONLYDIR;

std::string WindowsName(std::string_view hostName) {
    return text::IsAscii(hostName) ? std::string(hostName) : text::CodePageFromUtf8(hostName);
}

// File systems whose every change passes through this kernel, and so is reported: a network or
// user-space file system can change under us without a word.
bool ReportsEveryChange(const std::filesystem::path& folder) {
    struct statfs info;
    if (::statfs(folder.c_str(), &info) != 0) return false;
    switch (static_cast<unsigned long>(info.f_type)) {
        case 0xEF53:      // ext2, ext3, ext4
        case 0x58465342:  // xfs
        case 0x9123683E:  // btrfs
        case 0x01021994:  // tmpfs
        case 0x794C7630:  // overlayfs
        case 0xF2F52010:  // f2fs
        case 0x2FC12FC1:  // zfs
        case 0xCA451A4E:  // bcachefs
        case 0x52654973:  // reiserfs
        case 0x3153464A:  // jfs
        case 0x4D44:      // vfat
        case 0x2011BAB0:  // exfat
        case 0x7366746E:  // ntfs3
        case 0x9660:      // iso9660
        case 0x15013346:  // udf
            return true;
        default:
            return false;
    }
}

}  // namespace

FolderNames::FolderNames() : inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

FolderNames::~FolderNames() {
    if (inotify_ >= 0) ::close(inotify_);
}

void FolderNames::Add(Names& names, std::string_view host) {
    std::string windows = WindowsName(host);
    std::vector<Spelling>& spellings = names.byFolded[text::ToLower(windows)];
    for (const Spelling& spelling : spellings)
        if (spelling.host == host) return;
    spellings.push_back({std::move(windows), std::string(host)});
}

void FolderNames::Remove(Names& names, std::string_view host) {
    auto it = names.byFolded.find(text::ToLower(WindowsName(host)));
    if (it == names.byFolded.end()) return;
    std::erase_if(it->second, [&](const Spelling& spelling) { return spelling.host == host; });
    if (it->second.empty()) names.byFolded.erase(it);
}

void FolderNames::Forget(FolderId id) {
    auto it = folders_.find(id);
    if (it == folders_.end()) return;
    byWatch_.erase(it->second.watch);
    ::inotify_rm_watch(inotify_, it->second.watch);
    folders_.erase(it);
    recent_.remove(id);
}

void FolderNames::ForgetAll() {
    while (!recent_.empty()) Forget(recent_.front());
}

bool FolderNames::TakeInChanges() {
    alignas(inotify_event) char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(inotify_, buffer, sizeof buffer);
        if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
        for (ssize_t at = 0; at < got;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if (event->mask & IN_Q_OVERFLOW) return false;
            auto watched = byWatch_.find(event->wd);
            if (watched == byWatch_.end()) continue;
            if (event->mask & (IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT)) {
                // The folder is gone; its number may come back for another one.
                Forget(watched->second);
                continue;
            }
            Names& names = folders_.at(watched->second);
            const std::string_view name(event->name);  // padded with NULs
            if (event->mask & (IN_CREATE | IN_MOVED_TO))
                Add(names, name);
            else if (event->mask & (IN_DELETE | IN_MOVED_FROM))
                Remove(names, name);
        }
    }
}

std::optional<std::string> FolderNames::FindNoCase(const std::filesystem::path& folder,
                                                   std::string_view windowsName,
                                                   const struct stat& before) {
    std::lock_guard guard(lock_);
    const std::string folded = text::ToLower(windowsName);
    auto first = [](const std::vector<Spelling>* spellings) -> std::optional<std::string> {
        if (!spellings || spellings->empty()) return std::nullopt;
        const Spelling* best = &spellings->front();
        for (const Spelling& spelling : *spellings)
            if (DirectoryOrderLess(spelling.windows, best->windows)) best = &spelling;
        return best->host;
    };

    if (!S_ISDIR(before.st_mode)) return std::nullopt;
    const FolderId id{static_cast<std::uint64_t>(before.st_dev),
                      static_cast<std::uint64_t>(before.st_ino)};
    if (inotify_ >= 0 && !TakeInChanges()) ForgetAll();
    if (auto kept = folders_.find(id); kept != folders_.end()) {
        recent_.remove(id);
        recent_.push_front(id);
        auto spellings = kept->second.byFolded.find(folded);
        return first(spellings == kept->second.byFolded.end() ? nullptr : &spellings->second);
    }

    // The watch comes first: whatever changes while the folder is read is reported after.
    const int watch = inotify_ >= 0 && ReportsEveryChange(folder)
                          ? ::inotify_add_watch(inotify_, folder.c_str(), kChanges)
                          : -1;
    const bool watchedBefore = byWatch_.contains(watch);
    auto dropWatch = [&] {
        if (watch >= 0 && !watchedBefore) ::inotify_rm_watch(inotify_, watch);
    };
    Names names;
    names.watch = watch;
    Folder listing(folder);
    if (!listing.ok()) {
        dropWatch();
        return std::nullopt;
    }
    while (const char* name = listing.Next()) Add(names, name);
    struct stat listed;
    const bool same = !listing.failed() && ::fstat(listing.fd(), &listed) == 0 &&
                      listed.st_dev == before.st_dev && listed.st_ino == before.st_ino;
    auto spellings = names.byFolded.find(folded);
    std::optional<std::string> found =
        first(spellings == names.byFolded.end() ? nullptr : &spellings->second);
    if (watch < 0 || !same || watchedBefore) {
        dropWatch();
        return found;
    }
    byWatch_[watch] = id;
    folders_.emplace(id, std::move(names));
    recent_.push_front(id);
    if (recent_.size() > kFoldersKept) Forget(recent_.back());
    return found;
}

}  // namespace optera::platform
