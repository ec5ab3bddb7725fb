#pragma once
// The machine's registry as a store of keys and values, through the operations (and return
// codes) of the Windows registry functions. cRegistry is written against exactly this contract,
// so it runs the same on the real registry, on a Wine prefix's hive files and in memory.
//
// Names and string data cross the "A" operations in the Windows-1252 code page, as the "A"
// functions pass them; the "W" operations pass them whole, in UTF-16. Handles are small
// integers; the predefined roots have fixed values.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace optera::platform {

using HKEY = std::uint32_t;
using LONG = std::int32_t;
using DWORD = std::uint32_t;
using REGSAM = std::uint32_t;

namespace hkey {
inline constexpr HKEY ClassesRoot = 0x80000000;
inline constexpr HKEY CurrentUser = 0x80000001;
inline constexpr HKEY LocalMachine = 0x80000002;
inline constexpr HKEY Users = 0x80000003;
inline constexpr HKEY PerformanceData = 0x80000004;
inline constexpr HKEY CurrentConfig = 0x80000005;
inline constexpr HKEY DynData = 0x80000006;
}  // namespace hkey

namespace regtype {
inline constexpr DWORD None = 0;
inline constexpr DWORD Sz = 1;
inline constexpr DWORD ExpandSz = 2;
inline constexpr DWORD Binary = 3;
inline constexpr DWORD Dword = 4;
inline constexpr DWORD DwordBigEndian = 5;
inline constexpr DWORD Link = 6;
inline constexpr DWORD MultiSz = 7;
inline constexpr DWORD Qword = 11;
}  // namespace regtype

namespace regaccess {
inline constexpr REGSAM QueryValue = 0x1;
inline constexpr REGSAM SetValue = 0x2;
inline constexpr REGSAM CreateSubKey = 0x4;
inline constexpr REGSAM EnumerateSubKeys = 0x8;
inline constexpr REGSAM Wow64_64Key = 0x100;
inline constexpr REGSAM Wow64_32Key = 0x200;
inline constexpr REGSAM Read = 0x20019;
inline constexpr REGSAM Write = 0x20006;
}  // namespace regaccess

// Windows error codes the logic tells apart.
namespace regerror {
inline constexpr LONG Success = 0;
inline constexpr LONG FileNotFound = 2;
inline constexpr LONG AccessDenied = 5;
inline constexpr LONG InvalidHandle = 6;
inline constexpr LONG InvalidParameter = 87;
inline constexpr LONG MoreData = 234;
inline constexpr LONG NoMoreItems = 259;
inline constexpr LONG KeyDeleted = 1018;
}  // namespace regerror

// String types travel as UTF-16 through the "W" operations and in the code page through the
// "A" ones.
inline bool IsStringType(DWORD type) {
    return type == regtype::Sz || type == regtype::ExpandSz || type == regtype::MultiSz;
}

// How many bytes of string data the "A" set operation stores: a count that leaves out the
// terminating NUL gets it back, as Windows does for a caller that counted only the characters.
// The byte after `length` is read for string types, so such data must be followed by a NUL.
inline DWORD StoredStringLength(DWORD type, const std::uint8_t* data, DWORD length) {
    if (IsStringType(type) && data && length > 0 && data[length - 1] != 0 && data[length] == 0)
        return length + 1;
    return length;
}

namespace regdisposition {
inline constexpr DWORD CreatedNewKey = 1;
inline constexpr DWORD OpenedExistingKey = 2;
}  // namespace regdisposition

class KeyStore {
  public:
    virtual ~KeyStore() = default;

