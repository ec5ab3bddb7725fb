#include "platform/wine/WineFileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "platform/DirectoryOrder.h"
#include "platform/WindowsPath.h"
#include "platform/wine/FolderNames.h"
#include "platform/wine/HostFiles.h"
#include "platform/wine/HostReplace.h"
#include "platform/wine/RegFile.h"
#include "text/CodePage.h"
#include "text/NoCase.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

bool IsReadOnly(const struct stat& st) {
    return (st.st_mode & kWriteBits) == 0;
}

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::uint32_t AttributesOf(const struct stat& st, std::string_view name) {
    std::uint32_t bits = S_ISDIR(st.st_mode) ? attr::Directory : attr::Archive;
    if (IsReadOnly(st)) bits |= attr::ReadOnly;
    if (name.size() > 1 && name[0] == '.' && name != "..") bits |= attr::Hidden;
    return bits;
}

// Hidden and system as Wine reads them: from the DOS attribute where the entry has one, else
// hidden for a name that starts with a dot.
std::uint32_t WithDosMarks(std::uint32_t bits, const fs::path& host) {
    auto value = ReadDosAttribute(host);
    if (!value) return bits;
    return (bits & ~(attr::Hidden | attr::System)) | DosMarksOf(*value);
}

// Keeps the marks where Wine keeps them. A name starting with a dot keeps even "none" there,
// or it would be hidden by its name again. A file system without such attributes keeps no
// marks, which Wine takes as success too.
bool StoreDosMarks(const fs::path& host, std::uint32_t marks) {
    if (marks == 0 && host.filename().native()[0] != '.') {
        return ::removexattr(host.c_str(), "user.DOSATTRIB") == 0 || errno == ENODATA ||
               errno == ENOTSUP;
    }
    const std::string value = DosAttributeText(marks);
    return ::setxattr(host.c_str(), "user.DOSATTRIB", value.data(), value.size(), 0) == 0 ||
           errno == ENOTSUP;
}

// The kernel's own folders (processes, devices, run-time state) and mounts of its pseudo file
// systems: Windows would call them hidden system folders, and like those they are no place to
// look for games. Only a mount point can start such a file system, so `statfs` runs only for a
// folder on another device than its parent.
bool IsKernelFolder(const fs::path& host, const struct stat& st, dev_t parentDevice) {
    if (!S_ISDIR(st.st_mode)) return false;
    static const fs::path kFolders[] = {"/proc", "/sys", "/dev", "/run"};
    for (const fs::path& folder : kFolders)
        if (host == folder) return true;
    if (st.st_dev == parentDevice) return false;
    struct statfs fsInfo;
    if (::statfs(host.c_str(), &fsInfo) != 0) return false;
    switch (static_cast<unsigned long>(fsInfo.f_type)) {
        case 0x9fa0:      // proc
        case 0x62656572:  // sysfs
        case 0x1cd1:      // devpts
        case 0x27e0eb:    // cgroup
        case 0x63677270:  // cgroup2
        case 0x64626720:  // debugfs
        case 0x74726163:  // tracefs
        case 0x73636673:  // securityfs
        case 0xcafe4a11:  // bpf
        case 0x6165676c:  // pstore
        case 0x62656570:  // configfs
        case 0x19800202:  // mqueue
        case 0x42494e4d:  // binfmt_misc
        case 0x65735543:  // fusectl
        case 0x958458f6:  // hugetlbfs
        case 0x0187:      // autofs: entering it would mount what it stands for
            return true;
        default:
            return false;
    }
}

// A dosdevices target as an absolute, normal path without a trailing separator.
fs::path CleanTarget(const fs::path& target) {
    fs::path clean = target.lexically_normal();
    if (!clean.has_filename() && clean.has_relative_path()) clean = clean.parent_path();
    return clean;
}

