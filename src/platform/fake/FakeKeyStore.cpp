#include "platform/fake/FakeKeyStore.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "text/Split.h"

namespace optera::platform {

namespace {

constexpr LONG kBadPathname = 161;
constexpr LONG kAlreadyExists = 183;
constexpr LONG kBadDatabase = 1009;
constexpr LONG kPrivilegeNotHeld = 1314;
constexpr std::uint64_t kBackupLuid = 17;
constexpr std::uint64_t kRestoreLuid = 18;
constexpr std::size_t kMaxKeyName = 255;
constexpr std::string_view kWow6432Node = "Wow6432Node";

// The components of a key path, empty ones (doubled or trailing backslashes) left out as Wine
// does.
std::vector<std::string> PathComponents(std::string_view path) {
    std::vector<std::string> parts;
    for (std::string& part : text::Split(path, "\\"))
        if (!part.empty()) parts.push_back(std::move(part));
    return parts;
}

// No path may start with a backslash, but one before a path below HKEY_CLASSES_ROOT that is
// opened or deleted is dropped, as Windows does.
bool AcceptPath(HKEY key, std::string_view& path, bool creating) {
    if (path.empty() || path[0] != '\\') return true;
    if (key != hkey::ClassesRoot || creating) return false;
    path.remove_prefix(1);
    return true;
}

// Copies a name and its terminator into a caller's buffer of *length characters.
LONG CopyName(const std::string& source, char* buffer, DWORD* length) {
    if (buffer == nullptr || length == nullptr) return regerror::InvalidParameter;
    if (*length < source.size() + 1) return regerror::MoreData;
    std::memcpy(buffer, source.data(), source.size());
    buffer[source.size()] = '\0';
    *length = static_cast<DWORD>(source.size());
    return regerror::Success;
}

// Copies value data into a caller's buffer: only the size without a buffer, 234 with the size
// needed when the buffer is too small. As Windows does, a string stored without its NUL gets
// one when there is room (not counted in the size); an empty one gets nothing.
LONG CopyData(DWORD type, const std::string& bytes, std::uint8_t* data, DWORD* dataLength) {
    if (data == nullptr) {
        if (dataLength != nullptr) *dataLength = static_cast<DWORD>(bytes.size());
        return regerror::Success;
    }
    if (dataLength == nullptr) return regerror::InvalidParameter;
    DWORD room = *dataLength;
    *dataLength = static_cast<DWORD>(bytes.size());
    if (room < bytes.size()) return regerror::MoreData;
    std::memcpy(data, bytes.data(), bytes.size());
    if (IsStringType(type) && room > bytes.size() && !bytes.empty() && bytes.back() != '\0')
        data[bytes.size()] = 0;
    return regerror::Success;
}

const char* const kHexDigits = "0123456789abcdef";

std::string HexBytes(std::string_view bytes) {
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        auto b = static_cast<unsigned char>(bytes[i]);
        if (i > 0) out += ',';
        out += kHexDigits[b >> 4];
        out += kHexDigits[b & 15];
    }
    return out;
}

std::optional<std::string> ParseHexBytes(std::string_view hex) {
    std::string out;
    if (hex.empty()) return out;
    for (const std::string& pair : text::Split(hex, ",")) {
        if (pair.size() != 2) return std::nullopt;
        int value = 0;
        for (char c : pair) {
            const char* at = c == '\0' ? nullptr : std::strchr(kHexDigits, c);
            if (at == nullptr) return std::nullopt;
            value = value * 16 + static_cast<int>(at - kHexDigits);
        }
        out += static_cast<char>(value);
    }
    return out;
}

std::string QuoteName(std::string_view name) {
    std::string out = "\"";
    for (char c : name) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

}  // namespace

struct FakeKeyStore::Key {
    struct Entry {
        std::string name;
        StoredValue value;
    };

    std::string name;
    std::string className;
    std::weak_ptr<Key> parent;
    bool isRoot = false;
    bool deleted = false;
    bool denied = false;
    std::vector<KeyPtr> children;  // in the order they were made
    std::vector<Entry> values;     // likewise; "" is the default value

