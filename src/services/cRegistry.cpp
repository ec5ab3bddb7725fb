// Path parsing, views, and the operations the rest of Optera uses: reading strings, testing
// keys and values, searching for a key, and writing values.

#include "services/cRegistry.h"

#include <utility>

#include "text/Split.h"

namespace optera::services {

using platform::DWORD;
using platform::HKEY;
using platform::LONG;
using platform::REGSAM;
namespace regerror = platform::regerror;
namespace regtype = platform::regtype;

namespace {

// The read buffer of GetStringValue: the largest value it can read, terminator included.
constexpr DWORD kStringBufferSize = 65535;
// KEY_ALL_ACCESS without the standard rights.
constexpr REGSAM kFullAccess = 0x3F;

std::string_view BeforeNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

}  // namespace

// ---- RegResult ----

RegResult RegResult::Bool(bool value) {
    RegResult r;
    r.kind_ = Kind::Bool;
    r.boolean_ = value;
    return r;
}

RegResult RegResult::Text(std::string value) {
    RegResult r;
    r.kind_ = Kind::Text;
    r.text_ = std::move(value);
    return r;
}

RegResult RegResult::Int(std::int32_t value) {
    RegResult r;
    r.kind_ = Kind::Int;
    r.integer_ = value;
    return r;
}

RegResult RegResult::Error() {
    RegResult r;
    r.kind_ = Kind::Error;
    return r;
}

std::string RegResult::AsText() const {
    switch (kind_) {
        case Kind::Bool:
            return boolean_ ? "True" : "False";
        case Kind::Text:
            return text_;
        case Kind::Int:
            return std::to_string(integer_);
        case Kind::Empty:
        case Kind::Error:
            break;
    }
    return {};
}

bool RegResult::AsBool() const {
    if (kind_ == Kind::Bool) return boolean_;
    if (kind_ == Kind::Int) return integer_ != 0;
    return false;
}

// ---- cRegistry ----

cRegistry::cRegistry(platform::KeyStore& store, platform::Prompts& prompts,
                     platform::FileSystem* files)
    : store_(store), prompts_(prompts), files_(files), bIs64Bit(Is64Bit()) {}

bool cRegistry::Is64Bit() const {
    return store_.IsWow64Process();
}

HKEY cRegistry::GetMainKeyHandle(std::string_view name) {
    namespace hkey = platform::hkey;
    static constexpr std::pair<std::string_view, HKEY> kRoots[] = {
        {"HKEY_CLASSES_ROOT", hkey::ClassesRoot},
        {"HKEY_CURRENT_USER", hkey::CurrentUser},
        {"HKEY_LOCAL_MACHINE", hkey::LocalMachine},
        {"HKEY_USERS", hkey::Users},
        {"HKEY_PERFORMANCE_DATA", hkey::PerformanceData},
        {"HKEY_CURRENT_CONFIG", hkey::CurrentConfig},
        {"HKEY_DYN_DATA", hkey::DynData},
    };
    for (const auto& [rootName, handle] : kRoots) {
        if (name == rootName) return handle;
    }
    return 0;
}

void cRegistry::ParseKey(std::string& keyName, HKEY& keyHandle) {
    bIs64Bit = Is64Bit();
    std::size_t backslash = keyName.find('\\');
    bool malformed =
        keyName.compare(0, 5, "HKEY_") != 0 || (!keyName.empty() && keyName.back() == '\\');
    if (malformed) {
        // Without a root to fall back on, the caller's path cannot mean anything: say so.
        // With one, the text stays a subkey path below that root.
        if (keyHandle == 0) {
            prompts_.ShowMessage({"", "Incorrect Format:\n\n" + keyName,
                                  platform::MessageButtons::Ok, platform::MessageIcon::None});
        }
        return;
    }
    if (backslash == std::string::npos) {
        keyHandle = GetMainKeyHandle(keyName);
        keyName.clear();
    } else {
        keyHandle = GetMainKeyHandle(std::string_view(keyName).substr(0, backslash));
        keyName.erase(0, backslash + 1);
    }
}

REGSAM cRegistry::WithView(REGSAM mask, int use64) const {
    return bIs64Bit && use64 != 0 ? mask | platform::regaccess::Wow64_64Key : mask;
}
REGSAM cRegistry::ReadMask(int use64) const {
    return WithView(platform::regaccess::Read, use64);
}
REGSAM cRegistry::WriteMask(int use64) const {
    return WithView(platform::regaccess::Write, use64);
}
REGSAM cRegistry::FullMask(int use64) const {
    return WithView(kFullAccess, use64);
}

void cRegistry::Report() {
    if (!bDisplayErrorMsg) return;
    prompts_.ShowMessage(
        {"", GetErrorText(lReturnCode), platform::MessageButtons::Ok, platform::MessageIcon::None});
}

std::vector<std::string> cRegistry::EnumerateSubkeys(HKEY key) {
    std::vector<std::string> names;
    for (DWORD index = 0;; ++index) {
        char name[kNameBufferSize];
        char className[kNameBufferSize];
        DWORD nameLength = kNameBufferSize;
        DWORD classLength = kNameBufferSize;
        std::uint64_t lastWrite = 0;
        if (store_.RegEnumKeyExA(key, index, name, &nameLength, className, &classLength,
                                 &lastWrite) != regerror::Success) {
            break;
        }
        names.emplace_back(name, nameLength);
    }
    return names;
}

// ---- Reading ----

bool cRegistry::ParseAndOpen(std::string_view sKey, REGSAM (cRegistry::*mask)(int) const, int use64,
                             HKEY& handle) {
    std::string path(sKey);
    ParseKey(path, lMainKeyHandle);
    if (lMainKeyHandle == 0) return false;
    // The mask is chosen after ParseKey, which refreshes bIs64Bit.
    lReturnCode = store_.RegOpenKeyExA(lMainKeyHandle, path, 0, (this->*mask)(use64), &handle);
    return true;
}

RegResult cRegistry::GetStringValue(std::string_view sKey, std::string_view sKeyName,
                                    int Use64BitRegCall) {
    sValueBuffer.clear();
    lValueLength = 0;
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, lKeyHandle)) return {};
    if (lReturnCode != regerror::Success) {
        Report();
        return RegResult::Text("Error");
    }
    // The value's bytes land at the start of a buffer of blanks; whatever type it has, it is
    // read as text.
    sValueBuffer.assign(kStringBufferSize, ' ');
    lValueLength = kStringBufferSize;
    DWORD type = regtype::Sz;
    lReturnCode = store_.RegQueryValueExA(lKeyHandle, sKeyName, &type,
                                          reinterpret_cast<std::uint8_t*>(sValueBuffer.data()),
                                          &lValueLength);
    store_.RegCloseKey(lKeyHandle);
    if (lReturnCode != regerror::Success) {
        Report();
        return RegResult::Text("Error");
    }
    // The blanks behind the data go with the trim; so do the value's leading blanks, while
    // blanks before its terminator stay.
    std::string_view value = BeforeNul(text::TrimBlanks(sValueBuffer));
    std::size_t end = 0;
    while (end < value.size() && static_cast<unsigned char>(value[end]) >= 10) ++end;
    return RegResult::Text(std::string(value.substr(0, end)));
}

