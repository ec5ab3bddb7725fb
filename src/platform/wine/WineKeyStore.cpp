#include "platform/wine/WineKeyStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <optional>

#include "platform/wine/HostFiles.h"
#include "platform/wine/HostReplace.h"
#include "platform/wine/WineRegText.h"
#include "platform/wine/WineServerLock.h"
#include "text/CodePage.h"
#include "text/NoCase.h"

namespace optera::platform {

namespace fs = std::filesystem;
using Key = WineHive::Key;

namespace {

constexpr int kMachine = 0;
constexpr int kUser = 1;
constexpr int kDefaultUser = 2;
constexpr int kUsers = -1;  // HKEY_USERS itself, whose subkeys are the user hives
constexpr std::string_view kUserSid = "S-1-5-21-0-0-0-1000";
constexpr std::string_view kWow64Node = "Wow6432Node";

constexpr LONG kPathNotFound = 3;
constexpr LONG kBadPathname = 161;
constexpr LONG kAlreadyExists = 183;
constexpr LONG kRegistryCorrupt = 1015;
constexpr LONG kRegistryIoFailed = 1016;
constexpr DWORD kOptionOpenLink = 0x8;
constexpr REGSAM kAllAccess = 0xF003F;

// What an access mask allows, with the generic rights spelled out as Windows maps them for keys.
REGSAM Granted(REGSAM access) {
    if (access & (0x02000000 | 0x10000000)) return kAllAccess;  // MAXIMUM_ALLOWED, GENERIC_ALL
    if (access & 0x80000000) access |= regaccess::Read;
    if (access & 0x40000000) access |= regaccess::Write;
    return access;
}

bool SameName(std::string_view a, std::string_view b) {
    // Two ASCII names fold as their letters do, without the table (a path is walked name by
    // name). Other characters may fold to ASCII ones, so any other name takes the table.
    if (text::IsAscii(a) && text::IsAscii(b)) return text::EqualsNoCase(a, b);
    return CompareFoldedNames(FoldName(a), FoldName(b)) == 0;
}

// The components of a path, empty ones (doubled or outer backslashes) left out as Wine does.
std::vector<std::string> SplitPath(std::string_view path) {
    std::vector<std::string> parts;
    while (!path.empty()) {
        std::size_t slash = path.find('\\');
        if (slash != 0) parts.emplace_back(path.substr(0, slash));
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    }
    return parts;
}

// Wine takes no path that starts with a backslash, but drops one before a path below
// HKEY_CLASSES_ROOT that is opened or deleted (not one that is created), as Windows does.
bool AcceptPath(HKEY key, std::string_view& subKey, bool creating = false) {
    if (subKey.empty() || subKey[0] != '\\') return true;
    if (key != hkey::ClassesRoot || creating) return false;
    subKey.remove_prefix(1);
    return true;
}

std::string JoinPath(std::string path, const std::string& part) {
    return path.empty() ? part : path + "\\" + part;
}

// The current time as a FILETIME (100 ns units since 1601).
std::uint64_t Now() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 10000000u +
           static_cast<std::uint64_t>(now.tv_nsec) / 100u + 116444736000000000u;
}

// A value's data as the "A" functions give it: strings in the code page.
std::string CallerData(const RegFileValue& value) {
    if (IsStringType(value.type)) return CodePageFromUtf16(Utf16FromLeBytes(value.data));
    return std::string(value.data.begin(), value.data.end());
}

std::vector<std::uint8_t> StoredData(DWORD type, const std::uint8_t* data, DWORD length) {
    if (!data) return {};
    if (IsStringType(type))
        return Utf16LeBytes(
            Utf16FromCodePage(std::string_view(reinterpret_cast<const char*>(data), length)));
    return std::vector<std::uint8_t>(data, data + length);
}

// Copies a name into a caller's buffer of `*length` characters; 234 when it and its NUL do
// not fit.
LONG GiveName(const std::string& text, char* buffer, DWORD* length) {
    if (text.size() >= *length) return regerror::MoreData;
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    *length = static_cast<DWORD>(text.size());
    return regerror::Success;
}

LONG GiveValue(const RegFileValue& value, DWORD* type, std::uint8_t* data, DWORD* dataLength) {
    if (data && !dataLength) return regerror::InvalidParameter;
    const std::string bytes = CallerData(value);
    if (type) *type = value.type;
    if (data) {
        if (bytes.size() > *dataLength) {
            *dataLength = static_cast<DWORD>(bytes.size());
            return regerror::MoreData;
        }
        std::memcpy(data, bytes.data(), bytes.size());
        // As Windows does: a string stored without its NUL gets one when there is room (an
        // empty one gets nothing).
        if (IsStringType(value.type) && bytes.size() < *dataLength && !bytes.empty() &&
            bytes.back() != '\0')
            data[bytes.size()] = 0;
    }
    if (dataLength) *dataLength = static_cast<DWORD>(bytes.size());
    return regerror::Success;
}

std::string CannotSave(const WineHive& hive) {
    return "The registry file " + hive.path().string() +
           (hive.present() ? " is not a Wine registry file" : " is missing") +
           ", so Optera leaves the registry of this prefix alone.";
}

// The name a hive's root takes in a saved file.
std::string RootName(int hive) {
    return hive == kMachine ? "Machine" : hive == kUser ? std::string(kUserSid) : ".Default";
}

// Adds a key and the keys below it to a saved file, implied keys left implied.
void AddTree(RegFile& out, const Key& key, const std::string& path, bool top, std::uint64_t now) {
    if (top || key.HasLine()) {
        const std::uint64_t time = key.Modified() ? key.Modified() : now;
        RegFileKey& line = out.AddKey(path, time);
        line.className = key.ClassName();
        line.isLink = key.IsLink();
        for (const RegFileValue* value : key.Values()) out.SetValue(path, *value, time);
    }
    for (const Key* subkey : key.subkeys())
        if (!subkey->IsImpliedLink())
            AddTree(out, *subkey, path + "\\" + subkey->name(), false, now);
}

// The one top-level key of a saved file; "" when it has none or several.
std::string TopOf(const RegFile& saved) {
    std::string top;
    for (const RegFileKey* line : saved.Keys()) {
        std::vector<std::string> parts = SplitPath(line->path);
        if (parts.empty() || (!top.empty() && !SameName(parts[0], top))) return {};
        top = parts[0];
    }
    return top;
}

bool WriteNewFile(const fs::path& file, const std::string& bytes) {
    FileHandle handle(::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!handle.ok()) return false;
    if (WriteFully(handle.fd(), bytes) && ::fsync(handle.fd()) == 0 && handle.Close()) return true;
    ::unlink(file.c_str());
    return false;
}

}  // namespace

