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
using platform::LONG;
namespace regtype = platform::regtype;
namespace regerror = platform::regerror;

using platform::REGSAM;
constexpr REGSAM kAllAccess = 0xF003F;

// The text of the file: UTF-16LE after its mark, else 8-bit bytes in the code page.
std::u16string FileText(std::string_view bytes, bool& unicode) {
    unicode = bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE';
    if (!unicode) return text::Utf16FromCodePage(bytes);
    std::u16string units;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                       static_cast<unsigned char>(bytes[i + 1]) << 8);
    return units;
}

std::u16string_view TrimStart(std::u16string_view text) {
    return text.substr(std::min(text.find_first_not_of(u" \t"), text.size()));
}

// ASCII letters compared without regard to case.
bool StartsWithNoCase(std::u16string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (text[i] > 0x7F ||
            text::FoldLower(static_cast<char>(text[i])) != text::FoldLower(prefix[i]))
            return false;
    return true;
}

// The file's lines with continuations ("\" at the end of a line) joined and line ends dropped.
std::vector<std::u16string> LogicalLines(const std::u16string& content) {
    std::vector<std::u16string> lines;
    std::u16string current;
    bool continuing = false;
    std::size_t at = 0;
    while (at <= content.size()) {
        std::size_t end = content.find(u'\n', at);
        if (end == std::u16string::npos) end = content.size();
        std::u16string_view line = std::u16string_view(content).substr(at, end - at);
        at = end + 1;
        if (line.ends_with(u'\r')) line.remove_suffix(1);
        if (continuing) line = TrimStart(line);
        current += line;
        continuing = !current.empty() && current.back() == u'\\' &&
                     current.find(u"=hex") != std::u16string::npos;
        if (continuing) {
            current.pop_back();
            continue;
        }
        lines.push_back(std::move(current));
        current.clear();
    }
    // A continuation on the last line has nothing to join.
    if (continuing) lines.push_back(std::move(current));
    return lines;
}

// A quoted string at the start of `text` with its escapes undone; `text` moves past it.
std::optional<std::u16string> TakeQuoted(std::u16string_view& text) {
    if (text.empty() || text[0] != u'"') return std::nullopt;
    std::u16string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'"') {
            text.remove_prefix(i + 1);
            return value;
        }
        if (c == u'\\' && i + 1 < text.size()) {
            char16_t next = text[++i];
            value += next == u'n' ? u'\n' : next == u'r' ? u'\r' : next == u'0' ? u'\0' : next;
        } else {
            value += c;
        }
    }
    return std::nullopt;
}

int HexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

std::optional<std::vector<std::uint8_t>> HexBytes(std::u16string_view text) {
    std::vector<std::uint8_t> bytes;
    std::size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && (text[i] == u' ' || text[i] == u'\t' || text[i] == u',')) ++i;
        if (i >= text.size()) break;
        int high = HexDigit(text[i]);
        int low = i + 1 < text.size() ? HexDigit(text[i + 1]) : -1;
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
        i += 2;
    }
    return bytes;
}

// One to eight hex digits as a number.
std::optional<DWORD> HexNumber(std::u16string_view digits) {
    if (digits.empty() || digits.size() > 8) return std::nullopt;
    DWORD number = 0;
    for (char16_t c : digits) {
        int digit = HexDigit(c);
        if (digit < 0) return std::nullopt;
        number = number << 4 | static_cast<DWORD>(digit);
    }
    return number;
}