    KeyPtr Child(std::string_view childName) const {
        for (const KeyPtr& child : children) {
            if (text::EqualsNoCase(child->name, childName)) return child;
        }
        return nullptr;
    }
    Entry* FindValue(std::string_view valueName) {
        for (Entry& entry : values) {
            if (text::EqualsNoCase(entry.name, valueName)) return &entry;
        }
        return nullptr;
    }
    void MarkDeleted() {
        deleted = true;
        for (const KeyPtr& child : children) child->MarkDeleted();
    }
    // Replaces subkeys and values by those of `other`.
    void TakeContentOf(Key& other, const KeyPtr& self) {
        for (const KeyPtr& child : children) child->MarkDeleted();
        children = std::move(other.children);
        values = std::move(other.values);
        for (const KeyPtr& child : children) child->parent = self;
    }
};

FakeKeyStore::FakeKeyStore(bool win64) : win64_(win64) {
    for (HKEY root = hkey::ClassesRoot; root <= hkey::DynData; ++root) {
        auto key = std::make_shared<Key>();
        key->isRoot = true;
        roots_[root] = key;
    }
}

FakeKeyStore::~FakeKeyStore() = default;

bool FakeKeyStore::Uses32BitView(REGSAM access) const {
    if (!win64_) return false;
    if (access & regaccess::Wow64_64Key) return false;
    return true;
}

FakeKeyStore::Found FakeKeyStore::Walk(const KeyPtr& start, std::string_view path, bool view32,
                                       bool create, std::string_view className) {
    const std::vector<std::string> parts = PathComponents(path);
    Found found{regerror::Success, start};
    // A 32-bit caller is redirected once: into the Wow6432Node child of the first key below the
    // start that has one, or of the last key when none had. Naming that child ends it, as in Wine.
    bool redirect = view32;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::string& part = parts[i];
        if (text::EqualsNoCase(part, kWow6432Node)) {
            redirect = false;
        } else if (KeyPtr node = redirect && i > 0 ? found.key->Child(kWow6432Node) : nullptr) {
            found.key = node;
            redirect = false;
        }
        KeyPtr next = found.key->Child(part);
        if (!next) {
            if (!create) return {regerror::FileNotFound, nullptr};
            if (part.size() > kMaxKeyName) return {regerror::InvalidParameter, nullptr};
            next = std::make_shared<Key>();
            next->name = part;
            next->className = className;
            next->parent = found.key;
            found.key->children.push_back(next);
            found.created = true;
        }
        found.key = next;
    }
    if (KeyPtr node = redirect ? found.key->Child(kWow6432Node) : nullptr) found.key = node;
    return found;
}

FakeKeyStore::Found FakeKeyStore::WalkHelper(HKEY root, std::string_view path, View view,
                                             bool create) const {
    KeyPtr start;
    if (LONG code = Start(root, 0, view == View::Wow32 && win64_, start)) return {code, nullptr};
    return Walk(start, path, view == View::Wow32 && win64_, create);
}

LONG FakeKeyStore::Start(HKEY key, REGSAM needed, bool view32, KeyPtr& out) const {
    if (LONG code = Resolve(key, needed, out)) return code;
    // The 32-bit view's classes root is the redirected one.
    if (key == hkey::ClassesRoot && view32)
        if (KeyPtr node = out->Child(kWow6432Node)) out = node;
    return regerror::Success;
}

LONG FakeKeyStore::Resolve(HKEY key, REGSAM needed, KeyPtr& out) const {
    if (auto root = roots_.find(key); root != roots_.end()) {
        out = root->second;
        return regerror::Success;
    }
    auto it = handles_.find(key);
    if (it == handles_.end()) return regerror::InvalidHandle;
    if (it->second.key->deleted) return regerror::KeyDeleted;
    if ((it->second.access & needed) != needed) return regerror::AccessDenied;
    out = it->second.key;
    return regerror::Success;
}

HKEY FakeKeyStore::NewHandle(const KeyPtr& key, REGSAM access) {
    HKEY handle = nextHandle_++;
    handles_[handle] = Handle{key, access};
    ++handlesEverOpened_;
    return handle;
}

// ---- Test helpers ----

void FakeKeyStore::PutKey(HKEY root, std::string_view path, View view) {
    WalkHelper(root, path, view, true);
}

void FakeKeyStore::PutValue(HKEY root, std::string_view path, std::string_view name, DWORD type,
                            std::string_view bytes, View view) {
    Found found = WalkHelper(root, path, view, true);
    if (!found.key) return;
    StoredValue value{type, std::string(bytes)};
    if (Key::Entry* entry = found.key->FindValue(name)) {
        entry->value = value;
    } else {
        found.key->values.push_back({std::string(name), value});
    }
}

void FakeKeyStore::PutString(HKEY root, std::string_view path, std::string_view name,
                             std::string_view text, View view) {
    std::string bytes(text);
    bytes += '\0';
    PutValue(root, path, name, regtype::Sz, bytes, view);
}

