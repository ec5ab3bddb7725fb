// The rest of cRegistry's small registry library: binary and 32-bit reads, lists of subkeys and
// values, creating and deleting keys, saving and restoring them.

#include "services/cRegistry.h"
#include "text/Split.h"

namespace optera::services {

using platform::DWORD;
using platform::HKEY;
using platform::LONG;
namespace regerror = platform::regerror;
namespace regtype = platform::regtype;

namespace {

// Data buffer of GetValueList: a value with more data is left out of the list.
constexpr DWORD kValueBufferSize = 255;
constexpr DWORD kForceRestore = 8;              // REG_FORCE_RESTORE
constexpr platform::LONG kRenameFailed = 1016;  // ERROR_REGISTRY_IO_FAILED
constexpr DWORD kTokenAdjustAndQuery = 0x28;
constexpr DWORD kPrivilegeEnabled = 2;

}  // namespace

RegResult cRegistry::GetBinaryValue(std::string_view sKey, std::string_view sKeyName,
                                    int Use64BitRegCall) {
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, lKeyHandle)) return {};
    if (lReturnCode != regerror::Success) {
        Report();
        return RegResult::Text("Error");
    }
    // A first query into one byte learns the size; its outcome is judged by the second.
    DWORD type = regtype::Binary;
    std::uint8_t probe = 0;
    lValueLength = 1;
    store_.RegQueryValueExA(lKeyHandle, sKeyName, &type, &probe, &lValueLength);
    sValueBuffer.assign(lValueLength, ' ');
    lReturnCode = store_.RegQueryValueExA(lKeyHandle, sKeyName, &type,
                                          reinterpret_cast<std::uint8_t*>(sValueBuffer.data()),
                                          &lValueLength);
    store_.RegCloseKey(lKeyHandle);
    if (lReturnCode != regerror::Success) {
        Report();
        return RegResult::Text("Error");
    }
    return RegResult::Text(sValueBuffer.substr(0, lValueLength));
}

RegResult cRegistry::GetDWordValue(std::string_view sKey, std::string_view sKeyName,
                                   int Use64BitRegCall) {
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, lKeyHandle)) return {};
    if (lReturnCode != regerror::Success) {
        Report();
        return RegResult::Text("Error");
    }
    DWORD type = regtype::Dword;
    lValueLength = 4;
    lReturnCode = store_.RegQueryValueExA(
        lKeyHandle, sKeyName, &type, reinterpret_cast<std::uint8_t*>(&lDWordValue), &lValueLength);
    store_.RegCloseKey(lKeyHandle);
    if (lReturnCode != regerror::Success) {
        Report();
        return RegResult::Text("Error");
    }
    return RegResult::Int(lDWordValue);
}

std::string cRegistry::GetRegistryValueType(std::string_view sKey, int Use64BitRegCall) {
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, lKeyHandle)) return {};
    if (lReturnCode != regerror::Success) {
        Report();
        return "Error";
    }
    char className[kNameBufferSize];
    DWORD classLength = kNameBufferSize;
    DWORD subKeys = 0, maxSubKey = 0, values = 0, maxName = 0, maxValue = 0;
    std::uint64_t lastWrite = 0;
    lReturnCode = store_.RegQueryInfoKeyA(lKeyHandle, className, &classLength, &subKeys, &maxSubKey,
                                          &values, &maxName, &maxValue, &lastWrite);
    store_.RegCloseKey(lKeyHandle);
    return {};
}

std::vector<std::string> cRegistry::GetSubkeyList(std::string_view Keyname, int Use64BitRegCall) {
    std::vector<std::string> names;
    std::string path(Keyname);
    ParseKey(path, lMainKeyHandle);
    HKEY key = 0;
    if (lMainKeyHandle != 0 &&
        store_.RegOpenKeyExA(lMainKeyHandle, path, 0, ReadMask(Use64BitRegCall), &key) ==
            regerror::Success) {
        for (const std::string& name : EnumerateSubkeys(key)) {
            names.push_back(StripTerminator(name));
        }
        store_.RegCloseKey(key);
    }
    if (names.empty()) names.emplace_back();
    return names;
}

