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

constexpr std::uint32_t kNone = RegFile::kNoKey;

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

// The component at `depth` (0 for the first) of a path whose components are joined by single
// backslashes.
std::string_view ComponentAt(std::string_view path, std::size_t depth) {
    for (; depth > 0; --depth) {
        const std::size_t slash = path.find('\\');
        if (slash == std::string_view::npos) return {};
        path.remove_prefix(slash + 1);
    }
    return path.substr(0, path.find('\\'));
}

// Empties a file and gives its room back. (Moving an empty file over it would not: a short
// string is copied into the room of the text it replaces.)
void Drop(RegFile& file) {
    RegFile old = RegFile::Parse("");
    std::swap(old, file);
}

// Collects small pieces into writes of a useful size; large ones go out as they are.
class BufferedWrite {
  public:
    explicit BufferedWrite(int fd) : fd_(fd) { buffer_.reserve(kSize); }
    bool Put(std::string_view piece) {
        if (buffer_.size() + piece.size() <= kSize) {
            buffer_ += piece;
            return true;
        }
        if (!Flush()) return false;
        if (piece.size() < kSize) {
            buffer_ += piece;
            return true;
        }
        return WriteFully(fd_, piece);
    }
    bool Flush() {
        const bool ok = WriteFully(fd_, buffer_);
        buffer_.clear();
        return ok;
    }

  private:
    static constexpr std::size_t kSize = 256 * 1024;
    int fd_;
    std::string buffer_;
};

// A file replaced as a whole through an exclusive temporary beside it, with the mode and owner
// of the file it replaces (see HostReplace.h). The bytes go straight from `file` to the disk.
bool ReplaceKeepingMode(const fs::path& target, const RegFile& file, struct stat& written) {
    HostReplacement how;
    how.tempName = TempNameFor(target);
    how.fill = [&file](int fd) {
        BufferedWrite out(fd);
        return file.Write([&out](std::string_view piece) { return out.Put(piece); }) && out.Flush();
    };
    if (::lstat(target.c_str(), &written) != 0) how.mode = 0644;
    how.written = &written;
    return ReplaceHostEntry(target, how) == 0;
}

}  // namespace

std::uint32_t WineHive::Key::index() const {
    return static_cast<std::uint32_t>(this - hive_->nodes_.data());
}

RegFile::KeyId WineHive::Key::line() const {
    const std::uint32_t at = index();
    if (at == hive_->root_) return hive_->rootLine_;
    return at < hive_->lineCount_ ? at : kNone;
}

std::string WineHive::Key::name() const {
    if (IsImpliedLink()) return "CurrentControlSet";
    if (parent_ == kNone) return {};
    std::size_t depth = 0;
    for (const Key* key = parent(); key->parent_ != kNone; key = key->parent()) ++depth;
    return std::string(ComponentAt(hive_->file_.KeyPath(nameFrom_), depth));
}

std::string WineHive::Key::path() const {
    std::vector<const Key*> chain;
    for (const Key* key = this; key->parent_ != kNone; key = key->parent()) chain.push_back(key);
    std::string path;
    RegFile::KeyId decoded = kNone;
    std::string spelled;  // the path of `decoded`, which most keys on the way share
    for (std::size_t depth = 0; depth < chain.size(); ++depth) {
        const Key* key = chain[chain.size() - 1 - depth];
        if (!path.empty()) path += '\\';
        if (key->IsImpliedLink()) {
            path += key->name();
            continue;
        }
        if (key->nameFrom_ != decoded) {
            decoded = key->nameFrom_;
            spelled = hive_->file_.KeyPath(decoded);
        }
        path += ComponentAt(spelled, depth);
    }
    return path;
}

const WineHive::Key* WineHive::Key::parent() const {
    return parent_ == kNone ? nullptr : &hive_->nodes_[parent_];
}

std::vector<const WineHive::Key*> WineHive::Key::subkeys() const {
    const std::uint32_t at = index();
    std::vector<const Key*> keys;
    keys.reserve(hive_->firstSubkey_[at + 1] - hive_->firstSubkey_[at]);
    for (std::uint32_t i = hive_->firstSubkey_[at]; i < hive_->firstSubkey_[at + 1]; ++i)
        keys.push_back(&hive_->nodes_[hive_->subkeys_[i]]);
    return keys;
}