bool FakeKeyStore::Exists(HKEY root, std::string_view path, View view) const {
    return WalkHelper(root, path, view, false).key != nullptr;
}

std::optional<FakeKeyStore::StoredValue> FakeKeyStore::Value(HKEY root, std::string_view path,
                                                             std::string_view name,
                                                             View view) const {
    Found found = WalkHelper(root, path, view, false);
    if (!found.key) return std::nullopt;
    if (Key::Entry* entry = found.key->FindValue(name)) return entry->value;
    return std::nullopt;
}

std::vector<std::string> FakeKeyStore::SubkeyNames(HKEY root, std::string_view path,
                                                   View view) const {
    std::vector<std::string> names;
    Found found = WalkHelper(root, path, view, false);
    if (!found.key) return names;
    for (const KeyPtr& child : found.key->children) names.push_back(child->name);
    return names;
}

void FakeKeyStore::DenyAccess(HKEY root, std::string_view path, View view) {
    Found found = WalkHelper(root, path, view, true);
    if (found.key) found.key->denied = true;
}

std::optional<std::string> FakeKeyStore::SavedFile(std::string_view fileName) const {
    auto it = files_.find(std::string(fileName));
    if (it == files_.end()) return std::nullopt;
    return it->second;
}

void FakeKeyStore::PutSavedFile(std::string_view fileName, std::string_view content) {
    files_[std::string(fileName)] = std::string(content);
}

// ---- The store ----

LONG FakeKeyStore::RegOpenKeyExA(HKEY key, std::string_view subKey, DWORD /*options*/,
                                 REGSAM access, HKEY* result) {
    if (result == nullptr) return regerror::InvalidParameter;
    *result = 0;
    if (!AcceptPath(key, subKey, false)) return kBadPathname;
    KeyPtr start;
    if (LONG code = Start(key, 0, Uses32BitView(access), start)) return code;
    Found found = Walk(start, subKey, Uses32BitView(access), false);
    if (found.code != regerror::Success) return found.code;
    if (found.key->denied) return regerror::AccessDenied;
    *result = NewHandle(found.key, access);
    return regerror::Success;
}

LONG FakeKeyStore::RegCloseKey(HKEY key) {
    if (roots_.count(key) != 0) return regerror::Success;
    return handles_.erase(key) == 1 ? regerror::Success : regerror::InvalidHandle;
}

LONG FakeKeyStore::RegQueryValueExA(HKEY key, std::string_view valueName, DWORD* type,
                                    std::uint8_t* data, DWORD* dataLength) {
    KeyPtr found;
    if (LONG code = Resolve(key, regaccess::QueryValue, found)) return code;
    Key::Entry* entry = found->FindValue(valueName);
    if (entry == nullptr) return regerror::FileNotFound;
    if (type != nullptr) *type = entry->value.type;
    return CopyData(entry->value.type, entry->value.bytes, data, dataLength);
}

LONG FakeKeyStore::RegSetValueExA(HKEY key, std::string_view valueName, DWORD type,
                                  const std::uint8_t* data, DWORD dataLength) {
    KeyPtr found;
    if (LONG code = Resolve(key, regaccess::SetValue, found)) return code;
    if (denyWrites_) return regerror::AccessDenied;
    if (data == nullptr && dataLength != 0) return regerror::InvalidParameter;
    std::string bytes(reinterpret_cast<const char*>(data),
                      StoredStringLength(type, data, dataLength));
    if (Key::Entry* entry = found->FindValue(valueName)) {
        entry->value = StoredValue{type, bytes};
    } else {
        found->values.push_back({std::string(valueName), StoredValue{type, bytes}});
    }
    return regerror::Success;
}

LONG FakeKeyStore::RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameLength,
                                 char* className, DWORD* classLength,
                                 std::uint64_t* lastWriteTime) {
    KeyPtr found;
    if (LONG code = Resolve(key, regaccess::EnumerateSubKeys, found)) return code;
    if (index >= found->children.size()) return regerror::NoMoreItems;
    const Key& child = *found->children[index];
    if (LONG code = CopyName(child.name, name, nameLength)) return code;
    if (className != nullptr && classLength != nullptr) {
        if (LONG code = CopyName(child.className, className, classLength)) return code;
    }
    if (lastWriteTime != nullptr) *lastWriteTime = 0;
    return regerror::Success;
}