// The drive letter a dosdevices entry name stands for ("c:" -> 'C'); '\0' for other devices.
char DriveLetterOfDevice(std::string_view name) {
    if (name.size() != 2 || name[1] != ':') return '\0';
    char letter = text::FoldUpper(name[0]);
    return letter >= 'A' && letter <= 'Z' ? letter : '\0';
}

// Windows names are Windows-1252 text and Wine names host files in UTF-8, as it does for a
// program that uses the 8-bit functions; a host name with characters outside the code page
// comes back with '?' for them.
std::string HostName(std::string_view windowsName) {
    return text::IsAscii(windowsName) ? std::string(windowsName)
                                      : text::Utf8FromCodePage(windowsName);
}

std::string WindowsName(std::string_view hostName) {
    return text::IsAscii(hostName) ? std::string(hostName) : text::CodePageFromUtf8(hostName);
}

// The host name under which `folder` holds `component`: the component itself when an entry has
// exactly that name, else the first entry in directory order that differs only in letter case.
std::optional<std::string> FindEntry(FolderNames& names, const fs::path& folder,
                                     const std::string& component) {
    std::string exact = HostName(component);
    struct stat st;
    if (::lstat((folder / exact).c_str(), &st) == 0) return exact;
    if (::stat(folder.c_str(), &st) != 0) return std::nullopt;
    return names.FindNoCase(folder, component, st);
}

// The mount of the host's file systems that holds `folder`, by its type ("ext4", "iso9660").
std::string MountTypeOf(const fs::path& folder) {
    std::error_code error;
    const fs::path real = fs::canonical(folder, error);
    if (error) return {};
    std::ifstream mounts("/proc/self/mounts");
    std::string device, point, type, line, best, bestType;
    while (mounts >> device >> point >> type) {
        std::getline(mounts, line);
        // Blanks and a few other characters in mount points are written as octal escapes.
        std::string unescaped;
        for (std::size_t i = 0; i < point.size(); ++i) {
            if (point[i] == '\\' && i + 3 < point.size()) {
                unescaped += static_cast<char>(std::stoi(point.substr(i + 1, 3), nullptr, 8));
                i += 3;
            } else {
                unescaped += point[i];
            }
        }
        const std::string& here = real.native();
        const bool holds = here == unescaped || unescaped == "/" ||
                           (here.starts_with(unescaped) && here[unescaped.size()] == '/');
        if (holds && unescaped.size() >= best.size()) {
            best = unescaped;
            bestType = type;
        }
    }
    return bestType;
}

// The drive kinds the prefix sets in HKLM\Software\Wine\Drives ("d:"="cdrom"), by letter.
std::vector<std::pair<char, DriveType>> RegistryDriveTypes(const fs::path& prefix) {
    std::vector<std::pair<char, DriveType>> types;
    auto bytes = ReadHostFile(prefix / "system.reg");
    if (!bytes) return types;
    const RegFile hive = RegFile::Parse(*bytes);
    const RegFileKey* key = hive.Find("Software\\Wine\\Drives");
    if (!key) return types;
    for (const RegFileValue& value : key->values) {
        const char letter = DriveLetterOfDevice(value.name);
        if (letter == '\0') continue;
        std::string kind;  // the UTF-16LE string as ASCII
        for (std::size_t i = 0; i + 1 < value.data.size() && value.data[i] != 0; i += 2)
            kind += text::FoldLower(static_cast<char>(value.data[i]));
        if (kind == "cdrom")
            types.emplace_back(letter, DriveType::CdRom);
        else if (kind == "floppy")
            types.emplace_back(letter, DriveType::Removable);
        else if (kind == "network")
            types.emplace_back(letter, DriveType::Remote);
        else if (kind == "hd")
            types.emplace_back(letter, DriveType::Fixed);
    }
    return types;
}

}  // namespace

