#pragma once
// The registry of a Wine prefix, read from and written to its hive files: HKEY_LOCAL_MACHINE is
// system.reg, HKEY_CURRENT_USER user.reg (also HKEY_USERS\S-1-5-21-0-0-0-1000), and
// HKEY_USERS\.Default userdef.reg. HKEY_CLASSES_ROOT is HKLM\Software\Classes and
// HKEY_CURRENT_CONFIG is HKLM\System\CurrentControlSet\Hardware Profiles\Current, as in Wine.
//
// Links. Keys marked "#link" stand for the key their SymbolicLinkValue names
// ("\Registry\Machine\..."): paths go through them, so nothing is ever written under a link.
// System\CurrentControlSet is ControlSet001 when the file has no key of that name.
//
// Views. Optera is a 32-bit program on a 64-bit prefix (`#arch=win64`): a caller without
// KEY_WOW64_64KEY sees the 32-bit view, in which the rest of a path is looked up inside the
// first key on it (below the start key) that has a subkey named Wow6432Node; a path naming
// Wow6432Node itself is taken as it stands from there on. This holds in every hive, as in Wine.
// In that view a name that Software\Classes\Wow6432Node lacks is taken from Software\Classes
// (whose subkeys its enumeration therefore also lists), and HKEY_CLASSES_ROOT is
// Software\Classes\Wow6432Node. A 32-bit prefix has no views.
//
// Writing. A change is saved at once, atomically, and only when no wineserver runs for the
// prefix; for the time of the save this store holds the server's lock itself, so that a server
// that starts meanwhile gives up. Writes are refused (5) without a prefix, with a server
// running, or into a hive file that is missing or not a Wine registry file; a save that fails
// gives 1016 and leaves the file as it was. Reading is always allowed and sees the files as
// they are on disk now.
//
// Not safe for use from several threads at once.

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/KeyStore.h"
#include "platform/wine/WineFileSystem.h"
#include "platform/wine/WineHive.h"

namespace optera::platform {

class WineKeyStore : public KeyStore {
  public:
    // A prefix that does not exist is an empty registry that refuses every change.
    explicit WineKeyStore(std::filesystem::path prefix);
    ~WineKeyStore() override;
    WineKeyStore(const WineKeyStore&) = delete;
    WineKeyStore& operator=(const WineKeyStore&) = delete;

    const std::filesystem::path& prefix() const { return prefix_; }
    // Why the last change was refused (5); "" when none was.
    const std::string& lastRefusal() const { return lastRefusal_; }

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
    // The file is a Wine registry file whose one top-level key is the saved key (named as it
    // is, or after its hive for a hive's root). Saving fails with 183 when the file exists.
    // File names are Windows paths on the prefix's drives.
    LONG RegSaveKeyA(HKEY key, std::string_view fileName) override;
    // Replaces the key's values and subkeys by those of a file RegSaveKeyA wrote.
    LONG RegRestoreKeyA(HKEY key, std::string_view fileName, DWORD flags) override;

    // The wide path: names and strings whole, as the hive files hold them.
    LONG RegOpenKeyExW(HKEY key, std::u16string_view subKey, DWORD options, REGSAM access,
                       HKEY* result) override;
    LONG RegCreateKeyExW(HKEY key, std::u16string_view subKey, REGSAM access, HKEY* result,
                         DWORD* disposition) override;
    LONG RegEnumKeyExW(HKEY key, DWORD index, std::u16string& name) override;
    LONG RegEnumValueW(HKEY key, DWORD index, std::u16string& name, DWORD& type,
                       std::vector<std::uint8_t>& data) override;
    LONG RegQueryValueExW(HKEY key, std::u16string_view valueName, DWORD& type,
                          std::vector<std::uint8_t>& data) override;
    LONG RegSetValueExW(HKEY key, std::u16string_view valueName, DWORD type,
                        const std::vector<std::uint8_t>& data) override;
    LONG RegDeleteValueW(HKEY key, std::u16string_view valueName) override;
    LONG RegDeleteKeyExW(HKEY key, std::u16string_view subKey, REGSAM access) override;