// A key as a path reached it: its hive and its place in that hive's tree. HKEY_USERS itself
// has no hive (kUsers) and no key.
struct WineKeyStore::Spot {
    int hive = kUsers;
    const Key* key = nullptr;
};

struct WineKeyStore::Walked {
    Spot at;                        // the last key reached
    bool found = false;             // the whole path was found
    std::vector<std::string> rest;  // the components not found, below `at`
    LONG code = regerror::Success;  // 2 for a link to nowhere
};

struct WineKeyStore::Subkey {
    std::string name;
    const Key* key;
};

// Checks that the prefix may be written, takes the wineserver's lock, and makes the next reads
// look at the files again, since they may have changed before the lock was taken.
class WineKeyStore::WriteLock {
  public:
    explicit WriteLock(WineKeyStore& store) {
        std::string why = store.WhyNotWritable();
        if (why.empty()) {
            lock_.emplace(store.prefix_);
            why = lock_->failure();
        }
        if (why.empty()) store.RemoveStrayTemporaries();
        code_ = why.empty() ? regerror::Success : store.Refuse(why);
        store.LookAgain();
    }
    LONG code() const { return code_; }

  private:
    std::optional<WineServerLock> lock_;
    LONG code_;
};

WineKeyStore::WineKeyStore(fs::path prefix) : prefix_(std::move(prefix)), files_(prefix_) {
    hives_[kMachine] = std::make_unique<WineHive>(prefix_ / "system.reg", true);
    hives_[kUser] = std::make_unique<WineHive>(prefix_ / "user.reg", false);
    hives_[kDefaultUser] = std::make_unique<WineHive>(prefix_ / "userdef.reg", false);
}

WineKeyStore::~WineKeyStore() = default;

void WineKeyStore::RemoveStrayTemporaries() const {
    for (const auto& hive : hives_) {
        const fs::path temp = hive->path().parent_path() / TempNameFor(hive->path());
        struct stat st;
        // A link of that name goes, never what it leads to; a folder is not ours.
        if (::lstat(temp.c_str(), &st) == 0 && !S_ISDIR(st.st_mode)) ::unlink(temp.c_str());
    }
}

// Each call reads a file at most once, so that keys found early in the call stay valid; while
// reads are held, the calls share that one look.
void WineKeyStore::BeginCall() const {
    if (heldReads_ == 0) ++call_;
}

void WineKeyStore::LookAgain() const {
    ++call_;
}