DriveType DriveTypeOf(const fs::path& target) {
    auto first = target.begin();
    if (first != target.end() && ++first != target.end() && *first == "dev")
        return DriveType::Unknown;
    struct stat st;
    if (::stat(target.c_str(), &st) != 0) return DriveType::Unknown;
    const std::string mount = MountTypeOf(target);
    if (mount == "iso9660" || mount == "udf") return DriveType::CdRom;
    return DriveType::Fixed;
}

WineFileSystem::WineFileSystem(fs::path prefix)
    : prefix_(std::move(prefix)), names_(std::make_shared<FolderNames>()) {
    std::error_code error;
    if (fs::path absolute = fs::absolute(prefix_, error); !error) prefix_ = absolute;
    const fs::path devices = prefix_ / "dosdevices";
    Folder listing(devices);
    if (!listing.ok()) {
        drives_.push_back({'Z', fs::path("/")});
        return;
    }
    while (const char* name = listing.Next()) {
        char letter = DriveLetterOfDevice(name);
        if (letter == '\0' || FindDrive(letter)) continue;
        fs::path target = fs::read_symlink(devices / name, error);
        if (error) {
            // A real folder in place of the link serves as the drive itself.
            if (!fs::is_directory(devices / name, error)) continue;
            target = devices / name;
        } else if (target.is_relative()) {
            target = devices / target;
        }
        drives_.push_back({letter, CleanTarget(target)});
    }
    std::sort(drives_.begin(), drives_.end(),
              [](const Drive& a, const Drive& b) { return a.letter < b.letter; });
    registryTypes_ = RegistryDriveTypes(prefix_);
}

bool WineFileSystem::Failed(int error) const {
    lastError_ = ErrorText(error);
    return false;
}

const WineFileSystem::Drive* WineFileSystem::FindDrive(char letter) const {
    for (const Drive& drive : drives_)
        if (drive.letter == letter) return &drive;
    return nullptr;
}

std::optional<std::string> WineFileSystem::ToHostPath(std::string_view windowsPath) const {
    auto host = Locate(windowsPath);
    if (!host) return std::nullopt;
    return std::move(*host).native();
}

std::optional<fs::path> WineFileSystem::Locate(std::string_view windowsPath, Found* found) const {
    Found ignored;
    Found& learnt = found ? *found : ignored;
    learnt.what = Found::Unknown;
    if (windowsPath.find('\0') != std::string_view::npos) return std::nullopt;
    const Drive* drive = FindDrive(DriveLetterOf(windowsPath));
    if (!drive) return std::nullopt;
    const std::vector<std::string> parts = ComponentsOf(windowsPath);

    // Joined as text: this runs for every question about a file.
    std::string exact = drive->target.native();
    std::size_t parentSize = exact.size();
    for (const std::string& part : parts) {
        parentSize = exact.size();
        if (exact.empty() || exact.back() != '/') exact += '/';
        exact += HostName(part);
    }
    struct stat st;
    if (::lstat(exact.c_str(), &st) == 0) {
        if (!S_ISLNK(st.st_mode)) learnt = {Found::Status, st};
        return fs::path(std::move(exact));
    }
    // Most often only the last component is missing, or spelled in another case: when the
    // folder above it is there as written, only that component is looked up.
    const fs::path folder = parentSize == 0 ? fs::path("/") : fs::path(exact.substr(0, parentSize));
    if (!parts.empty() && ::stat(folder.c_str(), &st) == 0) {
        auto name = names_->FindNoCase(folder, parts.back(), st);
        if (!name) learnt.what = Found::Missing;
        return folder / (name ? *name : HostName(parts.back()));
    }

    // Look each component up in its folder until one is missing; the rest stay as written.
    fs::path host = drive->target;
    bool searching = true;
    for (const std::string& part : parts) {
        if (searching) {
            if (auto entry = FindEntry(*names_, host, part)) {
                host /= *entry;
                continue;
            }
            searching = false;
        }
        host /= HostName(part);
    }
    return host;
}