std::vector<std::string> cRegistry::GetValueList(std::string_view sKey, int Use64BitRegCall) {
    std::vector<std::string> lines;
    std::string path(sKey);
    ParseKey(path, lMainKeyHandle);
    HKEY key = 0;
    if (lMainKeyHandle != 0 &&
        store_.RegOpenKeyExA(lMainKeyHandle, path, 0, ReadMask(Use64BitRegCall), &key) ==
            regerror::Success) {
        for (DWORD index = 0;; ++index) {
            char name[kNameBufferSize];
            std::uint8_t data[kValueBufferSize];
            DWORD nameLength = kNameBufferSize;
            DWORD dataLength = kValueBufferSize;
            DWORD type = 0;
            LONG code =
                store_.RegEnumValueA(key, index, name, &nameLength, &type, data, &dataLength);
            // A value whose name or data does not fit the buffers is passed over; any other
            // failure ends the list like its end, so that a broken key cannot keep us here.
            if (code == regerror::MoreData) continue;
            if (code != regerror::Success) break;
            std::string valueName(name, nameLength);
            if (dataLength < 1 || text::TrimBlanks(valueName).empty()) continue;
            std::string_view bytes(reinterpret_cast<const char*>(data), dataLength);
            std::string shown;
            if (type == regtype::Binary || type == regtype::Dword) {
                shown = "hex:" + GetBinaryDataFromString(bytes);
            } else if (type == regtype::MultiSz) {
                shown = "hex(7):" + GetBinaryDataFromString(bytes);
            } else {
                shown = "\"" + StripTerminator(bytes) + "\"";
            }
            lines.push_back("\"" + valueName + "\"=" + shown);
        }
        store_.RegCloseKey(key);
    }
    if (lines.empty()) lines.emplace_back();
    return lines;
}

RegResult cRegistry::CreateKey(std::string_view sKey, int Use64BitRegCall) {
    std::string path(sKey);
    ParseKey(path, lMainKeyHandle);
    if (lMainKeyHandle == 0) return RegResult::Bool(false);
    lReturnCode = store_.RegCreateKeyExA(lMainKeyHandle, path, 0, "REG_SZ", 0,
                                         FullMask(Use64BitRegCall), &lKeyHandle, &lDisposition);
    if (lReturnCode != regerror::Success) return RegResult::Bool(false);
    store_.RegCloseKey(lKeyHandle);
    return RegResult::Bool(true);
}

RegResult cRegistry::DeleteKey(std::string_view Keyname, int Use64BitRegCall) {
    std::string path(Keyname);
    ParseKey(path, lMainKeyHandle);
    if (lMainKeyHandle == 0) return RegResult::Bool(false);
    lReturnCode = bIs64Bit
                      ? store_.RegDeleteKeyExA(lMainKeyHandle, path, FullMask(Use64BitRegCall), 0)
                      : store_.RegDeleteKeyA(lMainKeyHandle, path);
    if (lReturnCode == regerror::Success) return RegResult::Bool(true);
    Report();
    return RegResult::Bool(false);
}

RegResult cRegistry::DeleteKeyValue(std::string_view sKeyName, std::string_view sValueName,
                                    int Use64BitRegCall) {
    if (!ParseAndOpen(sKeyName, &cRegistry::FullMask, Use64BitRegCall, lKeyHandle))
        return RegResult::Bool(false);
    if (lReturnCode != regerror::Success) return RegResult::Bool(false);
    lReturnCode = store_.RegDeleteValueA(lKeyHandle, sValueName);
    bool deleted = lReturnCode == regerror::Success;
    if (!deleted) Report();
    store_.RegCloseKey(lKeyHandle);
    return RegResult::Bool(deleted);
}

RegResult cRegistry::DeleteAllKeySubItems() {
    return RegResult::Bool(false);
}