void WineKeyStore::HoldReads() {
    // The held look is taken at the first question, not kept from before the hold.
    if (heldReads_++ == 0) ++call_;
}

void WineKeyStore::ReleaseReads() {
    if (heldReads_ > 0) --heldReads_;
}

WineHive& WineKeyStore::Hive(int index) const {
    WineHive& hive = *hives_[index];
    if (refreshedIn_[index] != call_) {
        hive.Refresh();
        refreshedIn_[index] = call_;
    }
    return hive;
}

bool WineKeyStore::Win64() const {
    return Hive(kMachine).Arch() == "win64";
}

bool WineKeyStore::View32(REGSAM access) const {
    return !(access & regaccess::Wow64_64Key) && Win64();
}

LONG WineKeyStore::Start(HKEY key, REGSAM needed, Spot& spot) const {
    return Start(key, needed, spot, HandleView32(key));
}

LONG WineKeyStore::Start(HKEY key, REGSAM needed, Spot& spot, bool view32) const {
    const Spot machine{kMachine, &Hive(kMachine).root()};
    switch (key) {
        case hkey::LocalMachine:
            spot = machine;
            return regerror::Success;
        case hkey::CurrentUser:
            spot = Spot{kUser, &Hive(kUser).root()};
            return regerror::Success;
        case hkey::Users:
            spot = Spot{};
            return regerror::Success;
        case hkey::ClassesRoot:
        case hkey::CurrentConfig: {
            Walked root = Walk(machine,
                               key == hkey::ClassesRoot
                                   ? "Software\\Classes"
                                   : "System\\CurrentControlSet\\Hardware Profiles\\Current",
                               false, true);
            if (!root.found) return regerror::FileNotFound;
            spot = root.at;
            // The 32-bit view's classes root is the redirected one.
            if (key == hkey::ClassesRoot && view32)
                if (const Key* node = Node(spot)) spot.key = node;
            return regerror::Success;
        }
        default:
            break;
    }
    auto handle = handles_.find(key);
    if (handle == handles_.end()) return regerror::InvalidHandle;
    if ((Granted(handle->second.access) & needed) != needed) return regerror::AccessDenied;
    spot = Spot{handle->second.hive, nullptr};
    if (spot.hive == kUsers) return regerror::Success;
    spot.key = Hive(spot.hive).Find(handle->second.path);
    return spot.key ? regerror::Success : regerror::KeyDeleted;
}

const Key* WineKeyStore::Node(const Spot& spot) const {
    return spot.key && Win64() ? spot.key->Find(kWow64Node) : nullptr;
}

bool WineKeyStore::IsSharedClasses(const Spot& spot) const {
    return spot.hive == kMachine && spot.key && spot.key->parent() &&
           SameName(spot.key->path(), "Software\\Classes\\Wow6432Node") && Win64();
}

// A 32-bit caller is redirected once per path: at the first key below the start that has a
// Wow6432Node child, or at the end when none had one. A path that names Wow6432Node is not
// redirected past it, and neither is the first name below the start key, as Wine does.
WineKeyStore::Walked WineKeyStore::Walk(Spot at, std::string_view subKey, bool view32,
                                        bool followLast) const {
    const std::vector<std::string> parts = SplitPath(subKey);
    bool redirect = view32;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::string& part = parts[i];
        auto missing = [&] { return Walked{at, false, {parts.begin() + i, parts.end()}}; };
        if (!at.key) {
            int hive = SameName(part, ".Default") ? kDefaultUser
                       : SameName(part, kUserSid) ? kUser
                                                  : kUsers;
            if (hive == kUsers || !Hive(hive).present()) return missing();
            at = Spot{hive, &Hive(hive).root()};
            continue;
        }
        if (SameName(part, kWow64Node)) {
            redirect = false;
        } else if (const Key* node = redirect && i > 0 ? Node(at) : nullptr) {
            at.key = node;
            redirect = false;
        }
        const Key* child = at.key->Find(part);
        if (!child && view32 && IsSharedClasses(at) && !SameName(part, kWow64Node)) {
            // Shared classes: what the 32-bit view lacks is the 64-bit view's.
            at.key = at.key->parent();
            child = at.key->Find(part);
        }
        if (!child) return missing();
        at.key = child;
        if ((i + 1 < parts.size() || followLast) && !FollowLink(at, 0))
            return {at, false, {}, regerror::FileNotFound};
    }
    if (redirect && at.key && !at.key->IsLink() && Node(at)) at.key = Node(at);
    return {at, true, {}};
}

