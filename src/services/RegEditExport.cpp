#include <algorithm>
#include <cstdio>
#include <vector>

#include "services/RegEditFormat.h"
#include "text/CodePage.h"
#include "text/NoCase.h"

namespace optera::services {

namespace {

using platform::DWORD;
using platform::HKEY;
using platform::KeyStore;
namespace regtype = platform::regtype;
namespace regerror = platform::regerror;

using platform::REGSAM;
// The registry editor starts a continuation line once a line of hex data reaches this length.
constexpr std::size_t kHexLineLimit = 77;
constexpr std::u16string_view kHeader = u"Windows Registry Editor Version 5.00\r\n";
constexpr std::u16string_view kCrLf = u"\r\n";

std::u16string Ascii(std::string_view text) {
    return std::u16string(text.begin(), text.end());
}

// A name or string in quotes, escaped as Wine's registry editor does (line breaks included, so
// that a value holding one stays on its line).
std::u16string Quoted(std::u16string_view text) {
    std::u16string quoted = u"\"";
    for (char16_t c : text) {
        if (c == u'\\' || c == u'"')
            quoted += {u'\\', c};
        else if (c == u'\n')
            quoted += u"\\n";
        else if (c == u'\r')
            quoted += u"\\r";
        else
            quoted += c;
    }
    return quoted + u'"';
}

std::u16string HexValue(std::size_t lineLength, DWORD type, const std::vector<std::uint8_t>& data) {
    char prefix[16];
    if (type == regtype::Binary)
        std::snprintf(prefix, sizeof prefix, "hex:");
    else
        std::snprintf(prefix, sizeof prefix, "hex(%x):", static_cast<unsigned>(type));
    std::u16string out = Ascii(prefix);
    lineLength += out.size();
    for (std::size_t i = 0; i < data.size(); ++i) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02x", data[i]);
        out += Ascii(pair);
        if (i + 1 == data.size()) break;
        out += u',';
        lineLength += 3;
        if (lineLength >= kHexLineLimit) {
            out += u"\\\r\n  ";
            lineLength = 2;
        }
    }
    return out;
}

// UTF-16LE data that is one string and its NUL, as a "text" form can hold it; no data at all is
// the empty text, as the registry editor writes it.
std::optional<std::u16string> WholeString(const std::vector<std::uint8_t>& data) {
    if (data.empty()) return std::u16string();
    if (data.size() < 2 || data.size() % 2 != 0) return std::nullopt;
    std::u16string units = text::Utf16FromBytes(
        std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
    if (units.find(u'\0') != units.size() - 1) return std::nullopt;
    units.pop_back();
    return units;
}

std::u16string ValueLine(std::u16string_view name, DWORD type,
                         const std::vector<std::uint8_t>& data) {
    std::u16string line = name.empty() ? u"@=" : Quoted(name) + u"=";
    if (type == regtype::Sz) {
        if (auto text = WholeString(data)) return line + Quoted(*text) + std::u16string(kCrLf);
    }
    if (type == regtype::Dword && data.size() == 4) {
        char number[16];
        std::snprintf(
            number, sizeof number, "dword:%08x",
            data[0] | data[1] << 8 | data[2] << 16 | static_cast<unsigned>(data[3]) << 24);
        return line + Ascii(number) + std::u16string(kCrLf);
    }
    return line + HexValue(line.size(), type, data) + std::u16string(kCrLf);
}

void ExportKey(KeyStore& store, HKEY key, const std::u16string& path, REGSAM view,
               std::u16string& out) {
    out += u"\r\n[" + path + u"]\r\n";
    std::u16string name;
    DWORD type = 0;
    std::vector<std::uint8_t> data;
    for (DWORD index = 0; store.RegEnumValueW(key, index, name, type, data) == regerror::Success;
         ++index)
        out += ValueLine(name, type, data);
    for (DWORD index = 0; store.RegEnumKeyExW(key, index, name) == regerror::Success; ++index) {
        HKEY sub = 0;
        if (store.RegOpenKeyExW(key, name, 0, platform::regaccess::Read | view, &sub) !=
            regerror::Success)
            continue;
        ExportKey(store, sub, path + u"\\" + name, view, out);
        store.RegCloseKey(sub);
    }
}

// Whether `inner` names `outer` or a key below it.
bool Within(std::string_view inner, std::string_view outer) {
    std::string_view innerRest, outerRest;
    HKEY innerRoot = RootOfRegPath(inner, &innerRest);
    if (innerRoot == 0 || innerRoot != RootOfRegPath(outer, &outerRest)) return false;
    if (outerRest.empty()) return true;
    if (!text::StartsWithNoCase(innerRest, outerRest)) return false;
    return innerRest.size() == outerRest.size() || innerRest[outerRest.size()] == '\\';
}

// The line of a value as it stands now (`"name"=-` when it does not exist) under its key's
// line; nullopt when its key does not exist, since then nothing can change there.
std::optional<std::u16string> ValueSection(KeyStore& store, const RegValueRef& ref, REGSAM view,
                                           bool withExisting) {
    std::string_view subKey;
    HKEY root = RootOfRegPath(ref.key, &subKey);
    HKEY key = 0;
    if (root == 0 ||
        store.RegOpenKeyExW(root, text::Utf16FromCodePage(subKey), 0,
                            platform::regaccess::Read | view, &key) != regerror::Success)
        return std::nullopt;
    const std::u16string name = text::Utf16FromCodePage(ref.name);
    DWORD type = 0;
    std::vector<std::uint8_t> data;
    const bool exists = store.RegQueryValueExW(key, name, type, data) == regerror::Success;
    store.RegCloseKey(key);
    if (exists && !withExisting) return std::u16string();
    const std::u16string line =
        exists ? ValueLine(name, type, data) : (name.empty() ? u"@" : Quoted(name)) + u"=-\r\n";
    return u"\r\n[" + text::Utf16FromCodePage(ref.key) + u"]\r\n" + line;
}

}  // namespace

HKEY RootOfRegPath(std::string_view path, std::string_view* rest) {
    static const std::pair<std::string_view, HKEY> kRoots[] = {
        {"HKEY_CLASSES_ROOT", platform::hkey::ClassesRoot},
        {"HKCR", platform::hkey::ClassesRoot},
        {"HKEY_CURRENT_USER", platform::hkey::CurrentUser},
        {"HKCU", platform::hkey::CurrentUser},
        {"HKEY_LOCAL_MACHINE", platform::hkey::LocalMachine},
        {"HKLM", platform::hkey::LocalMachine},
        {"HKEY_USERS", platform::hkey::Users},
        {"HKU", platform::hkey::Users},
        {"HKEY_CURRENT_CONFIG", platform::hkey::CurrentConfig},
        {"HKCC", platform::hkey::CurrentConfig},
    };
    std::size_t cut = path.find('\\');
    std::string_view first = path.substr(0, cut);
    for (const auto& [name, root] : kRoots) {
        if (!text::EqualsNoCase(first, name)) continue;
        if (rest) *rest = cut == std::string_view::npos ? std::string_view() : path.substr(cut + 1);
        return root;
    }
    return 0;
}

std::optional<std::u16string> ExportText(KeyStore& store, std::string_view keyPath,
                                         const std::vector<RegValueRef>& values, REGSAM view) {
    std::string_view subKey;
    HKEY root = RootOfRegPath(keyPath, &subKey);
    if (root == 0) return std::nullopt;
    std::u16string out(kHeader);
    bool any = false;
    HKEY key = 0;
    if (store.RegOpenKeyExW(root, text::Utf16FromCodePage(subKey), 0,
                            platform::regaccess::Read | view, &key) == regerror::Success) {
        ExportKey(store, key, text::Utf16FromCodePage(keyPath), view, out);
        store.RegCloseKey(key);
        any = true;
    }
    for (const RegValueRef& value : values) {
        auto section = ValueSection(store, value, view, !any || !Within(value.key, keyPath));
        if (!section) continue;
        out += *section;
        any = true;
    }
    if (!any) return std::nullopt;
    return out + u"\r\n";
}

std::string Utf16FileBytes(std::u16string_view text) {
    return "\xFF\xFE" + text::Utf16Bytes(text);
}

bool ExportRegistryKey(KeyStore& store, platform::FileSystem& files, std::string_view keyPath,
                       std::string_view filePath, const std::vector<RegValueRef>& values,
                       REGSAM view) {
    auto content = ExportText(store, keyPath, values, view);
    return content && platform::ReplaceFile(files, filePath, Utf16FileBytes(*content));
}

}  // namespace optera::services
