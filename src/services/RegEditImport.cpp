#include <algorithm>
#include <optional>
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

constexpr platform::REGSAM kAll64 = 0xF003F | platform::regaccess::Wow64_64Key;

// The text of the file in the code page: UTF-16LE after its mark, else the bytes as they are.
std::string FileText(std::string_view bytes, bool& unicode) {
    unicode = bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE';
    if (!unicode) return std::string(bytes);
    std::u16string units;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                       static_cast<unsigned char>(bytes[i + 1]) << 8);
    return text::CodePageFromUtf16(units);
}

// The file's lines with continuations ("\" at the end of a line) joined and line ends dropped.
std::vector<std::string> LogicalLines(const std::string& content) {
    std::vector<std::string> lines;
    std::string current;
    bool continuing = false;
    std::size_t at = 0;
    while (at <= content.size()) {
        std::size_t end = content.find('\n', at);
        if (end == std::string::npos) end = content.size();
        std::string_view line = std::string_view(content).substr(at, end - at);
        at = end + 1;
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (continuing) line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        current += line;
        continuing =
            !current.empty() && current.back() == '\\' && current.find("=hex") != std::string::npos;
        if (continuing) {
            current.pop_back();
            continue;
        }
        lines.push_back(std::move(current));
        current.clear();
    }
    return lines;
}

// A quoted string at the start of `text` with its escapes undone; `text` moves past it.
std::optional<std::string> TakeQuoted(std::string_view& text) {
    if (text.empty() || text[0] != '"') return std::nullopt;
    std::string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        char c = text[i];
        if (c == '"') {
            text.remove_prefix(i + 1);
            return value;
        }
        if (c == '\\' && i + 1 < text.size()) {
            char next = text[++i];
            value += next == 'n' ? '\n' : next == 'r' ? '\r' : next == '0' ? '\0' : next;
        } else {
            value += c;
        }
    }
    return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> HexBytes(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    std::size_t i = 0;
    auto digit = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        c = text::FoldLower(c);
        return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    };
    while (i < text.size()) {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == ',')) ++i;
        if (i >= text.size()) break;
        int high = digit(text[i]);
        int low = i + 1 < text.size() ? digit(text[i + 1]) : -1;
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
        i += 2;
    }
    return bytes;
}

struct Value {
    DWORD type = regtype::Sz;
    std::vector<std::uint8_t> data;
};

// The data of a value line after its "=": "text", dword:, hex:, hex(N):.
std::optional<Value> ParseData(std::string_view text, bool unicode) {
    if (text.starts_with('"')) {
        auto quoted = TakeQuoted(text);
        if (!quoted) return std::nullopt;
        Value value{regtype::Sz, {quoted->begin(), quoted->end()}};
        value.data.push_back(0);
        return value;
    }
    if (text::StartsWithNoCase(text, "dword:")) {
        text.remove_prefix(6);
        if (text.empty() || text.size() > 8) return std::nullopt;
        std::uint32_t number = 0;
        for (char c : text) {
            auto digits = HexBytes(std::string("0") + c);
            if (!digits) return std::nullopt;
            number = number << 4 | (*digits)[0];
        }
        return Value{
            regtype::Dword,
            {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8),
             static_cast<std::uint8_t>(number >> 16), static_cast<std::uint8_t>(number >> 24)}};
    }
    if (!text::StartsWithNoCase(text, "hex")) return std::nullopt;
    text.remove_prefix(3);
    Value value{regtype::Binary, {}};
    if (text.starts_with('(')) {
        std::size_t close = text.find(')');
        if (close == std::string_view::npos || close == 1) return std::nullopt;
        std::string_view digits = text.substr(1, close - 1);
        if (digits.size() > 8) return std::nullopt;
        DWORD type = 0;
        for (char c : digits) {
            auto nibble = HexBytes(std::string("0") + c);
            if (!nibble) return std::nullopt;
            type = type << 4 | (*nibble)[0];
        }
        value.type = type;
        text.remove_prefix(close + 1);
    }
    if (!text.starts_with(':')) return std::nullopt;
    auto bytes = HexBytes(text.substr(1));
    if (!bytes) return std::nullopt;
    value.data = std::move(*bytes);
    // String types travel as UTF-16 in a Unicode file; the store takes them in the code page.
    bool stringType = value.type == regtype::Sz || value.type == regtype::ExpandSz ||
                      value.type == regtype::MultiSz;
    if (unicode && stringType) {
        std::u16string units;
        for (std::size_t i = 0; i + 1 < value.data.size(); i += 2)
            units += static_cast<char16_t>(value.data[i] | value.data[i + 1] << 8);
        std::string ansi = text::CodePageFromUtf16(units);
        value.data.assign(ansi.begin(), ansi.end());
    }
    return value;
}

