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

constexpr platform::REGSAM kRead64 = platform::regaccess::Read | platform::regaccess::Wow64_64Key;
// The registry editor starts a continuation line once a line of hex data reaches this length.
constexpr std::size_t kHexLineLimit = 77;
constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00\r\n";

// A name or string in quotes, escaped as Wine's registry editor does (line breaks included, so
// that a value holding one stays on its line).
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '\\' || c == '"')
            quoted += {'\\', c};
        else if (c == '\n')
            quoted += "\\n";
        else if (c == '\r')
            quoted += "\\r";
        else
            quoted += c;
    }
    return quoted + '"';
}

// Bytes of a string value as the file holds them in hex form: UTF-16LE.
std::vector<std::uint8_t> WideBytes(const std::vector<std::uint8_t>& ansi) {
    std::vector<std::uint8_t> wide;
    std::u16string units = text::Utf16FromCodePage(
        std::string_view(reinterpret_cast<const char*>(ansi.data()), ansi.size()));
    for (char16_t unit : units) {
        wide.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        wide.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return wide;
}

std::string HexValue(std::size_t lineLength, DWORD type, const std::vector<std::uint8_t>& data) {
    char prefix[16];
    if (type == regtype::Binary)
        std::snprintf(prefix, sizeof prefix, "hex:");
    else
        std::snprintf(prefix, sizeof prefix, "hex(%x):", static_cast<unsigned>(type));
    std::string out = prefix;
    lineLength += out.size();
    for (std::size_t i = 0; i < data.size(); ++i) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02x", data[i]);
        out += pair;
        if (i + 1 == data.size()) break;
        out += ',';
        lineLength += 3;
        if (lineLength >= kHexLineLimit) {
            out += "\\\r\n  ";
            lineLength = 2;
        }
    }
    return out;
}

std::string ValueLine(std::string_view name, DWORD type, std::vector<std::uint8_t> data) {
    std::string line = name.empty() ? "@=" : Quoted(name) + "=";
    if (type == regtype::Sz && !data.empty() && data.back() == 0 &&
        std::find(data.begin(), data.end() - 1, 0) == data.end() - 1) {
        return line + Quoted(std::string(data.begin(), data.end() - 1)) + "\r\n";
    }
    if (type == regtype::Dword && data.size() == 4) {
        char number[16];
        std::snprintf(
            number, sizeof number, "dword:%08x",
            data[0] | data[1] << 8 | data[2] << 16 | static_cast<unsigned>(data[3]) << 24);
        return line + number + "\r\n";
    }
    if (type == regtype::Sz || type == regtype::ExpandSz || type == regtype::MultiSz)
        data = WideBytes(data);
    return line + HexValue(line.size(), type, data) + "\r\n";
}

void ExportKey(KeyStore& store, HKEY key, const std::string& path, std::string& out) {
    out += "\r\n[" + path + "]\r\n";
    DWORD subKeys = 0, maxSubKey = 0, values = 0, maxName = 0, maxData = 0;
    store.RegQueryInfoKeyA(key, nullptr, nullptr, &subKeys, &maxSubKey, &values, &maxName, &maxData,
                           nullptr);
    for (DWORD index = 0;; ++index) {
        std::vector<char> name(maxName + 2);
        std::vector<std::uint8_t> data(maxData + 2);
        DWORD nameLength = static_cast<DWORD>(name.size()),
              dataLength = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (store.RegEnumValueA(key, index, name.data(), &nameLength, &type, data.data(),
                                &dataLength) != regerror::Success)
            break;
        data.resize(dataLength);
        out += ValueLine(std::string_view(name.data(), nameLength), type, std::move(data));
    }
    for (DWORD index = 0;; ++index) {
        std::vector<char> name(maxSubKey + 2);
        DWORD nameLength = static_cast<DWORD>(name.size());
        if (store.RegEnumKeyExA(key, index, name.data(), &nameLength, nullptr, nullptr, nullptr) !=
            regerror::Success)
            break;
        std::string subName(name.data(), nameLength);
        HKEY sub = 0;
        if (store.RegOpenKeyExA(key, subName, 0, kRead64, &sub) != regerror::Success) continue;
        ExportKey(store, sub, path + "\\" + subName, out);
        store.RegCloseKey(sub);
    }
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

std::optional<std::string> ExportText(KeyStore& store, std::string_view keyPath) {
    std::string_view subKey;
    HKEY root = RootOfRegPath(keyPath, &subKey);
    if (root == 0) return std::nullopt;
    HKEY key = 0;
    if (store.RegOpenKeyExA(root, subKey, 0, kRead64, &key) != regerror::Success)
        return std::nullopt;
    std::string out(kHeader);
    ExportKey(store, key, std::string(keyPath), out);
    store.RegCloseKey(key);
    return out + "\r\n";
}

bool ExportRegistryKey(KeyStore& store, platform::FileSystem& files, std::string_view keyPath,
                       std::string_view filePath) {
    auto content = ExportText(store, keyPath);
    if (!content) return false;
    std::string bytes = "\xFF\xFE";
    for (char16_t unit : text::Utf16FromCodePage(*content)) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return platform::ReplaceFile(files, filePath, bytes);
}

}  // namespace optera::services