bool WineFileSystem::StatHost(std::string_view windowsPath, fs::path& host,
                              struct stat& status) const {
    Found found;
    auto path = Locate(windowsPath, &found);
    if (!path || found.what == Found::Missing) return false;
    host = std::move(*path);
    if (found.what == Found::Status) {
        status = found.status;
        return true;
    }
    return ::stat(host.c_str(), &status) == 0;
}

std::optional<std::string> WineFileSystem::ToWindowsPath(std::string_view hostPath) const {
    if (hostPath.empty() || hostPath.find('\0') != std::string_view::npos) return std::nullopt;
    std::error_code error;
    // ".." goes lexically, as Windows takes it in its own paths.
    fs::path written = fs::absolute(fs::path(hostPath), error).lexically_normal();
    if (error) return std::nullopt;
    if (!written.has_filename() && written.has_relative_path()) written = written.parent_path();
    auto mapped = OnDeepestDrive(written);
    // A file chosen through a linked folder ("~/games" leading into drive_c) lies, as written,
    // only on the drive of the host's root (Z:) or on none; the drive that holds its real folder
    // names it as the game knows it. Any other drive that holds the path as written keeps it, and
    // the file itself is not resolved: a link in a game's folder is named where it is.
    if (written.has_relative_path() && (!mapped || mapped->second == 0)) {
        fs::path real = fs::weakly_canonical(written.parent_path(), error);
        if (!error && real != written.parent_path()) {
            auto resolved = OnDeepestDrive(real / written.filename());
            if (resolved && (!mapped || resolved->second > 0)) mapped = std::move(resolved);
        }
    }
    if (!mapped) return std::nullopt;
    return std::move(mapped->first);
}