LONG FakeKeyStore::RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD* type,
                                 std::uint8_t* data, DWORD* dataLength) {
    KeyPtr found;
    if (LONG code = Resolve(key, regaccess::QueryValue, found)) return code;
    if (index >= found->values.size()) return regerror::NoMoreItems;
    const Key::Entry& entry = found->values[index];
    if (LONG code = CopyName(entry.name, name, nameLength)) return code;
    if (type != nullptr) *type = entry.value.type;
    return CopyData(entry.value.type, entry.value.bytes, data, dataLength);
}

LONG FakeKeyStore::RegQueryInfoKeyA(HKEY key, char* className, DWORD* classLength, DWORD* subKeys,
                                    DWORD* maxSubKeyLength, DWORD* values,
                                    DWORD* maxValueNameLength, DWORD* maxValueLength,
                                    std::uint64_t* lastWriteTime) {
    KeyPtr found;
    if (LONG code = Resolve(key, regaccess::QueryValue, found)) return code;
    if (className != nullptr && classLength != nullptr) {
        if (LONG code = CopyName(found->className, className, classLength)) return code;
    }
    DWORD longestKey = 0, longestName = 0, longestData = 0;
    for (const KeyPtr& child : found->children) {
        longestKey = std::max(longestKey, static_cast<DWORD>(child->name.size()));
    }
    for (const Key::Entry& entry : found->values) {
        longestName = std::max(longestName, static_cast<DWORD>(entry.name.size()));
        longestData = std::max(longestData, static_cast<DWORD>(entry.value.bytes.size()));
    }
    if (subKeys != nullptr) *subKeys = static_cast<DWORD>(found->children.size());
    if (maxSubKeyLength != nullptr) *maxSubKeyLength = longestKey;
    if (values != nullptr) *values = static_cast<DWORD>(found->values.size());
    if (maxValueNameLength != nullptr) *maxValueNameLength = longestName;
    if (maxValueLength != nullptr) *maxValueLength = longestData;
    if (lastWriteTime != nullptr) *lastWriteTime = 0;
    return regerror::Success;
}

LONG FakeKeyStore::RegCreateKeyExA(HKEY key, std::string_view subKey, DWORD /*reserved*/,
                                   std::string_view className, DWORD /*options*/, REGSAM access,
                                   HKEY* result, DWORD* disposition) {
    if (result == nullptr) return regerror::InvalidParameter;
    *result = 0;
    if (!AcceptPath(key, subKey, true)) return kBadPathname;
    const bool view32 = Uses32BitView(access);
    KeyPtr start;
    if (LONG code = Start(key, regaccess::CreateSubKey, view32, start)) return code;
    Found existing = Walk(start, subKey, view32, false);
    if (existing.code != regerror::Success && existing.code != regerror::FileNotFound) {
        return existing.code;
    }
    if (!existing.key && denyWrites_) return regerror::AccessDenied;
    Found found = existing.key ? existing : Walk(start, subKey, view32, true, className);
    if (found.code != regerror::Success) return found.code;
    if (found.key->denied) return regerror::AccessDenied;
    *result = NewHandle(found.key, access);
    if (disposition != nullptr) {
        *disposition =
            found.created ? regdisposition::CreatedNewKey : regdisposition::OpenedExistingKey;
    }
    return regerror::Success;
}

LONG FakeKeyStore::DeleteKey(HKEY key, std::string_view subKey, bool view32) {
    if (!AcceptPath(key, subKey, false)) return kBadPathname;
    KeyPtr start;
    if (LONG code = Start(key, 0, view32, start)) return code;
    Found found = Walk(start, subKey, view32, false);
    if (found.code != regerror::Success) return found.code;
    KeyPtr target = found.key;
    if (target->isRoot || target->denied || denyWrites_) return regerror::AccessDenied;
    if (!target->children.empty()) return regerror::AccessDenied;
    KeyPtr parent = target->parent.lock();
    if (!parent) return regerror::KeyDeleted;
    std::erase(parent->children, target);
    target->MarkDeleted();
    return regerror::Success;
}

LONG FakeKeyStore::RegDeleteKeyA(HKEY key, std::string_view subKey) {
    return DeleteKey(key, subKey, Uses32BitView(0));
}

LONG FakeKeyStore::RegDeleteKeyExA(HKEY key, std::string_view subKey, REGSAM access,
                                   DWORD /*reserved*/) {
    return DeleteKey(key, subKey, Uses32BitView(access));
}

LONG FakeKeyStore::RegDeleteValueA(HKEY key, std::string_view valueName) {
    KeyPtr found;
    if (LONG code = Resolve(key, regaccess::SetValue, found)) return code;
    if (denyWrites_) return regerror::AccessDenied;
    auto it = std::find_if(found->values.begin(), found->values.end(), [&](const Key::Entry& e) {
        return text::EqualsNoCase(e.name, valueName);
    });
    if (it == found->values.end()) return regerror::FileNotFound;
    found->values.erase(it);
    return regerror::Success;
}