bool WineKeyStore::FollowLink(Spot& spot, int depth) const {
    if (!spot.key || !spot.key->IsLink()) return true;
    if (depth >= 16) return false;
    // "\Registry\Machine\<path>" or "\Registry\User\<sid>\<path>"
    std::vector<std::string> parts = SplitPath(Utf8FromUtf16(spot.key->LinkTarget()));
    if (parts.size() < 2 || !SameName(parts[0], "Registry")) return false;
    std::size_t next = 2;
    int hive = kUsers;
    if (SameName(parts[1], "Machine")) {
        hive = kMachine;
    } else if (SameName(parts[1], "User") && parts.size() > 2) {
        hive = SameName(parts[2], kUserSid)     ? kUser
               : SameName(parts[2], ".Default") ? kDefaultUser
                                                : kUsers;
        next = 3;
    }
    if (hive == kUsers) return false;
    Spot at{hive, &Hive(hive).root()};
    for (; next < parts.size(); ++next) {
        if (!(at.key = at.key->Find(parts[next])) || !FollowLink(at, depth + 1)) return false;
    }
    spot = at;
    return true;
}

bool WineKeyStore::HandleView32(HKEY key) const {
    auto handle = handles_.find(key);
    return View32(handle == handles_.end() ? 0 : handle->second.access);
}

struct WineKeyStore::SubkeyList {
    const Key* key = nullptr;
    std::uint64_t tree = 0;
    bool view32 = false;
    std::vector<Subkey> list;
};

const std::vector<WineKeyStore::Subkey>& WineKeyStore::Subkeys(const Spot& spot,
                                                               bool view32) const {
    // Enumeration asks once per index, and names are read from the file: the last key's list
    // is kept while its hive's tree stays the same.
    if (!listed_) listed_ = std::make_unique<SubkeyList>();
    SubkeyList& cache = *listed_;
    const std::uint64_t tree = spot.key ? Hive(spot.hive).generation() : 0;
    if (spot.key && cache.key == spot.key && cache.tree == tree && cache.view32 == view32)
        return cache.list;
    cache.key = spot.key;
    cache.tree = tree;
    cache.view32 = view32;
    cache.list = ListSubkeys(spot, view32);
    return cache.list;
}

std::vector<WineKeyStore::Subkey> WineKeyStore::ListSubkeys(const Spot& spot, bool view32) const {
    std::vector<Subkey> list;
    if (!spot.key) {
        if (Hive(kDefaultUser).present()) list.push_back({".Default", &Hive(kDefaultUser).root()});
        if (Hive(kUser).present()) list.push_back({std::string(kUserSid), &Hive(kUser).root()});
        return list;
    }
    for (const Key* subkey : spot.key->subkeys()) list.push_back({subkey->name(), subkey});
    if (!view32 || !IsSharedClasses(spot)) return list;
    std::vector<Subkey> shared;
    for (const Key* subkey : spot.key->parent()->subkeys())
        if (subkey != spot.key && !spot.key->Find(subkey->name()))
            shared.push_back({subkey->name(), subkey});
    std::vector<Subkey> merged;
    std::merge(list.begin(), list.end(), shared.begin(), shared.end(), std::back_inserter(merged),
               [](const Subkey& a, const Subkey& b) {
                   return CompareFoldedNames(FoldName(a.name), FoldName(b.name)) < 0;
               });
    return merged;
}

HKEY WineKeyStore::NewHandle(const Spot& spot, REGSAM access) {
    const HKEY handle = nextHandle_;
    nextHandle_ += 4;
    handles_[handle] = Handle{spot.hive, spot.key ? spot.key->path() : std::string(), access};
    return handle;
}

LONG WineKeyStore::Refuse(std::string reason) {
    lastRefusal_ = std::move(reason);
    return regerror::AccessDenied;
}

LONG WineKeyStore::RegOpenKeyExA(HKEY key, std::string_view subKey, DWORD options, REGSAM access,
                                 HKEY* result) {
    return Open(key, Utf8FromCodePage(subKey), options, access, result);
}

LONG WineKeyStore::RegOpenKeyExW(HKEY key, std::u16string_view subKey, DWORD options, REGSAM access,
                                 HKEY* result) {
    return Open(key, Utf8FromUtf16(subKey), options, access, result);
}

LONG WineKeyStore::Open(HKEY key, std::string_view subKey, DWORD options, REGSAM access,
                        HKEY* result) {
    if (!result) return regerror::InvalidParameter;
    *result = 0;
    if (!AcceptPath(key, subKey)) return kBadPathname;
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, 0, spot, View32(access))) return code;
    Walked walked = Walk(spot, subKey, View32(access), !(options & kOptionOpenLink));
    if (walked.code) return walked.code;
    if (!walked.found) return regerror::FileNotFound;
    *result = NewHandle(walked.at, access);
    return regerror::Success;
}