RegResult cRegistry::DeleteAll_KeyAndSubKeyItems(std::string_view Keyname, int Use64BitRegCall) {
    HKEY root = 0;
    return DeleteAll_KeyAndSubKeyItems(Keyname, root, Use64BitRegCall);
}

RegResult cRegistry::DeleteAll_KeyAndSubKeyItems(std::string_view Keyname, HKEY& root,
                                                 int Use64BitRegCall) {
    std::string path(Keyname);
    // Only the outermost call parses; the deeper ones get the root and a path below it.
    if (root == 0) ParseKey(path, root);
    if (root == 0) return {};
    HKEY key = 0;
    if (store_.RegOpenKeyExA(root, path, 0, FullMask(Use64BitRegCall), &key) == regerror::Success) {
        // Each subkey is gone before the next look, so the first one is always the next.
        // Should one survive its deletion, looking again would find it forever: stop then.
        std::string previous;
        for (bool first = true;; first = false) {
            char name[kNameBufferSize];
            DWORD nameLength = kNameBufferSize;
            if (store_.RegEnumKeyExA(key, 0, name, &nameLength, nullptr, nullptr, nullptr) !=
                regerror::Success) {
                break;
            }
            std::string subkey(name, nameLength);
            if (!first && subkey == previous) break;
            previous = subkey;
            DeleteAll_KeyAndSubKeyItems(path + "\\" + subkey, root, 1);
        }
        store_.RegCloseKey(key);
    }
    if (bIs64Bit) {
        lReturnCode = store_.RegDeleteKeyExA(root, path, FullMask(Use64BitRegCall), 0);
        if (lReturnCode == regerror::AccessDenied) {
            lReturnCode = store_.RegDeleteKeyA(root, path);
        }
    } else {
        lReturnCode = store_.RegDeleteKeyA(root, path);
    }
    return {};
}

bool cRegistry::EnablePrivilege(std::string_view seName) {
    std::uintptr_t token = 0;
    if (!store_.OpenProcessToken(kTokenAdjustAndQuery, &token)) return false;
    std::uint64_t luid = 0;
    if (!store_.LookupPrivilegeValueA(seName, &luid)) return false;
    return store_.AdjustTokenPrivileges(token, luid, kPrivilegeEnabled);
}

bool cRegistry::SaveKey(std::string_view sKey, std::string_view sFileName, int Use64BitRegCall) {
    if (!EnablePrivilege("SeBackupPrivilege")) return false;
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, lKeyHandle)) return false;
    if (lReturnCode != regerror::Success) return false;
    lReturnCode = SaveOver(lKeyHandle, sFileName);
    store_.RegCloseKey(lKeyHandle);
    return lReturnCode == regerror::Success;
}

platform::LONG cRegistry::SaveOver(HKEY key, std::string_view sFileName) {
    // The store writes only new files: the key goes to a temporary of its own beside the file,
    // which then takes the file's place, so that a failed save leaves the old file as it was.
    if (!files_ || !platform::FileExists(*files_, sFileName))
        return store_.RegSaveKeyA(key, sFileName);
    const std::string temp = std::string(sFileName) + ".optera-new";
    // A temporary left by a run that was stopped is ours to remove.
    files_->Remove(temp);
    platform::LONG code = store_.RegSaveKeyA(key, temp);
    if (code != regerror::Success) return code;
    if (files_->Rename(temp, sFileName)) return regerror::Success;
    files_->Remove(temp);
    return kRenameFailed;
}

bool cRegistry::RestoreKey(std::string_view sKeyName, std::string_view sFileName,
                           HKEY lPredefinedKey, int Use64BitRegCall) {
    lReturnCode =
        store_.RegOpenKeyExA(lPredefinedKey, sKeyName, 0, ReadMask(Use64BitRegCall), &lKeyHandle);
    if (lReturnCode != regerror::Success) return false;
    lReturnCode = store_.RegRestoreKeyA(lKeyHandle, sFileName, kForceRestore);
    store_.RegCloseKey(lKeyHandle);
    return lReturnCode == regerror::Success;
}

}  // namespace optera::services