    // An empty subKey opens `key` itself (a new handle). 2 for a missing key.
    virtual LONG RegOpenKeyExA(HKEY key, std::string_view subKey, DWORD options, REGSAM access,
                               HKEY* result) = 0;
    virtual LONG RegCloseKey(HKEY key) = 0;
    // An empty name is the key's default value. With data == nullptr only type and size are
    // given. *dataLength is the buffer size in, the data's size out; 234 when the buffer is too
    // small (size out is the size needed). String data comes back with its terminating NUL.
    virtual LONG RegQueryValueExA(HKEY key, std::string_view valueName, DWORD* type,
                                  std::uint8_t* data, DWORD* dataLength) = 0;
    // String data is counted as StoredStringLength counts it.
    virtual LONG RegSetValueExA(HKEY key, std::string_view valueName, DWORD type,
                                const std::uint8_t* data, DWORD dataLength) = 0;
    // The index-th subkey's name. *nameLength: buffer size in characters in (terminator
    // included), length without terminator out; 234 when it does not fit; 259 past the end.
    // className/classLength may be null.
    virtual LONG RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameLength,
                               char* className, DWORD* classLength,
                               std::uint64_t* lastWriteTime) = 0;
    // The index-th value, as RegEnumKeyExA and RegQueryValueExA together; 259 past the end.
    virtual LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD* type,
                               std::uint8_t* data, DWORD* dataLength) = 0;
    // Counts of subkeys and values and the longest names; any pointer may be null.
    virtual LONG RegQueryInfoKeyA(HKEY key, char* className, DWORD* classLength, DWORD* subKeys,
                                  DWORD* maxSubKeyLength, DWORD* values, DWORD* maxValueNameLength,
                                  DWORD* maxValueLength, std::uint64_t* lastWriteTime) = 0;
    virtual LONG RegCreateKeyExA(HKEY key, std::string_view subKey, DWORD reserved,
                                 std::string_view className, DWORD options, REGSAM access,
                                 HKEY* result, DWORD* disposition) = 0;
    // Deletes a key that has no subkeys.
    virtual LONG RegDeleteKeyA(HKEY key, std::string_view subKey) = 0;
    virtual LONG RegDeleteKeyExA(HKEY key, std::string_view subKey, REGSAM access,
                                 DWORD reserved) = 0;
    virtual LONG RegDeleteValueA(HKEY key, std::string_view valueName) = 0;
    // Writes the key and everything below it to a new file (host-independent format of the
    // store's choosing), and replaces a key's content from such a file.
    virtual LONG RegSaveKeyA(HKEY key, std::string_view fileName) = 0;
    virtual LONG RegRestoreKeyA(HKEY key, std::string_view fileName, DWORD flags) = 0;

    // True for a 32-bit process on a 64-bit system; false when the question has no meaning.
    virtual bool IsWow64Process() const = 0;
    // The privilege functions that saving and restoring keys ask for.
    virtual bool OpenProcessToken(DWORD desiredAccess, std::uintptr_t* token) = 0;
    virtual bool LookupPrivilegeValueA(std::string_view name, std::uint64_t* luid) = 0;
    virtual bool AdjustTokenPrivileges(std::uintptr_t token, std::uint64_t luid,
                                       DWORD attributes) = 0;

    // The wide-character path, for text that must keep every character (the ".reg" backups of
    // the values a recipe changes): names in UTF-16, string data as UTF-16LE bytes with their
    // NUL, as the "W" functions pass them. Names and data come back whole, with no buffer sizes
    // to agree on. By default they go through the "A" operations, which keep only the code
    // page's characters; a store that holds Unicode gives them whole.
    virtual LONG RegOpenKeyExW(HKEY key, std::u16string_view subKey, DWORD options, REGSAM access,
                               HKEY* result);
    virtual LONG RegCreateKeyExW(HKEY key, std::u16string_view subKey, REGSAM access, HKEY* result,
                                 DWORD* disposition);
    virtual LONG RegEnumKeyExW(HKEY key, DWORD index, std::u16string& name);
    virtual LONG RegEnumValueW(HKEY key, DWORD index, std::u16string& name, DWORD& type,
                               std::vector<std::uint8_t>& data);
    virtual LONG RegQueryValueExW(HKEY key, std::u16string_view valueName, DWORD& type,
                                  std::vector<std::uint8_t>& data);
    virtual LONG RegSetValueExW(HKEY key, std::u16string_view valueName, DWORD type,
                                const std::vector<std::uint8_t>& data);
    virtual LONG RegDeleteValueW(HKEY key, std::u16string_view valueName);
    virtual LONG RegDeleteKeyExW(HKEY key, std::u16string_view subKey, REGSAM access);

    // Why the store cannot be written now, in words for the user ("Wine is running in this
    // prefix…"); empty when it can. Reading is always allowed.
    virtual std::string WhyNotWritable() const { return {}; }

    // From HoldReads to the matching ReleaseReads (they nest) the questions may all be answered
    // from one look at the store, taken at the first of them: a list of ten thousand games asks
    // ten thousand questions, and each would otherwise look at the store's files again. A
    // change is never made on that look: it looks anew first, and later questions see it.
    virtual void HoldReads() {}
    virtual void ReleaseReads() {}
};

// Holds the reads of a key store (see KeyStore::HoldReads) for as long as it lives.
class HeldReads {
  public:
    explicit HeldReads(KeyStore& store) : store_(store) { store_.HoldReads(); }
    ~HeldReads() { store_.ReleaseReads(); }
    HeldReads(const HeldReads&) = delete;
    HeldReads& operator=(const HeldReads&) = delete;

  private:
    KeyStore& store_;
};

}  // namespace optera::platform