LONG WineKeyStore::RegCloseKey(HKEY key) {
    if (key >= hkey::ClassesRoot && key <= hkey::DynData) return regerror::Success;
    return handles_.erase(key) ? regerror::Success : regerror::InvalidHandle;
}

LONG WineKeyStore::RegQueryValueExA(HKEY key, std::string_view valueName, DWORD* type,
                                    std::uint8_t* data, DWORD* dataLength) {
    RegFileValue value;
    if (LONG code = QueryValue(key, Utf8FromCodePage(valueName), value)) return code;
    return GiveValue(value, type, data, dataLength);
}

LONG WineKeyStore::RegQueryValueExW(HKEY key, std::u16string_view valueName, DWORD& type,
                                    std::vector<std::uint8_t>& data) {
    RegFileValue value;
    if (LONG code = QueryValue(key, Utf8FromUtf16(valueName), value)) return code;
    type = value.type;
    data = std::move(value.data);
    return regerror::Success;
}

LONG WineKeyStore::QueryValue(HKEY key, std::string_view valueName, RegFileValue& value) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, regaccess::QueryValue, spot)) return code;
    const RegFileValue* found = spot.key ? spot.key->FindValue(valueName) : nullptr;
    if (!found) return regerror::FileNotFound;
    value = *found;
    return regerror::Success;
}

LONG WineKeyStore::RegSetValueExA(HKEY key, std::string_view valueName, DWORD type,
                                  const std::uint8_t* data, DWORD dataLength) {
    if (!data && dataLength) return regerror::InvalidParameter;
    return SetValue(key, {Utf8FromCodePage(valueName), type,
                          StoredData(type, data, StoredStringLength(type, data, dataLength))});
}

LONG WineKeyStore::RegSetValueExW(HKEY key, std::u16string_view valueName, DWORD type,
                                  const std::vector<std::uint8_t>& data) {
    return SetValue(key, {Utf8FromUtf16(valueName), type, data});
}

LONG WineKeyStore::SetValue(HKEY key, RegFileValue value) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, regaccess::SetValue, spot)) return code;
    WriteLock lock(*this);
    if (lock.code()) return lock.code();
    if (LONG code = Start(key, regaccess::SetValue, spot)) return code;
    if (!spot.key || !spot.key->parent())
        return Refuse("Values cannot be set on the root of HKEY_USERS or of a hive.");
    WineHive& hive = Hive(spot.hive);
    if (!hive.valid()) return Refuse(CannotSave(hive));

    const RegFileValue* old = spot.key->FindValue(value.name);
    // As in Wine, a value set to what it holds is no change: the file stays as it is.
    if (old && old->type == value.type && old->data == value.data) return regerror::Success;
    if (old) value.name = old->name;
    const std::string path = spot.key->path();
    hive.file().SetValue(path, value, Now());
    return hive.Commit() ? regerror::Success : kRegistryIoFailed;
}

LONG WineKeyStore::RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameLength,
                                 char* className, DWORD* classLength,
                                 std::uint64_t* lastWriteTime) {
    if (!name || !nameLength) return regerror::InvalidParameter;
    std::string utf8;
    const Key* subkey = nullptr;
    if (LONG code = SubkeyAt(key, index, utf8, subkey)) return code;
    const std::string text = CodePageFromUtf8(utf8);
    const std::string kind = CodePageFromUtf8(subkey->ClassName().value_or(""));
    if (text.size() >= *nameLength) return regerror::MoreData;
    if (className && classLength && kind.size() >= *classLength) return regerror::MoreData;
    GiveName(text, name, nameLength);
    if (className && classLength) GiveName(kind, className, classLength);
    if (classLength) *classLength = static_cast<DWORD>(kind.size());
    if (lastWriteTime) *lastWriteTime = subkey->Modified();
    return regerror::Success;
}

LONG WineKeyStore::RegEnumKeyExW(HKEY key, DWORD index, std::u16string& name) {
    std::string utf8;
    const Key* subkey = nullptr;
    if (LONG code = SubkeyAt(key, index, utf8, subkey)) return code;
    name = Utf16FromUtf8(utf8);
    return regerror::Success;
}

LONG WineKeyStore::SubkeyAt(HKEY key, DWORD index, std::string& name, const Key*& subkey) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, regaccess::EnumerateSubKeys, spot)) return code;
    const std::vector<Subkey>& list = Subkeys(spot, HandleView32(key));
    if (index >= list.size()) return regerror::NoMoreItems;
    name = list[index].name;
    subkey = list[index].key;
    return regerror::Success;
}

