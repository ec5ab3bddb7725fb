#pragma once
// An in-memory registry for tests. Keys have case-insensitive names and keep their subkeys and
// values in the order they were made; values hold a type and their bytes, strings counted as
// StoredStringLength counts them, and queries give back exactly those bytes (a string stored
// without its NUL comes back without, though, as on Windows and in Wine, a NUL follows a
// non-empty one in the buffer when there is room). Names and strings are kept in the code page:
// the wide path is the one every store has by default.
//
// A store made with `win64` is a 32-bit process on a 64-bit system: a caller whose access mask
// lacks KEY_WOW64_64KEY (0x100) sees the 32-bit view, redirected as the Wine store is: the rest
// of a path is looked up inside the "Wow6432Node" child of the first key below the start that
// has one (of the last key when none had), a path naming "Wow6432Node" is taken as it stands,
// and HKEY_CLASSES_ROOT is its own "Wow6432Node" child. With 0x100, or on a store made without
// `win64`, paths are taken as they stand. Paths are split as Wine splits them.
//
// Handles are small integers; the predefined roots can be used directly and need no closing.
// Open handles are counted, so that a test can prove that every open was closed.

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/KeyStore.h"
#include "text/NoCase.h"

namespace optera::platform {

class FakeKeyStore : public KeyStore {
  public:
    // How a test helper reads its path: as it stands, or as a 32-bit caller sees it.
    enum class View { Plain, Wow32 };

    struct StoredValue {
        DWORD type = 0;
        std::string bytes;
        bool operator==(const StoredValue&) const = default;
    };

    explicit FakeKeyStore(bool win64);
    ~FakeKeyStore() override;

    // Test helpers. They make the keys on the path as needed and ignore denials.
    void PutKey(HKEY root, std::string_view path, View view = View::Plain);
    void PutValue(HKEY root, std::string_view path, std::string_view name, DWORD type,
                  std::string_view bytes, View view = View::Plain);
    // A REG_SZ value holding the text and its terminating NUL, as Windows tools write strings.
    void PutString(HKEY root, std::string_view path, std::string_view name, std::string_view text,
                   View view = View::Plain);
    bool Exists(HKEY root, std::string_view path, View view = View::Plain) const;
    std::optional<StoredValue> Value(HKEY root, std::string_view path, std::string_view name,
                                     View view = View::Plain) const;
    // Subkey names of a key in order; empty for a missing key.
    std::vector<std::string> SubkeyNames(HKEY root, std::string_view path,
                                         View view = View::Plain) const;

    // While set, every change (values, keys, restores) fails with 5.
    void DenyWrites(bool deny) { denyWrites_ = deny; }
    // Opening, creating or deleting this key (made if missing) fails with 5.
    void DenyAccess(HKEY root, std::string_view path, View view = View::Plain);

    std::size_t OpenHandles() const { return handles_.size(); }
    std::size_t HandlesEverOpened() const { return handlesEverOpened_; }

    // The files of RegSaveKeyA and RegRestoreKeyA, by name (letter case ignored).
    std::optional<std::string> SavedFile(std::string_view fileName) const;
    void PutSavedFile(std::string_view fileName, std::string_view content);

    LONG RegOpenKeyExA(HKEY key, std::string_view subKey, DWORD options, REGSAM access,
                       HKEY* result) override;
    LONG RegCloseKey(HKEY key) override;
    LONG RegQueryValueExA(HKEY key, std::string_view valueName, DWORD* type, std::uint8_t* data,
                          DWORD* dataLength) override;
    LONG RegSetValueExA(HKEY key, std::string_view valueName, DWORD type, const std::uint8_t* data,
                        DWORD dataLength) override;
    LONG RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameLength, char* className,
                       DWORD* classLength, std::uint64_t* lastWriteTime) override;
    LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD* type,
                       std::uint8_t* data, DWORD* dataLength) override;
    LONG RegQueryInfoKeyA(HKEY key, char* className, DWORD* classLength, DWORD* subKeys,
                          DWORD* maxSubKeyLength, DWORD* values, DWORD* maxValueNameLength,
                          DWORD* maxValueLength, std::uint64_t* lastWriteTime) override;
    LONG RegCreateKeyExA(HKEY key, std::string_view subKey, DWORD reserved,
                         std::string_view className, DWORD options, REGSAM access, HKEY* result,
                         DWORD* disposition) override;
    LONG RegDeleteKeyA(HKEY key, std::string_view subKey) override;
    LONG RegDeleteKeyExA(HKEY key, std::string_view subKey, REGSAM access, DWORD reserved) override;
    LONG RegDeleteValueA(HKEY key, std::string_view valueName) override;
    // Saving needs SeBackupPrivilege and a file name not yet taken (183 otherwise); restoring
    // needs SeRestorePrivilege and replaces the key's subkeys and values by the file's.
    LONG RegSaveKeyA(HKEY key, std::string_view fileName) override;
    LONG RegRestoreKeyA(HKEY key, std::string_view fileName, DWORD flags) override;

    bool IsWow64Process() const override { return win64_; }
    bool OpenProcessToken(DWORD desiredAccess, std::uintptr_t* token) override;
    // Knows SeBackupPrivilege and SeRestorePrivilege.
    bool LookupPrivilegeValueA(std::string_view name, std::uint64_t* luid) override;
    bool AdjustTokenPrivileges(std::uintptr_t token, std::uint64_t luid, DWORD attributes) override;

  private:
    struct Key;
    using KeyPtr = std::shared_ptr<Key>;
    struct Handle {
        KeyPtr key;
        REGSAM access = 0;
    };
    struct Found {
        LONG code = 0;
        KeyPtr key;
        bool created = false;
    };

    bool Uses32BitView(REGSAM access) const;
    // Follows `path` from `start` in the view given, making missing keys when `create`.
    static Found Walk(const KeyPtr& start, std::string_view path, bool view32, bool create,
                      std::string_view className = {});
    Found WalkHelper(HKEY root, std::string_view path, View view, bool create) const;
    // The key behind a handle that allows `needed`, or the code why there is none.
    LONG Resolve(HKEY key, REGSAM needed, KeyPtr& out) const;
    // The same for the start of a path, where HKEY_CLASSES_ROOT has a 32-bit view.
    LONG Start(HKEY key, REGSAM needed, bool view32, KeyPtr& out) const;
    HKEY NewHandle(const KeyPtr& key, REGSAM access);
    LONG DeleteKey(HKEY key, std::string_view subKey, bool view32);

    bool win64_;
    std::map<HKEY, KeyPtr> roots_;
    std::map<HKEY, Handle> handles_;
    HKEY nextHandle_ = 1;
    std::size_t handlesEverOpened_ = 0;
    bool denyWrites_ = false;
    std::set<std::uint64_t> enabledPrivileges_;
    std::map<std::string, std::string, text::LessNoCase> files_;
};

}  // namespace optera::platform