RegResult cRegistry::KeyExist(std::string_view sKey, int Use64BitRegCall) {
    HKEY key = 0;
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, key)) return {};
    if (lReturnCode != regerror::Success) return RegResult::Bool(false);
    store_.RegCloseKey(key);
    return RegResult::Bool(true);
}

RegResult cRegistry::KeyValueExist(std::string_view sKey, std::string_view sKeyName,
                                   int Use64BitRegCall) {
    if (!ParseAndOpen(sKey, &cRegistry::ReadMask, Use64BitRegCall, lKeyHandle)) return {};
    if (lReturnCode != regerror::Success) return {};
    DWORD type = 0;
    DWORD length = 0;
    lReturnCode = store_.RegQueryValueExA(lKeyHandle, sKeyName, &type, nullptr, &length);
    store_.RegCloseKey(lKeyHandle);
    return RegResult::Bool(lReturnCode == regerror::Success);
}

std::string cRegistry::KeyExistRecursive(std::string_view sMainKey, std::string_view szSubKey,
                                         int Use64BitRegCall) {
    // A local handle: the search recurses, so the shared field would be overwritten.
    HKEY key = 0;
    if (!ParseAndOpen(sMainKey, &cRegistry::ReadMask, Use64BitRegCall, key)) return {};
    if (lReturnCode != regerror::Success) return {};
    std::vector<std::string> names = EnumerateSubkeys(key);
    store_.RegCloseKey(key);

    std::string prefix = std::string(sMainKey) + "\\";
    for (const std::string& name : names) {
        if (name == szSubKey) return prefix + name;
    }
    for (const std::string& name : names) {
        std::string found = KeyExistRecursive(prefix + name, szSubKey, 1);
        if (!found.empty()) return found;
    }
    return {};
}

