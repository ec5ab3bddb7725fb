// The ".reg" reader. It reads a file line by line as the system's registry editor does, so that a
// file the editor loads loads the same here, a line the editor passes over is passed over here
// too, and a bad line costs that line and nothing after it.
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
    return unicode ? text::Utf16FromBytes(bytes.substr(2)) : text::Utf16FromCodePage(bytes);
}

// The lines of a text. A line ends at CR LF, LF or a lone CR: the editor takes all three, so a
// file saved on an old Mac or by a tool that writes bare CRs still loads.
std::vector<std::u16string_view> Lines(std::u16string_view text) {
    std::vector<std::u16string_view> lines;
    while (!text.empty()) {
        std::size_t end = std::min(text.find_first_of(u"\r\n"), text.size());
        lines.push_back(text.substr(0, end));
        if (end < text.size() && text[end] == u'\r' && end + 1 < text.size() &&
            text[end + 1] == u'\n')
            ++end;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Blanks that may stand before a line's content and around "=".
bool IsBlank(char16_t c) {
    return c == u' ' || c == u'\t';
}

// Blanks that may stand before a number (and after one, before the line's end).
bool IsNumberBlank(char16_t c) {
    return IsBlank(c) || c == u'\v' || c == u'\f';
}

void SkipBlanks(std::u16string_view& text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
}

void SkipNumberBlanks(std::u16string_view& text) {
    while (!text.empty() && IsNumberBlank(text.front())) text.remove_prefix(1);
}

// Whether nothing but blanks and maybe a ";" comment is left.
bool AtLineEnd(std::u16string_view text) {
    SkipNumberBlanks(text);
    return text.empty() || text.front() == u';';
}

bool TakePrefix(std::u16string_view& text, std::u16string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

int HexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

// A quoted name or string at the start of `text` with its escapes undone; `text` moves past it.
// "\n" and "\r" are line breaks; any other escaped character stands for itself. nullopt when the
// quote is not closed on the line, or for "\0", which the editor cannot read either (it stops
// loading the file there); here that line alone is passed over.
std::optional<std::u16string> TakeQuoted(std::u16string_view& text) {
    if (text.empty() || text[0] != u'"') return std::nullopt;
    std::u16string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        char16_t c = text[i];
        if (c == u'"') {
            text.remove_prefix(i + 1);
            return value;
        }
        if (c != u'\\') {
            value += c;
            continue;
        }
        if (++i == text.size()) return std::nullopt;
        c = text[i];
        if (c == u'0') return std::nullopt;
        value += c == u'n' ? u'\n' : c == u'r' ? u'\r' : c;
    }
    return std::nullopt;
}

// A number in hex digits as the editor reads the type in "hex(N):" and each byte of hex data:
// blanks, a sign, for bytes a "0x", then digits. nullopt when it is larger than `limit`, or has
// no digits where `digitsNeeded`; a minus sign gives the number's two's complement.
std::optional<DWORD> TakeNumber(std::u16string_view& text, DWORD limit, bool allowPrefix,
                                bool digitsNeeded) {
    SkipNumberBlanks(text);
    bool negative = false;
    if (!text.empty() && (text.front() == u'+' || text.front() == u'-')) {
        negative = text.front() == u'-';
        text.remove_prefix(1);
    }
    if (allowPrefix && text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X') &&
        HexDigit(text[2]) >= 0)
        text.remove_prefix(2);
    std::uint64_t number = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && HexDigit(text[digits]) >= 0; ++digits) {
        number = number << 4 | static_cast<unsigned>(HexDigit(text[digits]));
        if (number > 0xFFFFFFFFu) return std::nullopt;
    }
    if (digits == 0 && digitsNeeded) return std::nullopt;
    text.remove_prefix(digits);
    DWORD value = static_cast<DWORD>(negative ? 0x100000000u - number : number);
    if (value > limit) return std::nullopt;
    return value;
}

// "dword:" data: one to eight hex digits between blanks, nothing else but a comment.
std::optional<DWORD> ParseDword(std::u16string_view text) {
    SkipNumberBlanks(text);
    std::size_t digits = 0;
    while (digits < text.size() && HexDigit(text[digits]) >= 0) ++digits;
    if (digits == 0 || digits > 8 || !AtLineEnd(text.substr(digits))) return std::nullopt;
    DWORD number = 0;
    for (char16_t c : text.substr(0, digits)) number = number << 4 | HexDigit(c);
    return number;
}

// How a line of hex data ended: complete, continued on the next line, or unreadable.
enum class HexEnd { Done, More, Bad };

// Reads the comma-separated bytes of one line of hex data into `bytes`. A "\" where the next
// byte would start, with nothing but blanks or a comment after it, continues the value on the
// next line. A "\" anywhere else (as in "01\"), or alone on a line that continues a value,
// makes the value bad, and the next line is read as a line of its own.
HexEnd ReadHexLine(std::u16string_view text, std::vector<std::uint8_t>& bytes, bool continuing) {
    for (bool first = true;; first = false) {
        SkipNumberBlanks(text);
        if (text.empty() || text.front() == u';') return HexEnd::Done;
        if (text.front() == u'\\')
            return AtLineEnd(text.substr(1)) && !(first && continuing) ? HexEnd::More : HexEnd::Bad;
        auto byte = TakeNumber(text, 0xFF, true, true);
        if (!byte) return HexEnd::Bad;
        bytes.push_back(static_cast<std::uint8_t>(*byte));
        if (TakePrefix(text, u",")) continue;
        return AtLineEnd(text) ? HexEnd::Done : HexEnd::Bad;
    }
}

std::vector<std::uint8_t> Utf16LeBytes(std::u16string_view units) {
    const std::string bytes = text::Utf16Bytes(units);
    return {bytes.begin(), bytes.end()};
}

// The data of a string type given in hex as it is stored. An 8-bit file holds the bytes of its
// strings in the code page. Data that does not end in a NUL gets one, as the editor adds it:
// a string written by hand without its terminator still reads back whole.
std::vector<std::uint8_t> StringData(std::vector<std::uint8_t> data, bool unicode) {
    if (!unicode)
        data = Utf16LeBytes(text::Utf16FromCodePage(
            std::string_view(reinterpret_cast<const char*>(data.data()), data.size())));
    const std::size_t size = data.size();
    // Data of an odd length is no string: the editor cannot load it, and it is kept as given.
    if (size >= 2 && size % 2 == 0 && (data[size - 2] != 0 || data[size - 1] != 0))
        data.insert(data.end(), {0, 0});
    return data;
}

// The root key a key line names; only the full names, as the editor takes no others.
HKEY RootKey(std::u16string_view name) {
    static const std::pair<std::string_view, HKEY> kRoots[] = {
        {"HKEY_CLASSES_ROOT", platform::hkey::ClassesRoot},
        {"HKEY_CURRENT_USER", platform::hkey::CurrentUser},
        {"HKEY_LOCAL_MACHINE", platform::hkey::LocalMachine},
        {"HKEY_USERS", platform::hkey::Users},
        {"HKEY_CURRENT_CONFIG", platform::hkey::CurrentConfig},
    };
    for (const auto& [full, root] : kRoots) {
        if (name.size() != full.size()) continue;
        bool same = true;
        for (std::size_t i = 0; same && i < full.size(); ++i)
            same = name[i] < 0x80 &&
                   text::FoldLower(static_cast<char>(name[i])) == text::FoldLower(full[i]);
        if (same) return root;
    }
    return 0;
}

// A key's path below its root with empty names left out: the editor reads "A\\\\B" and "A\\"
// as "A\\B" and "A".
std::u16string SubKeyPath(std::u16string_view path) {
    std::u16string clean;
    for (char16_t c : path) {
        if (c == u'\\' && (clean.empty() || clean.back() == u'\\')) continue;
        clean += c;
    }
    if (!clean.empty() && clean.back() == u'\\') clean.pop_back();
    return clean;
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

// Reads the lines after the header: key lines open (or delete) a key, value lines set or delete
// a value of the key open, a value in hex may go on over the lines that follow it.
class Importer {
  public:
    Importer(KeyStore& store, bool unicode, REGSAM view)
        : store_(store), unicode_(unicode), view_(view) {}
    ~Importer() { Close(); }
    bool whole() const { return whole_; }

    void Line(std::u16string_view line) {
        if (pending_) return ContinueHex(line);
        SkipBlanks(line);
        if (line.empty() || line[0] == u';') return;
        if (line[0] == u'[') return KeyLine(line);
        if (line[0] == u'@' || line[0] == u'"') return ValueLine(line);
        // Anything else ("#" remarks among them) is passed over, as the editor does.
        whole_ = false;
    }

    // The end of the file ends a value that was still going on: the editor stores what it has.
    void Finish() {
        if (pending_) StoreHex(*pending_);
        pending_.reset();
    }

  private:
    struct Value {
        std::u16string name;
        DWORD type = regtype::Sz;
        std::vector<std::uint8_t> data;
    };

    // A value line is read whole even where no key is open (its value is then lost, as the values
    // of a key that could not be made are lost with it): a hex value there still goes on over the
    // lines after it, as the editor reads them.
    void ValueLine(std::u16string_view line) {
        Value value;
        if (!TakePrefix(line, u"@")) {
            auto name = TakeQuoted(line);
            if (!name) return Refuse();
            value.name = std::move(*name);
        }
        SkipBlanks(line);
        if (!TakePrefix(line, u"=")) return Refuse();
        SkipBlanks(line);
        if (TakePrefix(line, u"-")) {
            if (!AtLineEnd(line) || key_ == 0) return Refuse();
            LONG code = store_.RegDeleteValueW(key_, value.name);
            whole_ = (code == regerror::Success || code == regerror::FileNotFound) && whole_;
            return;
        }
        if (line.starts_with(u'"')) {
            auto text = TakeQuoted(line);
            if (!text || !AtLineEnd(line)) return Refuse();
            value.data = Utf16LeBytes(*text + u'\0');
            return Store(value);
        }
        // The type names are read in lower case only, as the editor reads them.
        if (TakePrefix(line, u"dword:")) {
            auto number = ParseDword(line);
            if (!number) return Refuse();
            value.type = regtype::Dword;
            for (int shift = 0; shift < 32; shift += 8)
                value.data.push_back(static_cast<std::uint8_t>(*number >> shift));
            return Store(value);
        }
        if (!TakePrefix(line, u"hex")) return Refuse();
        value.type = regtype::Binary;
        if (TakePrefix(line, u"(")) {
            // "hex():" is type 0 to the editor, so a file it took that way loads the same.
            auto type = TakeNumber(line, 0xFFFFFFFFu, false, false);
            if (!type || !TakePrefix(line, u")")) return Refuse();
            value.type = *type;
        }
        if (!TakePrefix(line, u":")) return Refuse();
        pending_ = std::move(value);
        HexData(line, false);
    }

    // A line after one that ended in a "\" continuing a hex value. Blank lines and comment lines
    // are passed over; any other line is read as hex data, even a key line: the editor takes it
    // so, and a value's last line is the first that does not end in "\".
    void ContinueHex(std::u16string_view line) {
        std::u16string_view rest = line;
        SkipBlanks(rest);
        if (rest.empty() || rest[0] == u';') return;
        HexData(line, true);
    }

    void HexData(std::u16string_view line, bool continuing) {
        switch (ReadHexLine(line, pending_->data, continuing)) {
            case HexEnd::More:
                return;
            case HexEnd::Done:
                StoreHex(*pending_);
                break;
            case HexEnd::Bad:
                whole_ = false;
                break;
        }
        pending_.reset();
    }

    void Store(const Value& value) {
        whole_ =
            key_ != 0 &&
            store_.RegSetValueExW(key_, value.name, value.type, value.data) == regerror::Success &&
            whole_;
    }

    void StoreHex(Value& value) {
        if (value.type == regtype::Sz || value.type == regtype::ExpandSz ||
            value.type == regtype::MultiSz)
            value.data = StringData(std::move(value.data), unicode_);
        Store(value);
    }

    void Refuse() { whole_ = false; }

    void KeyLine(std::u16string_view line) {
        std::size_t close = line.rfind(u']');
        // A line without its "]", or with a blank after its "[", is passed over, and the key
        // open stays open.
        if (close == std::u16string_view::npos || (line.size() > 1 && IsBlank(line[1])))
            return Refuse();
        Close();
        std::u16string_view path = line.substr(1, close - 1);
        const bool remove = TakePrefix(path, u"-");
        std::size_t cut = std::min(path.find(u'\\'), path.size());
        HKEY root = RootKey(path.substr(0, cut));
        std::u16string subKey = SubKeyPath(path.substr(std::min(cut + 1, path.size())));
        if (root == 0 || (remove && subKey.empty())) return Refuse();
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
    std::optional<Value> pending_;
    bool whole_ = true;
};

// The first line names the format; blanks may stand before it, nothing after it.
bool IsHeader(std::u16string_view line) {
    SkipBlanks(line);
    return line == u"Windows Registry Editor Version 5.00" || line == u"REGEDIT4";
}

}  // namespace

bool ImportText(KeyStore& store, std::string_view bytes, REGSAM view) {
    bool unicode = false;
    const std::u16string text = FileText(bytes, unicode);
    const std::vector<std::u16string_view> lines = Lines(text);
    if (lines.empty() || !IsHeader(lines.front())) return false;
    Importer importer(store, unicode, view);
    for (std::size_t i = 1; i < lines.size(); ++i) importer.Line(lines[i]);
    importer.Finish();
    return importer.whole();
}

bool ImportRegistryFile(KeyStore& store, const platform::FileSystem& files,
                        std::string_view filePath, REGSAM view) {
    auto bytes = files.ReadAll(filePath);
    return bytes && ImportText(store, *bytes, view);
}

}  // namespace optera::services