std::optional<std::pair<std::string, std::size_t>> WineFileSystem::OnDeepestDrive(
    const fs::path& host) const {
    std::vector<std::string> parts;
    for (const fs::path& part : host.relative_path())
        if (!part.empty()) parts.push_back(part.native());

    // Drives are compared by the identity of their folders, as Wine does, so that a link to a
    // drive's folder or a prefix reached through a linked path still maps to the drive.
    struct Root {
        char letter;
        struct stat st;
    };
    std::vector<Root> roots;
    for (const Drive& drive : drives_) {
        Root root{drive.letter, {}};
        if (::stat(drive.target.c_str(), &root.st) == 0) roots.push_back(root);
    }

    for (std::size_t depth = parts.size() + 1; depth-- > 0;) {
        fs::path folder = host.root_path();
        for (std::size_t i = 0; i < depth; ++i) folder /= parts[i];
        struct stat st;
        if (::stat(folder.c_str(), &st) != 0) continue;
        for (const Root& root : roots) {
            if (!SameFile(root.st, st)) continue;
            std::string windows{root.letter, ':', '\\'};
            for (std::size_t i = depth; i < parts.size(); ++i) {
                if (i > depth) windows += '\\';
                windows += WindowsName(parts[i]);
            }
            return std::pair{std::move(windows), depth};
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> WineFileSystem::Attributes(std::string_view path) const {
    fs::path host;
    struct stat st;
    if (!StatHost(path, host, st)) return std::nullopt;
    // A drive's root is never hidden, whatever its host folder is called.
    if (ComponentsOf(path).empty()) return AttributesOf(st, "");
    std::uint32_t bits = WithDosMarks(AttributesOf(st, host.filename().native()), host);
    if (!S_ISDIR(st.st_mode)) return bits;  // only a folder can be the kernel's
    struct stat parent;
    const dev_t parentDevice =
        ::stat(host.parent_path().c_str(), &parent) == 0 ? parent.st_dev : st.st_dev;
    if (IsKernelFolder(host, st, parentDevice)) bits |= attr::Hidden | attr::System;
    return bits;
}

bool WineFileSystem::SetAttributes(std::string_view path, std::uint32_t attributes) {
    auto host = Locate(path);
    struct stat st;
    if (!host) return Failed(ENOENT);
    if (::stat(host->c_str(), &st) != 0) return Failed(errno);
    const std::uint32_t marks = WithDosMarks(AttributesOf(st, host->filename().native()), *host) &
                                (attr::Hidden | attr::System);
    const std::uint32_t wantedMarks = (marks & attr::System) | (attributes & attr::Hidden);
    const bool newMarks = wantedMarks != marks && !ComponentsOf(path).empty();
    const mode_t mode = st.st_mode & 07777;
    mode_t wanted = mode;
    if (attributes & attr::ReadOnly) {
        // Wine ignores read-only on folders: their write bits decide who may add files.
        if (!S_ISDIR(st.st_mode)) wanted = mode & ~kWriteBits;
    } else if (IsReadOnly(st)) {
        // As Wine clears the mark: the owner may read and write, group and others may write
        // where they may read, and the umask has the last word.
        wanted =
            mode | ((S_IRUSR | S_IWUSR | ((mode & (S_IRGRP | S_IROTH)) >> 1)) & ~ProcessUmask());
    }
    // The marks' attribute can be written only while the file can: the marks go on before the
    // file becomes read-only or after it stops being so, and a file read-only before and after
    // lends its owner the write bit for that moment.
    if (newMarks && !IsReadOnly(st) && !StoreDosMarks(*host, wantedMarks)) return Failed(errno);
    if (wanted != mode && ::chmod(host->c_str(), wanted) != 0) return Failed(errno);
    if (newMarks && IsReadOnly(st)) {
        const bool lend = (wanted & kWriteBits) == 0;
        if (lend && ::chmod(host->c_str(), wanted | S_IWUSR) != 0) return Failed(errno);
        const bool stored = StoreDosMarks(*host, wantedMarks);
        const int error = errno;
        if (lend) ::chmod(host->c_str(), wanted);
        if (!stored) return Failed(error);
    }
    return true;
}

std::optional<std::vector<DirEntry>> WineFileSystem::List(std::string_view folder) const {
    return ListFolder(folder, false);
}

std::optional<std::vector<DirEntry>> WineFileSystem::ListForSearch(std::string_view folder) const {
    return ListFolder(folder, true);
}

std::optional<std::vector<DirEntry>> WineFileSystem::ListFolder(std::string_view folder,
                                                                bool quick) const {
    auto host = Locate(folder);
    if (!host) return Failed(ENOENT), std::nullopt;
    Folder listing(*host);
    if (!listing.ok()) return Failed(errno), std::nullopt;
    std::vector<DirEntry> entries;
    struct stat self;
    const dev_t device = ::fstat(listing.fd(), &self) == 0 ? self.st_dev : 0;
    while (const char* name = listing.Next()) {
        if (quick && listing.type() == DT_REG) {
            const bool hidden = name[0] == '.';
            entries.push_back(
                {WindowsName(name),
                 WithDosMarks(attr::Archive | (hidden ? attr::Hidden : 0u), *host / name)});
            continue;
        }
        struct stat st;
        // Follows links as Windows sees them; a link to nothing is not listed.
        if (::fstatat(listing.fd(), name, &st, 0) != 0) continue;
        std::uint32_t bits = WithDosMarks(AttributesOf(st, name), *host / name);
        if (IsKernelFolder(*host / name, st, device)) bits |= attr::Hidden | attr::System;
        entries.push_back({WindowsName(name), bits, static_cast<std::uint64_t>(st.st_dev),
                           static_cast<std::uint64_t>(st.st_ino)});
    }
    if (listing.failed()) return Failed(errno), std::nullopt;
    SortInDirectoryOrder(entries);
    return entries;
}

std::optional<std::pair<std::uint64_t, std::uint64_t>> WineFileSystem::FileIdentity(
    std::string_view path) const {
    auto host = Locate(path);
    struct stat st;
    if (!host || ::stat(host->c_str(), &st) != 0) return std::nullopt;
    return std::pair{static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)};
}

namespace {

FileStamp StampOf(const struct stat& st) {
    auto nanoseconds = [](const struct timespec& time) {
        return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    };
    FileStamp stamp{static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino),
                    static_cast<std::uint64_t>(st.st_size), nanoseconds(st.st_mtim),
                    nanoseconds(st.st_ctim)};
    constexpr std::int64_t kSettledAfterNs = 100'000'000;
    struct timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    stamp.settled =
        nanoseconds(now) - std::max(stamp.modifiedNs, stamp.changedNs) > kSettledAfterNs;
    return stamp;
}

}  // namespace

std::optional<FileStamp> WineFileSystem::Stamp(std::string_view path) const {
    fs::path host;
    struct stat st;
    if (!StatHost(path, host, st) || !S_ISREG(st.st_mode)) return std::nullopt;
    return StampOf(st);
}

std::optional<std::string> WineFileSystem::ReadAll(std::string_view path) const {
    std::optional<FileStamp> unused;
    return ReadStamped(path, unused);
}

std::optional<std::string> WineFileSystem::ReadStamped(std::string_view path,
                                                       std::optional<FileStamp>& stamp) const {
    stamp.reset();
    auto host = Locate(path);
    if (!host) return Failed(ENOENT), std::nullopt;
    int error = 0;
    struct stat st;
    auto content = ReadHostFile(*host, &error, &st);
    if (!content) return Failed(error), std::nullopt;
    stamp = StampOf(st);
    return content;
}

bool WineFileSystem::WriteAll(std::string_view path, std::string_view bytes) {
    return ReplaceContent(path, bytes, {});
}

bool WineFileSystem::ReplaceContent(std::string_view path, std::string_view bytes,
                                    std::string_view tempName) {
    auto host = Locate(path);
    if (!host || ComponentsOf(path).empty()) return Failed(ENOENT);
    // A file that is a link is written at its target, and the link stays.
    int error = 0;
    auto real = ResolveTrustedLink(*host, error);
    if (!real) return Failed(error);
    struct stat st;
    // Checked here because permission bits do not stop the superuser, and Windows refuses
    // writes to a read-only file whoever asks.
    if (::stat(real->c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode)) return Failed(EISDIR);
        if (IsReadOnly(st)) return Failed(kReadOnlyFile);
    }
    HostReplacement how;
    how.tempName = tempName.empty() ? TempNameFor(*real) : HostName(tempName);
    how.fill = [bytes](int fd) { return WriteFully(fd, bytes); };
    error = ReplaceHostEntry(*real, how);
    return error == 0 || Failed(error);
}