LONG WineKeyStore::RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD* type,
                                 std::uint8_t* data, DWORD* dataLength) {
    if (!name || !nameLength || (data && !dataLength)) return regerror::InvalidParameter;
    RegFileValue value;
    if (LONG code = ValueAt(key, index, value)) return code;
    if (LONG code = GiveName(CodePageFromUtf8(value.name), name, nameLength)) return code;
    return GiveValue(value, type, data, dataLength);
}

LONG WineKeyStore::RegEnumValueW(HKEY key, DWORD index, std::u16string& name, DWORD& type,
                                 std::vector<std::uint8_t>& data) {
    RegFileValue value;
    if (LONG code = ValueAt(key, index, value)) return code;
    name = Utf16FromUtf8(value.name);
    type = value.type;
    data = std::move(value.data);
    return regerror::Success;
}

LONG WineKeyStore::ValueAt(HKEY key, DWORD index, RegFileValue& value) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, regaccess::QueryValue, spot)) return code;
    const std::vector<const RegFileValue*> values =
        spot.key ? spot.key->Values() : std::vector<const RegFileValue*>();
    if (index >= values.size()) return regerror::NoMoreItems;
    value = *values[index];
    return regerror::Success;
}

LONG WineKeyStore::RegQueryInfoKeyA(HKEY key, char* className, DWORD* classLength, DWORD* subKeys,
                                    DWORD* maxSubKeyLength, DWORD* values,
                                    DWORD* maxValueNameLength, DWORD* maxValueLength,
                                    std::uint64_t* lastWriteTime) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, regaccess::QueryValue, spot)) return code;
    const std::string kind =
        spot.key ? CodePageFromUtf8(spot.key->ClassName().value_or("")) : std::string();
    if (className && classLength) {
        if (kind.size() >= *classLength) {
            *classLength = static_cast<DWORD>(kind.size());
            return regerror::MoreData;
        }
        GiveName(kind, className, classLength);
    }
    if (classLength) *classLength = static_cast<DWORD>(kind.size());

    const std::vector<Subkey>& list = Subkeys(spot, HandleView32(key));
    std::size_t longestKey = 0;
    for (const Subkey& subkey : list)
        longestKey = std::max(longestKey, Utf16FromUtf8(subkey.name).size());
    const std::vector<const RegFileValue*> own =
        spot.key ? spot.key->Values() : std::vector<const RegFileValue*>();
    std::size_t longestName = 0;
    std::size_t longestData = 0;
    for (const RegFileValue* value : own) {
        longestName = std::max(longestName, Utf16FromUtf8(value->name).size());
        longestData = std::max(longestData, value->data.size());
    }
    if (subKeys) *subKeys = static_cast<DWORD>(list.size());
    if (maxSubKeyLength) *maxSubKeyLength = static_cast<DWORD>(longestKey);
    if (values) *values = static_cast<DWORD>(own.size());
    if (maxValueNameLength) *maxValueNameLength = static_cast<DWORD>(longestName);
    if (maxValueLength) *maxValueLength = static_cast<DWORD>(longestData);
    if (lastWriteTime) *lastWriteTime = spot.key ? spot.key->Modified() : 0;
    return regerror::Success;
}

LONG WineKeyStore::RegCreateKeyExA(HKEY key, std::string_view subKey, DWORD /*reserved*/,
                                   std::string_view className, DWORD /*options*/, REGSAM access,
                                   HKEY* result, DWORD* disposition) {
    return Create(key, Utf8FromCodePage(subKey), Utf8FromCodePage(className), access, result,
                  disposition);
}

LONG WineKeyStore::RegCreateKeyExW(HKEY key, std::u16string_view subKey, REGSAM access,
                                   HKEY* result, DWORD* disposition) {
    return Create(key, Utf8FromUtf16(subKey), "", access, result, disposition);
}

LONG WineKeyStore::Create(HKEY key, std::string_view subKey, std::string_view className,
                          REGSAM access, HKEY* result, DWORD* disposition) {
    if (!result) return regerror::InvalidParameter;
    *result = 0;
    if (!AcceptPath(key, subKey, true)) return kBadPathname;
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, 0, spot, View32(access))) return code;
    Walked walked = Walk(spot, subKey, View32(access), true);
    if (walked.code) return walked.code;
    if (!walked.found) return CreateMissing(key, subKey, className, access, result, disposition);
    // An existing key is only opened: nothing is written.
    *result = NewHandle(walked.at, access);
    if (disposition) *disposition = regdisposition::OpenedExistingKey;
    return regerror::Success;
}