// ---- Writing ----

RegResult cRegistry::WriteValue(std::string_view sKey, std::string_view sKeyName, DWORD type,
                                std::string_view bytes, int use64, bool emptyIsError) {
    RegResult result = RegResult::Bool(false);
    // Opened, never created: writing below a key that is not there is a failure.
    if (!ParseAndOpen(sKey, &cRegistry::WriteMask, use64, lKeyHandle)) return result;
    if (lReturnCode != regerror::Success) {
        Report();
        return result;
    }
    if (emptyIsError && bytes.empty()) {
        store_.RegCloseKey(lKeyHandle);
        return RegResult::Error();
    }
    // A std::string is followed by a NUL, which the store counts back into a string's data.
    const std::string data(bytes);
    lReturnCode = store_.RegSetValueExA(lKeyHandle, sKeyName, type,
                                        reinterpret_cast<const std::uint8_t*>(data.data()),
                                        static_cast<DWORD>(data.size()));
    if (lReturnCode == regerror::Success) {
        result = RegResult::Bool(true);
    } else {
        Report();
    }
    store_.RegCloseKey(lKeyHandle);
    return result;
}

RegResult cRegistry::SetStringValue(std::string_view sKey, std::string_view sKeyName,
                                    std::string_view KeyValue, int Use64BitRegCall) {
    return WriteValue(sKey, sKeyName, regtype::Sz, KeyValue, Use64BitRegCall, false);
}

RegResult cRegistry::SetDWordValue(std::string_view sKey, std::string_view sKeyName,
                                   std::int32_t KeyValue, int Use64BitRegCall) {
    auto bits = static_cast<std::uint32_t>(KeyValue);
    const char bytes[4] = {static_cast<char>(bits & 0xFF), static_cast<char>((bits >> 8) & 0xFF),
                           static_cast<char>((bits >> 16) & 0xFF),
                           static_cast<char>((bits >> 24) & 0xFF)};
    return WriteValue(sKey, sKeyName, regtype::Dword, std::string_view(bytes, 4), Use64BitRegCall,
                      false);
}

RegResult cRegistry::SetBinaryValue(std::string_view sKey, std::string_view sKeyName,
                                    std::string_view KeyValue, int Use64BitRegCall) {
    lByteCount = static_cast<std::int32_t>(KeyValue.size());
    bValueBytes.assign(KeyValue.begin(), KeyValue.end());
    return WriteValue(sKey, sKeyName, regtype::Binary, KeyValue, Use64BitRegCall, true);
}

}  // namespace optera::services