bool WineHive::Key::hasSubkeys() const {
    const std::uint32_t at = index();
    return hive_->firstSubkey_[at + 1] > hive_->firstSubkey_[at];
}

bool WineHive::Key::IsImpliedLink() const {
    return index() == hive_->impliedLink_;
}

const WineHive::Key* WineHive::Key::Find(std::string_view subkeyName) const {
    const std::u16string wanted = FoldName(subkeyName);
    const std::uint32_t at = index();
    const auto first = hive_->subkeys_.begin() + hive_->firstSubkey_[at];
    const auto last = hive_->subkeys_.begin() + hive_->firstSubkey_[at + 1];
    auto found =
        std::lower_bound(first, last, wanted, [this](std::uint32_t key, const std::u16string& f) {
            return CompareFoldedNames(FoldName(hive_->nodes_[key].name()), f) < 0;
        });
    if (found == last || CompareFoldedNames(FoldName(hive_->nodes_[*found].name()), wanted) != 0)
        return nullptr;
    return &hive_->nodes_[*found];
}

bool WineHive::Key::IsLink() const {
    return IsImpliedLink() || (HasLine() && hive_->file_.KeyAt(line()).isLink);
}

std::u16string WineHive::Key::LinkTarget() const {
    if (IsImpliedLink()) return hive_->impliedLinkTarget_;
    const RegFileValue* value = FindValue("SymbolicLinkValue");
    if (!value) return {};
    std::u16string target = Utf16FromLeBytes(value->data);
    while (!target.empty() && target.back() == u'\0') target.pop_back();
    return target;
}

const RegFileValue* WineHive::Key::FindValue(std::string_view valueName) const {
    const SortedValues& sorted = hive_->ValuesOf(*this);
    const std::u16string wanted = FoldName(valueName);
    auto found = std::lower_bound(sorted.folded.begin(), sorted.folded.end(), wanted,
                                  [](const std::u16string& a, const std::u16string& b) {
                                      return CompareFoldedNames(a, b) < 0;
                                  });
    if (found == sorted.folded.end() || *found != wanted) return nullptr;
    return sorted.values[static_cast<std::size_t>(found - sorted.folded.begin())];
}

const std::vector<const RegFileValue*>& WineHive::Key::Values() const {
    return hive_->ValuesOf(*this).values;
}

const WineHive::SortedValues& WineHive::ValuesOf(const Key& key) const {
    auto [at, made] = sortedValues_.try_emplace(key.index());
    SortedValues& sorted = at->second;
    if (!made || !key.HasLine()) return sorted;
    struct Named {
        std::u16string folded;
        std::size_t order;
        const RegFileValue* value;
    };
    std::vector<Named> named;
    for (const RegFileValue& value : file_.KeyAt(key.line()).values)
        named.push_back({FoldName(value.name), named.size(), &value});
    std::sort(named.begin(), named.end(), [](const Named& a, const Named& b) {
        int order = CompareFoldedNames(a.folded, b.folded);
        return order != 0 ? order < 0 : a.order < b.order;
    });
    // Of values with the same name the last one read counts, as when Wine loads the file.
    for (std::size_t i = 0; i < named.size(); ++i) {
        if (i + 1 < named.size() && named[i + 1].folded == named[i].folded) continue;
        sorted.folded.push_back(std::move(named[i].folded));
        sorted.values.push_back(named[i].value);
    }
    return sorted;
}

const std::optional<std::string>& WineHive::Key::ClassName() const {
    static const std::optional<std::string> kNoClass;
    return HasLine() ? hive_->file_.KeyAt(line()).className : kNoClass;
}

std::uint64_t WineHive::Key::Modified() const {
    return HasLine() ? hive_->file_.KeyAt(line()).modified : 0;
}

bool WineHive::Stamp::Same(const Stamp& other) const {
    return dev == other.dev && ino == other.ino && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

WineHive::WineHive(fs::path file, bool machine) : path_(std::move(file)), machine_(machine) {
    BuildTree();
}

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
    Drop(file_);
    BuildTree();
}

