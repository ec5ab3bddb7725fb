#include "platform/wine/WineHive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <unordered_map>

#include "platform/wine/HostFiles.h"
#include "platform/wine/HostReplace.h"
#include "platform/wine/WineRegText.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

using KeyIndex = std::unordered_map<std::u16string, WineHive::Key*>;

std::vector<std::string_view> Components(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        std::size_t slash = path.find('\\');
        std::string_view part = path.substr(0, slash);
        if (!part.empty()) parts.push_back(part);
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    }
    return parts;
}

bool InWineOrder(const std::unique_ptr<WineHive::Key>& a, const std::unique_ptr<WineHive::Key>& b) {
    return CompareFoldedNames(a->folded, b->folded) < 0;
}

void SortTree(WineHive::Key& key) {
    std::stable_sort(key.subkeys.begin(), key.subkeys.end(), InWineOrder);
    for (auto& subkey : key.subkeys) SortTree(*subkey);
}

// The key at `path`, made with the keys above it when the tree does not have it yet.
WineHive::Key* Ensure(WineHive::Key& root, std::string_view path, KeyIndex& index) {
    WineHive::Key* at = &root;
    std::u16string folded;
    for (std::string_view part : Components(path)) {
        std::u16string name = FoldName(part);
        folded += u'\\';
        folded += name;
        if (auto found = index.find(folded); found != index.end()) {
            at = found->second;
            continue;
        }
        auto key = std::make_unique<WineHive::Key>();
        key->name = std::string(part);
        key->folded = std::move(name);
        key->path = at->path.empty() ? key->name : at->path + "\\" + key->name;
        key->parent = at;
        WineHive::Key* made = key.get();
        at->subkeys.push_back(std::move(key));
        index.emplace(folded, made);
        at = made;
    }
    return at;
}

// A file replaced as a whole through an exclusive temporary beside it, with the mode and owner
// of the file it replaces (see HostReplace.h).
bool ReplaceKeepingMode(const fs::path& file, const std::string& bytes, struct stat& written) {
    HostReplacement how;
    how.tempName = TempNameFor(file);
    how.fill = [&bytes](int fd) { return WriteFully(fd, bytes); };
    if (::lstat(file.c_str(), &written) != 0) how.mode = 0644;
    how.written = &written;
    return ReplaceHostEntry(file, how) == 0;
}

}  // namespace

const WineHive::Key* WineHive::Key::Find(std::string_view subkeyName) const {
    const std::u16string wanted = FoldName(subkeyName);
    auto found = std::lower_bound(subkeys.begin(), subkeys.end(), wanted,
                                  [](const std::unique_ptr<Key>& key, const std::u16string& f) {
                                      return CompareFoldedNames(key->folded, f) < 0;
                                  });
    if (found == subkeys.end() || CompareFoldedNames((*found)->folded, wanted) != 0) return nullptr;
    return found->get();
}

bool WineHive::Key::IsLink() const {
    return !impliedLink.empty() ||
           std::any_of(lines.begin(), lines.end(), [](const RegFileKey* l) { return l->isLink; });
}

std::u16string WineHive::Key::LinkTarget() const {
    if (!impliedLink.empty()) return impliedLink;
    const RegFileValue* value = FindValue("SymbolicLinkValue");
    if (!value) return {};
    std::u16string target = Utf16FromLeBytes(value->data);
    while (!target.empty() && target.back() == u'\0') target.pop_back();
    return target;
}

const RegFileValue* WineHive::Key::FindValue(std::string_view valueName) const {
    SortValues();
    const std::u16string wanted = FoldName(valueName);
    auto found = std::lower_bound(foldedValues_.begin(), foldedValues_.end(), wanted,
                                  [](const std::u16string& a, const std::u16string& b) {
                                      return CompareFoldedNames(a, b) < 0;
                                  });
    if (found == foldedValues_.end() || *found != wanted) return nullptr;
    return values_[found - foldedValues_.begin()];
}

const std::vector<const RegFileValue*>& WineHive::Key::Values() const {
    SortValues();
    return values_;
}

void WineHive::Key::SortValues() const {
    if (sorted_) return;
    sorted_ = true;
    struct Named {
        std::u16string folded;
        std::size_t order;
        const RegFileValue* value;
    };
    std::vector<Named> named;
    for (const RegFileKey* line : lines)
        for (const RegFileValue& value : line->values)
            named.push_back({FoldName(value.name), named.size(), &value});
    std::sort(named.begin(), named.end(), [](const Named& a, const Named& b) {
        int order = CompareFoldedNames(a.folded, b.folded);
        return order != 0 ? order < 0 : a.order < b.order;
    });
    // Of values with the same name the last one read counts, as when Wine loads the file.
    for (std::size_t i = 0; i < named.size(); ++i) {
        if (i + 1 < named.size() && named[i + 1].folded == named[i].folded) continue;
        foldedValues_.push_back(std::move(named[i].folded));
        values_.push_back(named[i].value);
    }
}