LONG WineKeyStore::CreateMissing(HKEY key, std::string_view subKey, std::string_view className,
                                 REGSAM access, HKEY* result, DWORD* disposition) {
    WriteLock lock(*this);
    if (lock.code()) return lock.code();
    Spot spot;
    if (LONG code = Start(key, 0, spot, View32(access))) return code;
    Walked walked = Walk(spot, subKey, View32(access), true);
    if (walked.code) return walked.code;
    DWORD made = regdisposition::OpenedExistingKey;
    if (!walked.found) {
        if (!walked.at.key) return Refuse("HKEY_USERS holds only the prefix's user hives.");
        WineHive& hive = Hive(walked.at.hive);
        if (!hive.valid()) return Refuse(CannotSave(hive));
        std::string path = walked.at.key->path();
        for (const std::string& part : walked.rest) path = JoinPath(std::move(path), part);
        RegFileKey& line = hive.file().AddKey(path, Now());
        if (!className.empty()) line.className = std::string(className);
        if (!hive.Commit()) return kRegistryIoFailed;
        walked.at.key = hive.Find(path);
        if (!walked.at.key) return kRegistryIoFailed;
        made = regdisposition::CreatedNewKey;
    }
    *result = NewHandle(walked.at, access);
    if (disposition) *disposition = made;
    return regerror::Success;
}

LONG WineKeyStore::RegDeleteKeyA(HKEY key, std::string_view subKey) {
    return DeleteKey(key, Utf8FromCodePage(subKey), 0);
}

LONG WineKeyStore::RegDeleteKeyExA(HKEY key, std::string_view subKey, REGSAM access,
                                   DWORD /*reserved*/) {
    return DeleteKey(key, Utf8FromCodePage(subKey), access);
}

LONG WineKeyStore::RegDeleteKeyExW(HKEY key, std::u16string_view subKey, REGSAM access) {
    return DeleteKey(key, Utf8FromUtf16(subKey), access);
}

LONG WineKeyStore::DeleteKey(HKEY key, std::string_view subKey, REGSAM access) {
    if (!AcceptPath(key, subKey)) return kBadPathname;
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, 0, spot)) return code;
    WriteLock lock(*this);
    if (lock.code()) return lock.code();
    if (LONG code = Start(key, 0, spot, View32(access))) return code;
    Walked walked = Walk(spot, subKey, View32(access), true);
    if (walked.code) return walked.code;
    if (!walked.found) return regerror::FileNotFound;
    const Key* target = walked.at.key;
    if (!target || !target->parent() || target->IsImpliedLink())
        return Refuse("The roots of the registry and Wine's own links cannot be deleted.");
    if (target->hasSubkeys()) return Refuse("A key that has subkeys cannot be deleted.");
    WineHive& hive = Hive(walked.at.hive);
    if (!hive.valid()) return Refuse(CannotSave(hive));

    // The file gives a parent that only held this key a line of its own, so that it stays.
    const std::string path = target->path();
    hive.file().DeleteKey(path, Now());
    return hive.Commit() ? regerror::Success : kRegistryIoFailed;
}

LONG WineKeyStore::RegDeleteValueA(HKEY key, std::string_view valueName) {
    return DeleteValue(key, Utf8FromCodePage(valueName));
}

LONG WineKeyStore::RegDeleteValueW(HKEY key, std::u16string_view valueName) {
    return DeleteValue(key, Utf8FromUtf16(valueName));
}

LONG WineKeyStore::DeleteValue(HKEY key, std::string_view valueName) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, regaccess::SetValue, spot)) return code;
    WriteLock lock(*this);
    if (lock.code()) return lock.code();
    if (LONG code = Start(key, regaccess::SetValue, spot)) return code;
    const RegFileValue* value = spot.key ? spot.key->FindValue(valueName) : nullptr;
    if (!value) return regerror::FileNotFound;
    WineHive& hive = Hive(spot.hive);
    if (!hive.valid()) return Refuse(CannotSave(hive));
    const std::string path = spot.key->path();
    const std::string name = value->name;
    hive.file().DeleteValue(path, name, Now());
    return hive.Commit() ? regerror::Success : kRegistryIoFailed;
}

LONG WineKeyStore::RegSaveKeyA(HKEY key, std::string_view fileName) {
    // A backup holds the key as it is now, not as a held look saw it.
    LookAgain();
    Spot spot;
    if (LONG code = Start(key, 0, spot)) return code;
    if (!spot.key) return regerror::AccessDenied;
    auto host = files_.ToHostPath(fileName);
    if (!host) return kPathNotFound;
    struct stat st;
    if (::lstat(host->c_str(), &st) == 0) return kAlreadyExists;
    RegFile saved = RegFile::Parse("WINE REGISTRY Version 2\n");
    const std::string top = !spot.key->parent() ? RootName(spot.hive) : spot.key->name();
    AddTree(saved, *spot.key, top, true, Now());
    return WriteNewFile(*host, saved.Serialize()) ? regerror::Success : kRegistryIoFailed;
}