std::vector<std::uint8_t> Utf16LeBytes(std::u16string_view units) {
    std::vector<std::uint8_t> bytes;
    for (char16_t unit : units) {
        bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return bytes;
}

struct Value {
    DWORD type = regtype::Sz;
    std::vector<std::uint8_t> data;  // strings as UTF-16LE, for the store's wide path
};

// The data of a value line after its "=": "text", dword:, hex:, hex(N):.
std::optional<Value> ParseData(std::u16string_view text, bool unicode) {
    if (text.starts_with(u'"')) {
        auto quoted = TakeQuoted(text);
        if (!quoted) return std::nullopt;
        return Value{regtype::Sz, Utf16LeBytes(*quoted + u'\0')};
    }
    if (StartsWithNoCase(text, "dword:")) {
        auto number = HexNumber(text.substr(6));
        if (!number) return std::nullopt;
        return Value{
            regtype::Dword,
            {static_cast<std::uint8_t>(*number), static_cast<std::uint8_t>(*number >> 8),
             static_cast<std::uint8_t>(*number >> 16), static_cast<std::uint8_t>(*number >> 24)}};
    }
    if (!StartsWithNoCase(text, "hex")) return std::nullopt;
    text.remove_prefix(3);
    Value value{regtype::Binary, {}};
    if (text.starts_with(u'(')) {
        std::size_t close = text.find(u')');
        if (close == std::u16string_view::npos) return std::nullopt;
        auto type = HexNumber(text.substr(1, close - 1));
        if (!type) return std::nullopt;
        value.type = *type;
        text.remove_prefix(close + 1);
    }
    if (!text.starts_with(u':')) return std::nullopt;
    auto bytes = HexBytes(text.substr(1));
    if (!bytes) return std::nullopt;
    value.data = std::move(*bytes);
    // An 8-bit file holds the bytes of its strings in the code page.
    if (!unicode && platform::IsStringType(value.type))
        value.data = Utf16LeBytes(text::Utf16FromCodePage(
            std::string_view(reinterpret_cast<const char*>(value.data.data()), value.data.size())));
    return value;
}

// Deletes a key and everything below it; false when something stays.
bool DeleteTree(KeyStore& store, HKEY root, const std::u16string& path, REGSAM view) {
    HKEY key = 0;
    LONG opened = store.RegOpenKeyExW(root, path, 0, kAllAccess | view, &key);
    if (opened == regerror::FileNotFound) return true;
    if (opened != regerror::Success) return false;
    bool whole = true;
    for (std::u16string name; whole && store.RegEnumKeyExW(key, 0, name) == regerror::Success;) {
        // A subkey that would not go ends the work here rather than looping on it.
        whole = DeleteTree(store, root, path + u"\\" + name, view);
    }
    store.RegCloseKey(key);
    return whole && store.RegDeleteKeyExW(root, path, view) == regerror::Success;
}

class Importer {
  public:
    Importer(KeyStore& store, bool unicode, REGSAM view)
        : store_(store), unicode_(unicode), view_(view) {}
    ~Importer() { Close(); }
    bool whole() const { return whole_; }

    void Line(std::u16string_view line) {
        if (line.empty() || line[0] == u';' || line[0] == u'#') return;
        if (line[0] == u'[') return KeyLine(line);
        // The values of a key that could not be made are lost with it, and were counted so.
        if (key_ == 0) return;
        whole_ = ValueLine(line) && whole_;
    }

  private:
    bool ValueLine(std::u16string_view line) {
        std::u16string name;
        if (line.starts_with(u'@')) {
            line.remove_prefix(1);
        } else {
            auto quoted = TakeQuoted(line);
            if (!quoted) return false;
            name = *quoted;
        }
        line = TrimStart(line);
        if (!line.starts_with(u'=')) return false;
        line = TrimStart(line.substr(1));
        if (line == u"-") {
            LONG code = store_.RegDeleteValueW(key_, name);
            return code == regerror::Success || code == regerror::FileNotFound;
        }
        auto value = ParseData(line, unicode_);
        return value &&
               store_.RegSetValueExW(key_, name, value->type, value->data) == regerror::Success;
    }

    void KeyLine(std::u16string_view line) {
        Close();
        std::size_t close = line.rfind(u']');
        if (close == std::u16string_view::npos) {
            whole_ = false;
            return;
        }
        std::u16string_view path = line.substr(1, close - 1);
        bool remove = path.starts_with(u'-');
        if (remove) path.remove_prefix(1);
        std::size_t cut = std::min(path.find(u'\\'), path.size());
        HKEY root = RootOfRegPath(text::CodePageFromUtf16(path.substr(0, cut)));
        std::u16string subKey(path.substr(std::min(cut + 1, path.size())));
        if (root == 0 || (remove && subKey.empty())) {
            whole_ = false;
            return;
        }
        if (remove) {
            whole_ = DeleteTree(store_, root, subKey, view_) && whole_;
            return;
        }
        if (store_.RegCreateKeyExW(root, subKey, kAllAccess | view_, &key_, nullptr) !=
            regerror::Success) {
            key_ = 0;
            whole_ = false;
        }
    }

    void Close() {
        if (key_ != 0) store_.RegCloseKey(key_);
        key_ = 0;
    }

    KeyStore& store_;
    bool unicode_;
    REGSAM view_;
    HKEY key_ = 0;
    bool whole_ = true;
};

}  // namespace

bool ImportText(KeyStore& store, std::string_view bytes, REGSAM view) {
    bool unicode = false;
    std::vector<std::u16string> lines = LogicalLines(FileText(bytes, unicode));
    std::u16string_view header = lines.front();
    if (header != u"Windows Registry Editor Version 5.00" && header != u"REGEDIT4") return false;
    Importer importer(store, unicode, view);
    for (std::size_t i = 1; i < lines.size(); ++i) importer.Line(lines[i]);
    return importer.whole();
}

bool ImportRegistryFile(KeyStore& store, const platform::FileSystem& files,
                        std::string_view filePath, REGSAM view) {
    auto bytes = files.ReadAll(filePath);
    return bytes && ImportText(store, *bytes, view);
}

}  // namespace optera::services