void WineHive::Load() {
    // What was read before goes first, so that two versions of the file are never held.
    Drop(file_);
    BuildTree();
    // The stamp is taken from the descriptor that is read, so that a file replaced meanwhile
    // is noticed at the next Refresh.
    FileHandle handle(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st;
    if (!handle.ok() || ::fstat(handle.fd(), &st) != 0 || !S_ISREG(st.st_mode)) return Clear();
    // Read in place: a string grown on the way would hold the file twice for a moment.
    std::string bytes(static_cast<std::size_t>(st.st_size), '\0');
    std::size_t size = 0;
    for (;;) {
        char more[4096];  // what a file that grew meanwhile has past its old size
        const bool full = size == bytes.size();
        ssize_t got = full ? ::read(handle.fd(), more, sizeof more)
                           : ::read(handle.fd(), bytes.data() + size, bytes.size() - size);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return Clear();
        if (got == 0) break;
        if (full) bytes.append(more, static_cast<std::size_t>(got));
        size += static_cast<std::size_t>(got);
    }
    bytes.resize(size);
    loaded_ = true;
    present_ = true;
    stamp_ = Stamp{st.st_dev, st.st_ino, st.st_size, st.st_mtim};
    file_ = RegFile::Parse(std::move(bytes));
    BuildTree();
}

void WineHive::BuildTree() {
    static std::uint64_t trees = 0;  // over all hives, so that no two trees share a number
    generation_ = ++trees;
    sortedValues_.clear();
    impliedLink_ = kNone;
    impliedLinkTarget_.clear();
    rootLine_ = kNone;
    // Wine loads a file without its header as an empty hive.
    lineCount_ = file_.ok() ? static_cast<std::uint32_t>(file_.KeyCount()) : 0;
    root_ = lineCount_;
    std::vector<Key>().swap(nodes_);  // the old tree's room goes back
    // Room for as many keys without a line as with one: room not used costs nothing, and
    // growing would hold the keys twice for a moment.
    nodes_.reserve(2 * std::size_t{lineCount_} + 2);
    nodes_.assign(lineCount_ + 1, Key{});
    std::unordered_map<std::u16string, std::uint32_t> implied;  // keys without a line
    std::vector<std::uint32_t> seen;  // keys in the order the file first names them
    seen.reserve(nodes_.capacity());
    // The key of a path, made (without a line) when the file has no line for it.
    auto nodeOf = [&](std::string_view path, std::uint32_t parent, RegFile::KeyId spelling) {
        std::uint32_t node = file_.IdOf(path);
        if (node == kNone) {
            auto [at, made] = implied.try_emplace(FoldName(path), 0);
            if (made) {
                at->second = static_cast<std::uint32_t>(nodes_.size());
                nodes_.emplace_back();
            }
            node = at->second;
        }
        if (nodes_[node].nameFrom_ == kNone) {
            nodes_[node].parent_ = parent;
            nodes_[node].nameFrom_ = spelling;
            seen.push_back(node);
        }
        return node;
    };
    if (lineCount_ > 0) {
        // The keys of the path before, by folded name: Wine writes keys in order, so most of a
        // path is the same as the one before it.
        std::vector<std::pair<std::u16string, std::uint32_t>> last;
        file_.ForEachKey([&](RegFile::KeyId id, std::string_view path) {
            const std::vector<std::string_view> parts = Components(path);
            if (parts.empty()) {
                rootLine_ = id;
                return;
            }
            std::uint32_t parent = root_;
            std::size_t depth = 0;
            for (; depth + 1 < parts.size(); ++depth) {
                std::u16string folded = FoldName(parts[depth]);
                if (depth < last.size() && last[depth].first == folded) {
                    parent = last[depth].second;
                    continue;
                }
                last.resize(depth);
                const std::string_view prefix =
                    path.substr(0, static_cast<std::size_t>(parts[depth].end() - path.begin()));
                parent = nodeOf(prefix, parent, id);
                last.emplace_back(std::move(folded), parent);
            }
            last.resize(depth);
            if (nodes_[id].nameFrom_ == kNone) {
                nodes_[id].parent_ = parent;
                nodes_[id].nameFrom_ = id;
                seen.push_back(id);
            }
            last.emplace_back(FoldName(parts.back()), id);
        });
    }
    for (Key& key : nodes_) key.hive_ = this;

    // Wine makes CurrentControlSet a link to ControlSet001 when it starts and does not save it;
    // files of older Wine versions hold CurrentControlSet itself instead.
    auto existing = [&](std::string_view path) {
        const std::uint32_t line = file_.IdOf(path);
        if (line != kNone) return line;
        auto at = implied.find(FoldName(path));
        return at == implied.end() ? kNone : at->second;
    };
    const std::uint32_t system = machine_ ? existing("System") : kNone;
    const std::uint32_t set = system != kNone ? existing("System\\ControlSet001") : kNone;
    if (set != kNone && existing("System\\CurrentControlSet") == kNone) {
        impliedLink_ = static_cast<std::uint32_t>(nodes_.size());
        seen.push_back(impliedLink_);
        Key link;
        link.hive_ = this;
        link.parent_ = system;
        nodes_.push_back(link);
        impliedLinkTarget_ = u"\\Registry\\Machine\\" + Utf16FromUtf8(nodes_[set].path());
    }
    SortSubkeys(seen);
}

// Lists each key's subkeys in Wine's order. A file in that order names them in it, so they are
// listed as the file first names them, and sorted only where the file's order was another.
void WineHive::SortSubkeys(const std::vector<std::uint32_t>& seen) {
    const std::size_t count = nodes_.size();
    std::vector<std::uint32_t>().swap(firstSubkey_);
    std::vector<std::uint32_t>().swap(subkeys_);
    firstSubkey_.assign(count + 1, 0);
    for (const Key& key : nodes_)
        if (key.parent_ != kNone) ++firstSubkey_[key.parent_ + 1];
    for (std::size_t i = 0; i < count; ++i) firstSubkey_[i + 1] += firstSubkey_[i];
    subkeys_.assign(firstSubkey_[count], 0);
    // Each list is filled with its start as the cursor, which leaves the cursor at the start of
    // the next list; a shift by one puts every start back.
    for (std::uint32_t node : seen) {
        const std::uint32_t parent = nodes_[node].parent_;
        if (parent != kNone) subkeys_[firstSubkey_[parent]++] = node;
    }
    for (std::size_t i = count; i > 0; --i) firstSubkey_[i] = firstSubkey_[i - 1];
    firstSubkey_[0] = 0;
    std::vector<std::pair<std::u16string, std::uint32_t>> named;
    for (std::size_t i = 0; i < count; ++i) {
        const auto first = subkeys_.begin() + firstSubkey_[i];
        const auto last = subkeys_.begin() + firstSubkey_[i + 1];
        if (last - first < 2) continue;
        bool sorted = true;
        std::u16string before = FoldName(nodes_[*first].name());
        for (auto at = first + 1; at != last && sorted; ++at) {
            std::u16string name = FoldName(nodes_[*at].name());
            sorted = CompareFoldedNames(before, name) < 0;
            before = std::move(name);
        }
        if (sorted) continue;
        named.clear();
        for (auto at = first; at != last; ++at)
            named.emplace_back(FoldName(nodes_[*at].name()), *at);
        std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) {
            return CompareFoldedNames(a.first, b.first) < 0;
        });
        for (std::size_t j = 0; j < named.size(); ++j) first[j] = named[j].second;
    }
}

const WineHive::Key* WineHive::Find(std::string_view path) const {
    const Key* at = &root();
    for (std::string_view part : Components(path))
        if (!(at = at->Find(part))) return nullptr;
    return at;
}

bool WineHive::Commit() {
    if (file_.Unchanged()) {
        Discard();
        return true;
    }
    // A file whose header Wine would not take, or whose width changed, would make Wine load an
    // empty or 32-bit registry and save that over the prefix: such bytes are never written.
    const bool saved = file_.WritesSameHeader() && Save();
    Load();
    return saved;
}

void WineHive::Discard() {
    Load();
}

bool WineHive::Save() {
    // A hive that is a link to a file elsewhere stays a link: its target is replaced, when the
    // link is one to follow.
    int error = 0;
    std::optional<fs::path> real = ResolveTrustedLink(path_, error);
    if (!real) return false;
    const fs::path& target = *real;
    struct stat written;
    if (!ReplaceKeepingMode(target, file_, written)) return false;
    if (target != path_ && ::stat(path_.c_str(), &written) != 0) return false;
    stamp_ = Stamp{written.st_dev, written.st_ino, written.st_size, written.st_mtim};
    return true;
}

}  // namespace optera::platform