const std::optional<std::string>& WineHive::Key::ClassName() const {
    static const std::optional<std::string> kNone;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line)
        if ((*line)->className) return (*line)->className;
    return kNone;
}

std::uint64_t WineHive::Key::Modified() const {
    std::uint64_t latest = 0;
    for (const RegFileKey* line : lines) latest = std::max(latest, line->modified);
    return latest;
}

bool WineHive::Stamp::Same(const Stamp& other) const {
    return dev == other.dev && ino == other.ino && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

WineHive::WineHive(fs::path file, bool machine)
    : path_(std::move(file)), machine_(machine), root_(std::make_unique<Key>()) {}

WineHive::~WineHive() = default;

void WineHive::Refresh() {
    struct stat st;
    if (::stat(path_.c_str(), &st) != 0) {
        if (!loaded_ || present_) Clear();
        return;
    }
    const Stamp now{st.st_dev, st.st_ino, st.st_size, st.st_mtim};
    if (loaded_ && present_ && stamp_.Same(now)) return;
    Load();
}

void WineHive::Clear() {
    loaded_ = true;
    present_ = false;
    stamp_ = Stamp{};
    bytes_.clear();
    file_ = RegFile::Parse("");
    BuildTree();
}

void WineHive::Load() {
    // The stamp is taken from the descriptor that is read, so that a file replaced meanwhile
    // is noticed at the next Refresh.
    FileHandle handle(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st;
    if (!handle.ok() || ::fstat(handle.fd(), &st) != 0 || !S_ISREG(st.st_mode)) return Clear();
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(st.st_size));
    char buffer[64 * 1024];
    for (;;) {
        ssize_t got = ::read(handle.fd(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return Clear();
        if (got == 0) break;
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
    loaded_ = true;
    present_ = true;
    stamp_ = Stamp{st.st_dev, st.st_ino, st.st_size, st.st_mtim};
    bytes_ = std::move(bytes);
    file_ = RegFile::Parse(bytes_);
    BuildTree();
}

void WineHive::BuildTree() {
    root_ = std::make_unique<Key>();
    // Wine loads a file without its header as an empty hive.
    if (!file_.ok()) return;
    KeyIndex index;
    for (const RegFileKey* line : file_.Keys())
        Ensure(*root_, line->path, index)->lines.push_back(line);
    // Wine makes CurrentControlSet a link to ControlSet001 when it starts and does not save it;
    // files of older Wine versions hold CurrentControlSet itself instead.
    auto system = index.find(u"\\system");
    if (machine_ && system != index.end() && !system->second->Find("CurrentControlSet")) {
        if (const Key* set = system->second->Find("ControlSet001")) {
            Key* link = Ensure(*root_, system->second->path + "\\CurrentControlSet", index);
            link->impliedLink = u"\\Registry\\Machine\\" + Utf16FromUtf8(set->path);
        }
    }
    SortTree(*root_);
}

const WineHive::Key* WineHive::Find(std::string_view path) const {
    const Key* at = root_.get();
    for (std::string_view part : Components(path))
        if (!(at = at->Find(part))) return nullptr;
    return at;
}

bool WineHive::Commit() {
    std::string bytes = file_.Serialize();
    // A file whose header Wine would not take, or whose width changed, would make Wine load an
    // empty or 32-bit registry and save that over the prefix: such bytes are never written.
    if (bytes != bytes_) {
        const RegFile check = RegFile::Parse(bytes);
        if (!check.ok() || check.Arch() != file_.Arch() || !Save(bytes)) {
            Load();
            return false;
        }
    }
    bytes_ = std::move(bytes);
    BuildTree();
    return true;
}

void WineHive::Discard() {
    file_ = RegFile::Parse(bytes_);
    BuildTree();
}

bool WineHive::Save(const std::string& bytes) {
    // A hive that is a link to a file elsewhere stays a link: its target is replaced, when the
    // link is one to follow.
    int error = 0;
    std::optional<fs::path> real = ResolveTrustedLink(path_, error);
    if (!real) return false;
    const fs::path& target = *real;
    struct stat written;
    if (!ReplaceKeepingMode(target, bytes, written)) return false;
    if (target != path_ && ::stat(path_.c_str(), &written) != 0) return false;
    stamp_ = Stamp{written.st_dev, written.st_ino, written.st_size, written.st_mtim};
    return true;
}

}  // namespace optera::platform