LONG WineKeyStore::RegRestoreKeyA(HKEY key, std::string_view fileName, DWORD /*flags*/) {
    BeginCall();
    Spot spot;
    if (LONG code = Start(key, 0, spot)) return code;
    auto host = files_.ToHostPath(fileName);
    if (!host) return kPathNotFound;
    auto content = ReadHostFile(*host);
    if (!content) return regerror::FileNotFound;
    const RegFile saved = RegFile::Parse(*content);
    if (!saved.ok() || TopOf(saved).empty()) return kRegistryCorrupt;
    WriteLock lock(*this);
    if (lock.code()) return lock.code();
    if (LONG code = Start(key, 0, spot)) return code;
    return Restore(spot, saved);
}

LONG WineKeyStore::Restore(const Spot& spot, const RegFile& saved) {
    if (!spot.key || !spot.key->parent())
        return Refuse("The root of a hive is not replaced as a whole.");
    WineHive& hive = Hive(spot.hive);
    if (!hive.valid()) return Refuse(CannotSave(hive));
    const std::string base = spot.key->path();
    const std::uint64_t now = Now();
    RegFile& file = hive.file();
    // Deepest keys first. Deleting a key's last subkey gives it a line of its own, so rounds
    // go on until nothing is left below the key.
    for (bool more = true; more;) {
        std::vector<std::string> below;
        for (const RegFileKey* line : file.Below(base))
            if (line->path.size() > base.size()) below.push_back(line->path);
        std::sort(below.begin(), below.end(), [](const std::string& a, const std::string& b) {
            return std::count(a.begin(), a.end(), '\\') > std::count(b.begin(), b.end(), '\\');
        });
        more = false;
        for (const std::string& path : below) more = file.DeleteKey(path, now) || more;
    }
    if (const RegFileKey* own = file.Find(base)) {
        std::vector<std::string> names;
        for (const RegFileValue& value : own->values) names.push_back(value.name);
        for (const std::string& name : names) file.DeleteValue(base, name, now);
        RegFileKey& line = file.AddKey(base, now);
        line.className.reset();
        line.isLink = false;
    }
    for (const RegFileKey* line : saved.Keys()) {
        const std::size_t slash = line->path.find('\\');
        const std::string path =
            slash == std::string::npos ? base : base + line->path.substr(slash);
        const std::uint64_t time = line->modified ? line->modified : now;
        RegFileKey& made = file.AddKey(path, time);
        made.className = line->className;
        made.isLink = line->isLink;
        for (const RegFileValue& value : line->values) file.SetValue(path, value, time);
    }
    return hive.Commit() ? regerror::Success : kRegistryIoFailed;
}

bool WineKeyStore::IsWow64Process() const {
    BeginCall();
    return Win64();
}

bool WineKeyStore::OpenProcessToken(DWORD /*desiredAccess*/, std::uintptr_t* token) {
    if (token) *token = 1;
    return token != nullptr;
}

bool WineKeyStore::LookupPrivilegeValueA(std::string_view name, std::uint64_t* luid) {
    // Windows' numbers for the privileges that saving and restoring keys ask for.
    static constexpr std::pair<std::string_view, std::uint64_t> kKnown[] = {
        {"SeBackupPrivilege", 17}, {"SeRestorePrivilege", 18}, {"SeShutdownPrivilege", 19}};
    for (const auto& [known, number] : kKnown) {
        if (!SameName(name, known)) continue;
        if (luid) *luid = number;
        return luid != nullptr;
    }
    return false;
}

bool WineKeyStore::AdjustTokenPrivileges(std::uintptr_t /*token*/, std::uint64_t /*luid*/,
                                         DWORD /*attributes*/) {
    return true;
}

std::string WineKeyStore::WhyNotWritable() const {
    std::error_code error;
    if (!fs::is_directory(prefix_, error))
        return "There is no Wine prefix at " + prefix_.string() +
               ", so its registry cannot be changed.";
    if (std::string running = WineServerRunningReason(prefix_); !running.empty()) return running;
    LookAgain();
    for (int index : {kMachine, kUser})
        if (!Hive(index).valid()) return CannotSave(Hive(index));
    return {};
}

}  // namespace optera::platform