    // True on a 64-bit prefix.
    bool IsWow64Process() const override;
    // The hive files belong to the user, so every privilege is granted.
    bool OpenProcessToken(DWORD desiredAccess, std::uintptr_t* token) override;
    bool LookupPrivilegeValueA(std::string_view name, std::uint64_t* luid) override;
    bool AdjustTokenPrivileges(std::uintptr_t token, std::uint64_t luid, DWORD attributes) override;

    // No prefix, a running wineserver, or a system.reg or user.reg that cannot be written.
    std::string WhyNotWritable() const override;

    // While held, the hive files are checked for changes once, at the first question; every
    // change still reads them anew under the wineserver's lock before it is made.
    void HoldReads() override;
    void ReleaseReads() override;

  private:
    // Removes the temporaries that a run stopped while saving a hive left beside it; called
    // with the wineserver's lock held, when no other writer can own them.
    void RemoveStrayTemporaries() const;

    struct Spot;
    struct Walked;
    struct Handle {
        int hive;          // index into hives_, or kUsers for HKEY_USERS itself
        std::string path;  // the key's path in its hive, no link or view left to resolve
        REGSAM access;
    };
    class WriteLock;

    WineHive& Hive(int index) const;
    void BeginCall() const;
    // As BeginCall, but the files are looked at anew even while reads are held.
    void LookAgain() const;
    bool Win64() const;
    bool View32(REGSAM access) const;
    // The key a handle names; HKEY_CLASSES_ROOT is the redirected classes in the 32-bit view.
    LONG Start(HKEY key, REGSAM needed, Spot& spot) const;
    LONG Start(HKEY key, REGSAM needed, Spot& spot, bool view32) const;
    Walked Walk(Spot from, std::string_view subKey, bool view32, bool followLast) const;
    bool FollowLink(Spot& spot, int depth) const;
    // The Wow6432Node child a 32-bit caller is redirected to; null on a 32-bit prefix.
    const WineHive::Key* Node(const Spot& spot) const;
    bool IsSharedClasses(const Spot& spot) const;
    struct Subkey;
    struct SubkeyList;
    // The subkeys a handle lists; in the 32-bit view the shared classes add the 64-bit ones.
    const std::vector<Subkey>& Subkeys(const Spot& spot, bool view32) const;
    std::vector<Subkey> ListSubkeys(const Spot& spot, bool view32) const;
    bool HandleView32(HKEY key) const;
    HKEY NewHandle(const Spot& spot, REGSAM access);
    LONG Refuse(std::string reason);
    // The operations of both paths, with names and paths in UTF-8 as the hive files hold them
    // and string data as UTF-16LE.
    LONG Open(HKEY key, std::string_view subKey, DWORD options, REGSAM access, HKEY* result);
    LONG Create(HKEY key, std::string_view subKey, std::string_view className, REGSAM access,
                HKEY* result, DWORD* disposition);
    LONG CreateMissing(HKEY key, std::string_view subKey, std::string_view className, REGSAM access,
                       HKEY* result, DWORD* disposition);
    LONG QueryValue(HKEY key, std::string_view valueName, RegFileValue& value);
    LONG SetValue(HKEY key, RegFileValue value);
    LONG SubkeyAt(HKEY key, DWORD index, std::string& name, const WineHive::Key*& subkey);
    LONG ValueAt(HKEY key, DWORD index, RegFileValue& value);
    LONG DeleteValue(HKEY key, std::string_view valueName);
    LONG DeleteKey(HKEY key, std::string_view subKey, REGSAM access);
    LONG Restore(const Spot& spot, const RegFile& saved);

    std::filesystem::path prefix_;
    std::array<std::unique_ptr<WineHive>, 3> hives_;
    mutable std::array<unsigned, 3> refreshedIn_{};
    mutable unsigned call_ = 0;
    int heldReads_ = 0;
    WineFileSystem files_;
    std::map<HKEY, Handle> handles_;
    HKEY nextHandle_ = 0x100;
    std::string lastRefusal_;
    mutable std::unique_ptr<SubkeyList> listed_;  // the subkeys listed last
};

}  // namespace optera::platform