bool WineFileSystem::Rename(std::string_view from, std::string_view to) {
    auto source = Locate(from);
    auto target = Locate(to);
    if (!source || !target || ComponentsOf(from).empty() || ComponentsOf(to).empty())
        return Failed(ENOENT);
    struct stat st;
    if (::lstat(source->c_str(), &st) != 0) return Failed(errno);
    if (*source == *target) {
        // The same entry: at most a change of letter case in its name.
        fs::path respelled = target->parent_path() / HostName(ComponentsOf(to).back());
        if (respelled == *source) return true;
        target = respelled;
    } else {
        // A file that is a link stays a link: what is moved in takes its target's place.
        int error = 0;
        auto real = ResolveTrustedLink(*target, error);
        if (!real) return Failed(error);
        target = *real;
        if (::stat(target->c_str(), &st) == 0) {
            // Windows replaces neither a folder nor a read-only file.
            if (S_ISDIR(st.st_mode)) return Failed(EISDIR);
            if (IsReadOnly(st)) return Failed(kReadOnlyFile);
        }
    }
    // One step that replaces the target: no moment without either file.
    if (::rename(source->c_str(), target->c_str()) != 0) {
        if (errno != EXDEV) return Failed(errno);
        // A link's target on another file system: copied there through a temporary, and the
        // source goes only once the copy is in place.
        FileHandle in(::open(source->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!in.ok()) return Failed(errno);
        HostReplacement how;
        how.tempName = TempNameFor(*target);
        how.fill = [&in](int fd) { return CopyFully(in.fd(), fd); };
        if (const int error = ReplaceHostEntry(*target, how); error != 0) return Failed(error);
        if (::unlink(source->c_str()) != 0) return Failed(errno);
    }
    // The move is made; syncing the folders only makes it outlast a crash.
    SyncFolder(target->parent_path());
    if (source->parent_path() != target->parent_path()) SyncFolder(source->parent_path());
    return true;
}

bool WineFileSystem::Copy(std::string_view from, std::string_view to) {
    auto source = Locate(from);
    auto target = Locate(to);
    if (!source || !target || ComponentsOf(to).empty()) return Failed(ENOENT);
    // The copy may get another owner than its source (the folder's): a link of another user
    // must not make the superuser copy out a file that user could not read.
    int error = 0;
    source = ResolveTrustedLink(*source, error);
    if (!source) return Failed(error);
    FileHandle in(::open(source->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat sourceStat;
    if (!in.ok() || ::fstat(in.fd(), &sourceStat) != 0) return Failed(errno);
    if (!S_ISREG(sourceStat.st_mode)) return Failed(S_ISDIR(sourceStat.st_mode) ? EISDIR : EINVAL);
    struct stat targetStat;
    if (::stat(target->c_str(), &targetStat) == 0 && SameFile(sourceStat, targetStat))
        return Failed(EEXIST);
    // The target's own entry decides, not what a link there leads to: the copy replaces the
    // link itself and is never written through it.
    if (::lstat(target->c_str(), &targetStat) == 0) {
        if (S_ISDIR(targetStat.st_mode)) return Failed(EISDIR);
        if (S_ISREG(targetStat.st_mode) && IsReadOnly(targetStat)) return Failed(kReadOnlyFile);
    }
    HostReplacement how;
    how.tempName = TempNameFor(*target);
    how.fill = [&in](int fd) { return CopyFully(in.fd(), fd); };
    how.mode = sourceStat.st_mode & 0777;
    // The copy is as hidden as its source, whose name may be what hides it.
    const std::uint32_t marks =
        WithDosMarks(AttributesOf(sourceStat, source->filename().native()), *source) &
        (attr::Hidden | attr::System);
    how.dosAttribute = marks != 0 ? DosAttributeText(marks) : "";
    error = ReplaceHostEntry(*target, how);
    return error == 0 || Failed(error);
}

bool WineFileSystem::Remove(std::string_view path) {
    auto host = Locate(path);
    struct stat st;
    if (!host || ComponentsOf(path).empty()) return Failed(ENOENT);
    if (::lstat(host->c_str(), &st) != 0) return Failed(errno);
    return (S_ISDIR(st.st_mode) ? ::rmdir(host->c_str()) : ::unlink(host->c_str())) == 0 ||
           Failed(errno);
}

bool WineFileSystem::CreateFolder(std::string_view path) {
    auto host = Locate(path);
    if (!host) return Failed(ENOENT);
    // A drive's root is always there, whatever its host folder's state.
    if (ComponentsOf(path).empty()) return Failed(EEXIST);
    return ::mkdir(host->c_str(), 0777) == 0 || Failed(errno);
}

std::vector<DriveInfo> WineFileSystem::Drives() const {
    std::vector<DriveInfo> drives;
    for (const Drive& drive : drives_) {
        DriveType type = DriveTypeOf(drive.target);
        // The prefix's own word on a drive's kind comes first, as Wine takes it.
        for (auto [letter, kind] : registryTypes_)
            if (letter == drive.letter) type = kind;
        drives.push_back({std::string{drive.letter, ':', '\\'}, type});
    }
    return drives;
}

}  // namespace optera::platform