void DeleteTree(KeyStore& store, HKEY root, const std::string& path) {
    HKEY key = 0;
    if (store.RegOpenKeyExA(root, path, 0, kAll64, &key) != regerror::Success) return;
    for (;;) {
        char name[256];
        DWORD length = sizeof name;
        if (store.RegEnumKeyExA(key, 0, name, &length, nullptr, nullptr, nullptr) !=
            regerror::Success)
            break;
        std::string sub = path + "\\" + std::string(name, length);
        DeleteTree(store, root, sub);
        HKEY check = 0;
        // A subkey that would not go ends the work here rather than looping on it.
        if (store.RegOpenKeyExA(root, sub, 0, kAll64, &check) == regerror::Success) {
            store.RegCloseKey(check);
            break;
        }
    }
    store.RegCloseKey(key);
    store.RegDeleteKeyExA(root, path, platform::regaccess::Wow64_64Key, 0);
}

class Importer {
  public:
    Importer(KeyStore& store, bool unicode) : store_(store), unicode_(unicode) {}
    ~Importer() { Close(); }

    void Line(std::string_view line) {
        if (line.empty() || line[0] == ';' || line[0] == '#') return;
        if (line[0] == '[') return KeyLine(line);
        if (key_ == 0) return;
        std::string name;
        if (line.starts_with('@')) {
            line.remove_prefix(1);
        } else {
            auto quoted = TakeQuoted(line);
            if (!quoted) return;
            name = *quoted;
        }
        line = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
        if (!line.starts_with('=')) return;
        line.remove_prefix(1);
        line = line.substr(std::min(line.find_first_not_of(" \t"), line.size()));
        if (line == "-") {
            store_.RegDeleteValueA(key_, name);
            return;
        }
        if (auto value = ParseData(line, unicode_))
            store_.RegSetValueExA(key_, name, value->type, value->data.data(),
                                  static_cast<DWORD>(value->data.size()));
    }

  private:
    void KeyLine(std::string_view line) {
        Close();
        std::size_t close = line.rfind(']');
        if (close == std::string_view::npos) return;
        std::string_view path = line.substr(1, close - 1);
        bool remove = path.starts_with('-');
        if (remove) path.remove_prefix(1);
        std::string_view subKey;
        HKEY root = RootOfRegPath(path, &subKey);
        if (root == 0 || subKey.empty()) return;
        if (remove) return DeleteTree(store_, root, std::string(subKey));
        store_.RegCreateKeyExA(root, subKey, 0, "", 0, kAll64, &key_, nullptr);
    }

    void Close() {
        if (key_ != 0) store_.RegCloseKey(key_);
        key_ = 0;
    }

    KeyStore& store_;
    bool unicode_;
    HKEY key_ = 0;
};

}  // namespace

bool ImportText(KeyStore& store, std::string_view bytes) {
    bool unicode = false;
    std::vector<std::string> lines = LogicalLines(FileText(bytes, unicode));
    std::string_view header = lines.front();
    if (header != "Windows Registry Editor Version 5.00" && header != "REGEDIT4") return false;
    Importer importer(store, unicode);
    for (std::size_t i = 1; i < lines.size(); ++i) importer.Line(lines[i]);
    return true;
}

bool ImportRegistryFile(KeyStore& store, const platform::FileSystem& files,
                        std::string_view filePath) {
    auto bytes = files.ReadAll(filePath);
    return bytes && ImportText(store, *bytes);
}

}  // namespace optera::services