// The file of a saved key: a line "[path]" for the key and each key below it (the path relative
// to the saved key, "[]" for the key itself), each followed by its values as
// `"name"=type:hex,bytes` (`@=` for the default value).
LONG FakeKeyStore::RegSaveKeyA(HKEY key, std::string_view fileName) {
    KeyPtr found;
    if (LONG code = Resolve(key, 0, found)) return code;
    if (enabledPrivileges_.count(kBackupLuid) == 0) return kPrivilegeNotHeld;
    if (files_.count(std::string(fileName)) != 0) return kAlreadyExists;
    std::string out;
    auto write = [&](auto& self, const Key& k, const std::string& path) -> void {
        out += "[" + path + "]\n";
        for (const Key::Entry& entry : k.values) {
            out += entry.name.empty() ? std::string("@") : QuoteName(entry.name);
            out +=
                "=" + std::to_string(entry.value.type) + ":" + HexBytes(entry.value.bytes) + "\n";
        }
        for (const KeyPtr& child : k.children) {
            self(self, *child, path.empty() ? child->name : path + "\\" + child->name);
        }
    };
    write(write, *found, "");
    files_[std::string(fileName)] = out;
    return regerror::Success;
}

LONG FakeKeyStore::RegRestoreKeyA(HKEY key, std::string_view fileName, DWORD /*flags*/) {
    KeyPtr target;
    if (LONG code = Resolve(key, 0, target)) return code;
    if (enabledPrivileges_.count(kRestoreLuid) == 0) return kPrivilegeNotHeld;
    if (denyWrites_) return regerror::AccessDenied;
    auto file = files_.find(std::string(fileName));
    if (file == files_.end()) return regerror::FileNotFound;

    auto built = std::make_shared<Key>();
    KeyPtr current;
    for (const std::string& line : text::Split(file->second, "\n")) {
        if (line.empty()) continue;
        if (line.front() == '[' && line.back() == ']') {
            current =
                Walk(built, std::string_view(line).substr(1, line.size() - 2), false, true).key;
            if (!current) return kBadDatabase;
            continue;
        }
        if (!current) return kBadDatabase;
        std::string name;
        std::size_t at = 0;
        if (line.front() == '@') {
            at = 1;
        } else if (line.front() == '"') {
            for (at = 1; at < line.size() && line[at] != '"'; ++at) {
                if (line[at] == '\\') ++at;
                if (at < line.size()) name += line[at];
            }
            ++at;
        } else {
            return kBadDatabase;
        }
        std::size_t colon = line.find(':', at);
        if (at >= line.size() || line[at] != '=' || colon == std::string::npos) {
            return kBadDatabase;
        }
        auto bytes = ParseHexBytes(std::string_view(line).substr(colon + 1));
        DWORD type = 0;
        auto [end, error] = std::from_chars(line.data() + at + 1, line.data() + colon, type);
        if (!bytes || error != std::errc() || end != line.data() + colon) return kBadDatabase;
        current->values.push_back({name, StoredValue{type, *bytes}});
    }
    target->TakeContentOf(*built, target);
    return regerror::Success;
}

bool FakeKeyStore::OpenProcessToken(DWORD desiredAccess, std::uintptr_t* token) {
    constexpr DWORD kAdjustPrivileges = 0x20;
    if (token == nullptr || (desiredAccess & kAdjustPrivileges) == 0) return false;
    *token = 1;
    return true;
}

bool FakeKeyStore::LookupPrivilegeValueA(std::string_view name, std::uint64_t* luid) {
    if (luid == nullptr) return false;
    if (text::EqualsNoCase(name, "SeBackupPrivilege")) {
        *luid = kBackupLuid;
    } else if (text::EqualsNoCase(name, "SeRestorePrivilege")) {
        *luid = kRestoreLuid;
    } else {
        return false;
    }
    return true;
}

bool FakeKeyStore::AdjustTokenPrivileges(std::uintptr_t token, std::uint64_t luid,
                                         DWORD attributes) {
    constexpr DWORD kEnabled = 2;
    if (token != 1 || (luid != kBackupLuid && luid != kRestoreLuid)) return false;
    if (attributes & kEnabled) {
        enabledPrivileges_.insert(luid);
    } else {
        enabledPrivileges_.erase(luid);
    }
    return true;
}

}  // namespace optera::platform
