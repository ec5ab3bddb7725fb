#include "platform/wine/RegFile.h"

#include <algorithm>
#include <cstring>

#include "platform/wine/RegEscape.h"

namespace optera::platform {

namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr std::uint64_t kUnixEpoch = 116444736000000000ULL;  // 1970-01-01 as a FILETIME
constexpr std::uint64_t kTicksPerSecond = 10000000;
constexpr std::uint32_t kRegSz = 1, kRegExpandSz = 2, kRegBinary = 3, kRegDword = 4,
                        kRegMultiSz = 7;
constexpr std::string_view kHeader = "WINE REGISTRY Version 2";

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsXDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
unsigned HexValue(char c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

std::size_t SkipSpace(std::string_view s, std::size_t p) {
    while (p < s.size() && IsSpace(s[p])) ++p;
    return p;
}

void AppendDecimal(std::string& out, std::uint32_t value) {
    char digits[10];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    while (n > 0) out += digits[--n];
}

// One line as Wine's reader sees it: without its line feed and the carriage return before it,
// and cut at a NUL byte (the reader works on C strings).
struct Line {
    std::size_t begin = 0, next = 0;  // its first byte; the first byte of the line after it
    std::string_view content;
};

Line ReadLine(std::string_view text, std::size_t pos) {
    Line line;
    line.begin = pos;
    const char* start = text.data() + pos;
    const auto* feed = static_cast<const char*>(std::memchr(start, '\n', text.size() - pos));
    const std::size_t end = feed ? static_cast<std::size_t>(feed - text.data()) : text.size();
    line.next = feed ? end + 1 : end;
    std::string_view content(start, end - pos);
    if (const auto* nul = static_cast<const char*>(std::memchr(start, 0, content.size())))
        content = content.substr(0, static_cast<std::size_t>(nul - start));
    else if (feed && !content.empty() && content.back() == '\r')
        content.remove_suffix(1);
    line.content = content;
    return line;
}

// A line of blanks only, the kind Wine puts before every key.
bool IsBlankLine(std::string_view text, const Line& line) {
    for (std::size_t i = line.begin; i < line.next; ++i)
        if (text[i] != '\n' && !IsSpace(text[i])) return false;
    return true;
}

// The line as it stands in the file, without its line end.
std::string_view RawLine(std::string_view text, const Line& line) {
    std::string_view raw = text.substr(line.begin, line.next - line.begin);
    if (!raw.empty() && raw.back() == '\n') raw.remove_suffix(1);
    if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
    return raw;
}

// strtoul(text + pos, &end, 16) as the C library reads it, which is how Wine reads numbers:
// blanks, a sign and "0x" allowed, too large a number giving the largest one. Without a digit
// `end` is `pos` and the result 0.
std::uint64_t ReadHexNumber(std::string_view s, std::size_t pos, std::size_t& end) {
    std::size_t p = SkipSpace(s, pos);
    bool negative = false;
    if (p < s.size() && (s[p] == '+' || s[p] == '-')) negative = s[p++] == '-';
    if (s.size() - p >= 3 && s[p] == '0' && (s[p + 1] | 0x20) == 'x' && IsXDigit(s[p + 2])) p += 2;
    const std::size_t digits = p;
    std::uint64_t value = 0;
    bool overflow = false;
    for (; p < s.size() && IsXDigit(s[p]); ++p) {
        overflow = overflow || value > (~std::uint64_t{0} >> 4);
        value = value * 16 + HexValue(s[p]);
    }
    if (p == digits) {
        end = pos;
        return 0;
    }
    end = p;
    if (overflow) return ~std::uint64_t{0};
    return negative ? 0 - value : value;
}

// Wine's list of hex bytes: numbers up to ff, each followed by an optional comma, blanks
// anywhere between. Returns where the list stops, npos for a number above ff.
std::size_t ReadHexBytes(std::string_view s, std::size_t p, std::vector<std::uint8_t>* out) {
    while (p < s.size() && IsXDigit(s[p])) {
        std::size_t end;
        const std::uint64_t value = ReadHexNumber(s, p, end);
        if (end == p || value > 0xFF) return npos;
        if (out) out->push_back(static_cast<std::uint8_t>(value));
        p = SkipSpace(s, end);
        if (p < s.size() && s[p] == ',') ++p;
        p = SkipSpace(s, p);
    }
    return p;
}

enum class ValueOutcome : std::uint8_t {
    BadName,  // Wine ignores the line
    BadData,  // Wine keeps the name, as an empty value of type 0
    Ok,
};

struct ValueRead {
    ValueOutcome outcome = ValueOutcome::BadName;
    std::size_t next = 0;   // the first byte after the lines the value took
    bool dangling = false;  // the file ended where a continuation line was due
};

// Reads the value whose line is `line` ('"' or '@' at `pos` of its content) and the
// continuation lines it takes, as Wine's loader does. With `value` null only the extent of the
// value is worked out.
ValueRead ReadValue(std::string_view text, const Line& line, std::size_t pos, RegFileValue* value,
                    std::u16string& scratch) {
    ValueRead result;
    result.next = line.next;
    const std::string_view s = line.content;
    std::size_t p = pos + 1;
    if (value) value->name.clear();
    if (s[pos] == '"') {
        scratch.clear();
        p = regtext::Unescape(s, p, '"', value ? &scratch : nullptr);
        if (p == npos) return result;
        if (value) regtext::AppendUtf8(value->name, scratch);
        ++p;
    }
    p = SkipSpace(s, p);
    if (p >= s.size() || s[p] != '=') return result;
    p = SkipSpace(s, p + 1);

    result.outcome = ValueOutcome::BadData;
    const std::string_view tag = s.substr(p);
    enum class Form { String, Dword, Hex } form;
    std::uint32_t type;
    if (tag.starts_with('"')) {
        form = Form::String, type = kRegSz, p += 1;
    } else if (tag.starts_with("str:\"")) {
        form = Form::String, type = kRegSz, p += 5;
    } else if (tag.starts_with("str(2):\"")) {
        form = Form::String, type = kRegExpandSz, p += 8;
    } else if (tag.starts_with("str(7):\"")) {
        form = Form::String, type = kRegMultiSz, p += 8;
    } else if (tag.starts_with("hex:")) {
        form = Form::Hex, type = kRegBinary, p += 4;
    } else if (tag.starts_with("dword:")) {
        form = Form::Dword, type = kRegDword, p += 6;
    } else if (tag.starts_with("hex(")) {
        std::size_t end;
        type = static_cast<std::uint32_t>(ReadHexNumber(s, p + 4, end));
        if (s.substr(end, 2) != "):") return result;
        form = Form::Hex, p = end + 2;
    } else {
        return result;
    }
    if (!value && form != Form::Hex) {  // only a hex value can take more lines
        result.outcome = ValueOutcome::Ok;
        return result;
    }
    if (value) {
        value->type = type;
        value->data.clear();
    }

    if (form == Form::String) {
        scratch.clear();
        if (regtext::Unescape(s, p, '"', &scratch) == npos) return result;
        scratch += u'\0';  // not written, always there
        value->data.reserve(scratch.size() * 2);
        for (char16_t unit : scratch) {
            value->data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
            value->data.push_back(static_cast<std::uint8_t>(unit >> 8));
        }
        result.outcome = ValueOutcome::Ok;
        return result;
    }
    if (form == Form::Dword) {
        std::size_t end;
        const auto dword = static_cast<std::uint32_t>(ReadHexNumber(s, p, end));
        for (int shift = 0; shift < 32; shift += 8)
            value->data.push_back(static_cast<std::uint8_t>(dword >> shift));
        result.outcome = ValueOutcome::Ok;
        return result;
    }

    // Hex bytes; a backslash after them (whatever follows it) continues on the next line.
    Line current = line;
    for (;;) {
        std::size_t q = ReadHexBytes(current.content, p, value ? &value->data : nullptr);
        if (q == npos) break;
        q = SkipSpace(current.content, q);
        if (q == current.content.size()) {
            result.outcome = ValueOutcome::Ok;
            break;
        }
        if (current.content[q] != '\\') break;
        if (current.next >= text.size()) {
            result.dangling = true;
            break;
        }
        current = ReadLine(text, current.next);
        p = SkipSpace(current.content, 0);
    }
    result.next = current.next;
    return result;
}

// Joins the non-empty components of a key path with single backslashes, as Wine does when it
// creates the key.
void Canonicalize(std::u16string& path) {
    std::size_t w = 0;
    bool separator = false;
    for (char16_t c : path) {
        if (c == u'\\') {
            separator = w > 0;
            continue;
        }
        if (separator) path[w++] = u'\\';
        separator = false;
        path[w++] = c;
    }
    path.resize(w);
}

constexpr std::uint64_t kHashSeed = 14695981039346656037ULL;

std::uint64_t HashStep(std::uint64_t hash, char16_t foldedUnit) {
    return (hash ^ foldedUnit) * 1099511628211ULL;
}

std::uint64_t HashPath(std::u16string_view path) {
    std::uint64_t hash = kHashSeed;
    for (char16_t unit : path) hash = HashStep(hash, regtext::Fold(unit));
    return hash;
}

struct CanonicalPath {
    std::string path;
    std::uint64_t hash = 0;
};

CanonicalPath CanonicalOf(std::string_view path) {
    std::u16string units = regtext::ToUtf16(path);
    Canonicalize(units);
    return {regtext::ToUtf8(units), HashPath(units)};
}

// The canonical path of a key line whose path starts at `pos` (after the "["), and its hash;
// false when Wine makes no key of the line.
bool DecodeKeyPath(std::string_view s, std::size_t pos, std::string& out, std::uint64_t& hash,
                   std::u16string& scratch) {
    // Most paths are printable ASCII with "\\" between components: those are taken as they
    // are. Anything else is decoded in full.
    out.clear();
    hash = kHashSeed;
    bool simple = false, separator = false;
    for (std::size_t p = pos; p < s.size(); ++p) {
        const char c = s[p];
        if (c == ']') {
            simple = true;
            break;
        }
        if (c == '\\' && p + 1 < s.size() && s[p + 1] == '\\' && !out.empty()) {
            separator = true;
            ++p;
            continue;
        }
        if (c < 0x20 || c >= 0x7F || c == '\\') break;
        if (separator) {
            out += '\\';
            hash = HashStep(hash, u'\\');
        }
        separator = false;
        out += c;
        hash = HashStep(hash, static_cast<char16_t>(c >= 'A' && c <= 'Z' ? c + 32 : c));
    }
    if (simple) return true;
    out.clear();
    scratch.clear();
    if (regtext::Unescape(s, pos, ']', &scratch) == npos) return false;
    if (!scratch.empty() && scratch[0] == u'\\') return false;
    Canonicalize(scratch);
    hash = HashPath(scratch);
    regtext::AppendUtf8(out, scratch);
    return true;
}

// Wine's key order: component by component, each compared as a name; a parent before its
// subkeys.
int ComparePaths(std::string_view a, std::string_view b) {
    regtext::Utf16Reader left(a), right(b);
    auto rank = [](int unit) {
        return unit < 0 ? -2 : unit == '\\' ? -1 : regtext::Fold(static_cast<char16_t>(unit));
    };
    for (;;) {
        const int x = left.Next(), y = right.Next();
        const int rx = rank(x), ry = rank(y);
        if (rx != ry) return rx < ry ? -1 : 1;
        if (x < 0) return 0;
    }
}

bool IsAtOrBelow(std::string_view path, std::string_view top) {
    regtext::Utf16Reader key(path), prefix(top);
    for (;;) {
        const int y = prefix.Next();
        const int x = key.Next();
        if (y < 0) return x < 0 || x == '\\' || top.empty();
        if (x < 0 ||
            regtext::Fold(static_cast<char16_t>(x)) != regtext::Fold(static_cast<char16_t>(y)))
            return false;
    }
}

bool SameContent(const RegFileKey& a, const RegFileKey& b) {
    if (a.className != b.className || a.isLink != b.isLink || a.values.size() != b.values.size())
        return false;
    for (std::size_t i = 0; i < a.values.size(); ++i) {
        const RegFileValue &x = a.values[i], &y = b.values[i];
        if (x.name != y.name || x.type != y.type || x.data != y.data) return false;
    }
    return true;
}

void AppendValue(std::string& out, const RegFileValue& value) {
    const std::size_t lineStart = out.size();
    if (value.name.empty()) {
        out += "@=";
    } else {
        out += '"';
        regtext::AppendEscaped(out, regtext::ToUtf16(value.name), false);
        out += "\"=";
    }
    const std::vector<std::uint8_t>& data = value.data;
    const std::size_t n = data.size();
    const bool stringType =
        value.type == kRegSz || value.type == kRegExpandSz || value.type == kRegMultiSz;
    if (stringType && n >= 2 && n % 2 == 0 && data[n - 2] == 0 && data[n - 1] == 0) {
        if (value.type != kRegSz) {
            out += "str(";
            regtext::AppendHex(out, value.type, 1);
            out += "):";
        }
        std::u16string units(n / 2 - 1, u'\0');
        for (std::size_t i = 0; i < units.size(); ++i)
            units[i] = static_cast<char16_t>(data[2 * i] | (data[2 * i + 1] << 8));
        out += '"';
        regtext::AppendEscaped(out, units, false);
        out += "\"\n";
        return;
    }
    if (value.type == kRegDword && n == 4) {
        out += "dword:";
        regtext::AppendHex(
            out, data[0] | (data[1] << 8) | (data[2] << 16) | (std::uint32_t{data[3]} << 24), 8);
        out += '\n';
        return;
    }
    if (value.type == kRegBinary) {
        out += "hex:";
    } else {
        out += "hex(";
        regtext::AppendHex(out, value.type, 1);
        out += "):";
    }
    // Wine's wrapping: after a comma, once the line is past 76 columns.
    std::size_t column = out.size() - lineStart;
    for (std::size_t i = 0; i < n; ++i) {
        regtext::AppendHex(out, data[i], 2);
        column += 2;
        if (i + 1 < n) {
            out += ',';
            if (++column > 76) {
                out += "\\\n  ";
                column = 2;
            }
        }
    }
    out += '\n';
}

}  // namespace

// ---- reading ----------------------------------------------------------------------------

RegFile RegFile::Parse(std::string_view bytes) {
    return Parse(std::string(bytes));
}

RegFile RegFile::Parse(std::string&& bytes) {
    RegFile file;
    file.text_ = std::move(bytes);
    const std::string_view text = file.text_;
    file.headerEnd_ = text.size();
    if (text.empty()) return file;

    // The first line is the header line and nothing else, as for Wine.
    const Line first = ReadLine(text, 0);
    file.ok_ = first.content == kHeader;

    // Generous guesses: pages never touched cost nothing.
    file.keys_.reserve(text.size() / 64 + 16);
    file.blocks_.reserve(text.size() / 64 + 16);
    std::u16string scratch;
    std::string path;
    bool inHeader = true;
    bool live = false;               // in a key Wine can create: its values are read
    std::size_t blankBefore = npos;  // the line before, when it was blank
    for (std::size_t pos = first.next; pos < text.size();) {
        const Line line = ReadLine(text, pos);
        const std::string_view s = line.content;
        const std::size_t p = SkipSpace(s, 0);
        const char c = p < s.size() ? s[p] : '\0';
        if (c == '[') {
            const std::size_t start = blankBefore != npos ? blankBefore : line.begin;
            if (inHeader)
                file.headerEnd_ = start;
            else
                file.SetEnd(file.blocks_.back(), start);
            inHeader = false;
            Block block;
            block.begin = start;
            // A path Wine cannot read, or one that starts with a backslash, makes no key: the
            // lines up to the next key are then ignored by Wine, and kept as they are here.
            block.key = file.KeyForLine(s, p + 1, start, path, scratch);
            live = block.key != kNone;
            file.blocks_.push_back(block);
            blankBefore = npos;
            pos = line.next;
            continue;
        }
        if (live && (c == '"' || c == '@')) {
            const ValueRead read = ReadValue(text, line, p, nullptr, scratch);
            if (read.dangling) file.blocks_.back().dangling = true;
            blankBefore = npos;
            pos = read.next;
            continue;
        }
        if (inHeader && s.substr(p).starts_with("#arch=")) {
            file.archBegin_ = line.begin + p + 6;
            file.archEnd_ = line.begin + s.size();
        }
        blankBefore = IsBlankLine(text, line) ? line.begin : npos;
        pos = line.next;
    }
    if (!file.blocks_.empty()) file.SetEnd(file.blocks_.back(), text.size());

    // Each key's first block; the blocks of a key named again are read after it, in order.
    std::vector<bool> placed(file.keys_.size());
    for (const Block& block : file.blocks_) {
        if (block.key == kNone) continue;
        KeyRecord& key = file.keys_[block.key];
        if (!placed[block.key]) {
            placed[block.key] = true;
            key.begin = block.begin;
            const std::size_t size = file.EndOf(block) - block.begin;
            key.size = size < kLongBlock ? static_cast<std::uint32_t>(size) : kLongBlock;
        } else {
            key.repeated = true;
            file.repeats_.push_back({block.key, block.begin, file.EndOf(block)});
        }
    }
    return file;
}

std::uint32_t RegFile::KeyForLine(std::string_view s, std::size_t pos, std::size_t block,
                                  std::string& path, std::u16string& scratch) {
    std::uint64_t hash = 0;
    if (!DecodeKeyPath(s, pos, path, hash, scratch)) return kNone;
    if (const std::uint32_t found = Lookup(path, hash); found != kNone) return found;
    KeyRecord key;
    key.begin = block;
    key.hash = static_cast<std::uint32_t>(hash);
    keys_.push_back(key);
    IndexInsert(static_cast<std::uint32_t>(keys_.size() - 1));
    return static_cast<std::uint32_t>(keys_.size() - 1);
}

bool RegFile::ok() const {
    return ok_;
}

std::string RegFile::Arch() const {
    return text_.substr(archBegin_, archEnd_ - archBegin_);
}

std::string RegFile::PathOf(const KeyRecord& key) const {
    if (key.fresh) return added_.substr(key.begin, key.size);
    // The key's first block starts at its key line or at the blank line before it.
    const std::string_view text = text_;
    Line line = ReadLine(text, key.begin);
    if (IsBlankLine(text, line)) line = ReadLine(text, line.next);
    std::string path;
    std::uint64_t hash = 0;
    std::u16string scratch;
    DecodeKeyPath(line.content, SkipSpace(line.content, 0) + 1, path, hash, scratch);
    return path;
}

// ---- the index by folded path -----------------------------------------------------------

namespace {
constexpr std::uint32_t kTombstone = 0xFFFFFFFF;  // a slot whose key was deleted
}

std::uint32_t RegFile::Lookup(std::string_view path, std::uint64_t hash) const {
    if (slots_.empty()) return kNone;
    const std::size_t mask = slots_.size() - 1;
    const auto folded = static_cast<std::uint32_t>(hash);
    for (std::size_t i = folded & mask;; i = (i + 1) & mask) {
        const std::uint32_t slot = slots_[i];
        if (slot == 0) return kNone;
        if (slot == kTombstone) continue;
        const KeyRecord& key = keys_[slot - 1];
        if (key.hash == folded && regtext::SameName(PathOf(key), path)) return slot - 1;
    }
}

void RegFile::IndexInsert(std::uint32_t id) {
    if ((slotsUsed_ + 1) * 4 > slots_.size() * 3) {  // at most three quarters full
        std::vector<std::uint32_t> old = std::move(slots_);
        slots_.assign(std::max<std::size_t>(64, old.size() * 2), 0);
        slotsUsed_ = 0;
        for (std::uint32_t slot : old)
            if (slot != 0 && slot != kTombstone) IndexInsert(slot - 1);
    }
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = keys_[id].hash & mask;
    while (slots_[i] != 0) i = (i + 1) & mask;
    slots_[i] = id + 1;
    ++slotsUsed_;
}

void RegFile::IndexErase(std::uint32_t id) {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = keys_[id].hash & mask; slots_[i] != 0; i = (i + 1) & mask) {
        if (slots_[i] == id + 1) {
            slots_[i] = kTombstone;
            return;
        }
    }
}

// ---- keys as values ---------------------------------------------------------------------

void RegFile::ReadKeyText(std::uint32_t id, RegFileKey* model,
                          std::vector<std::string_view>* kept) const {
    const KeyRecord& key = keys_[id];
    if (key.fresh) return;
    const std::string_view text = text_;
    std::u16string scratch;
    RegFileValue value;
    bool inOrder = true;  // the values so far are in Wine's order
    auto readRange = [&](std::size_t begin, std::size_t end) {
        for (std::size_t pos = begin; pos < end;) {
            const Line line = ReadLine(text, pos);
            pos = line.next;
            if (IsBlankLine(text, line)) continue;
            const std::string_view s = line.content;
            const std::size_t p = SkipSpace(s, 0);
            const char c = p < s.size() ? s[p] : '\0';
            if (c == '[') continue;  // the key's own line
            if (c == '"' || c == '@') {
                const ValueRead read = ReadValue(text, line, p, model ? &value : nullptr, scratch);
                pos = read.next;
                if (read.outcome == ValueOutcome::BadName) {
                    if (kept) kept->push_back(RawLine(text, line));
                    continue;
                }
                if (!model) continue;
                if (read.outcome == ValueOutcome::BadData) {
                    value.type = 0;
                    value.data.clear();
                }
                // Wine writes values in order, so a name after the last one is new; only other
                // files need a search.
                auto same = model->values.end();
                if (!model->values.empty() &&
                    (!inOrder ||
                     regtext::CompareNames(model->values.back().name, value.name) >= 0)) {
                    inOrder = false;
                    same = std::find_if(model->values.begin(), model->values.end(),
                                        [&](const RegFileValue& v) {
                                            return regtext::SameName(v.name, value.name);
                                        });
                }
                if (same == model->values.end()) {
                    model->values.push_back(std::move(value));
                } else {
                    same->type = value.type;
                    same->data = std::move(value.data);
                }
                value = RegFileValue{};
                continue;
            }
            const std::string_view option = s.substr(p);
            if (option.starts_with("#time=")) {
                std::uint64_t time = 0;
                for (std::size_t i = 6; i < option.size() && IsXDigit(option[i]); ++i)
                    time = (time << 4) | HexValue(option[i]);
                if (model && model->modified == 0) model->modified = time;  // the first counts
                continue;
            }
            if (option.starts_with("#class=\"")) {
                scratch.clear();
                if (regtext::Unescape(option, 8, '"', &scratch) != npos) {
                    if (model) model->className = regtext::ToUtf8(scratch);
                    continue;
                }
            } else if (option.starts_with("#link")) {
                if (model) model->isLink = true;
                continue;
            }
            if (kept) kept->push_back(RawLine(text, line));
        }
    };
    readRange(key.begin, EndOf(id));
    if (key.repeated)
        for (const Repeat& repeat : repeats_)
            if (repeat.key == id) readRange(repeat.begin, repeat.end);
}

RegFileKey& RegFile::Model(std::uint32_t id) const {
    auto [at, made] = modelOf_.try_emplace(id, 0);
    if (made) {
        RegFileKey model;
        model.path = PathOf(keys_[id]);
        ReadKeyText(id, &model, nullptr);
        models_.push_back(std::move(model));
        at->second = static_cast<std::uint32_t>(models_.size() - 1);
    }
    return models_[at->second];
}

std::size_t RegFile::EndOf(std::uint32_t id) const {
    const KeyRecord& key = keys_[id];
    if (key.size != kLongBlock) return key.begin + key.size;
    for (const Block& block : blocks_)
        if (block.key == id && block.begin == key.begin) return EndOf(block);
    return key.begin;
}

std::size_t RegFile::EndOf(const Block& block) const {
    if (block.size != kLongBlock) return block.begin + block.size;
    return longEnds_.at(block.begin);
}

void RegFile::SetEnd(Block& block, std::size_t end) {
    const std::size_t size = end - block.begin;
    block.size = size < kLongBlock ? static_cast<std::uint32_t>(size) : kLongBlock;
    if (block.size == kLongBlock) longEnds_[block.begin] = end;
}

std::vector<const RegFileKey*> RegFile::Keys() const {
    std::vector<const RegFileKey*> keys;
    keys.reserve(keys_.size());
    std::vector<bool> seen(keys_.size());
    for (const Block& block : blocks_) {
        if (block.key == kNone || seen[block.key]) continue;
        seen[block.key] = true;
        keys.push_back(&Model(block.key));
    }
    return keys;
}

void RegFile::ForEachKey(const std::function<void(KeyId, std::string_view)>& visit) const {
    std::vector<bool> seen(keys_.size());
    for (const Block& block : blocks_) {
        if (block.key == kNone || seen[block.key]) continue;
        seen[block.key] = true;
        visit(block.key, PathOf(keys_[block.key]));
    }
}

const RegFileKey& RegFile::KeyAt(KeyId id) const {
    return Model(id);
}

std::string RegFile::KeyPath(KeyId id) const {
    return PathOf(keys_[id]);
}

RegFile::KeyId RegFile::IdOf(std::string_view path) const {
    const CanonicalPath canonical = CanonicalOf(path);
    return Lookup(canonical.path, canonical.hash);
}

const RegFileKey* RegFile::Find(std::string_view path) const {
    const CanonicalPath canonical = CanonicalOf(path);
    const std::uint32_t id = Lookup(canonical.path, canonical.hash);
    return id == kNone ? nullptr : &Model(id);
}

std::vector<const RegFileKey*> RegFile::Below(std::string_view path) const {
    const CanonicalPath top = CanonicalOf(path);
    std::vector<const RegFileKey*> keys;
    std::vector<bool> seen(keys_.size());
    for (const Block& block : blocks_) {
        if (block.key == kNone || seen[block.key]) continue;
        seen[block.key] = true;
        if (IsAtOrBelow(PathOf(keys_[block.key]), top.path)) keys.push_back(&Model(block.key));
    }
    return keys;
}

// ---- changes ----------------------------------------------------------------------------

std::uint32_t RegFile::NewKey(const std::string& path, std::uint64_t hash, std::uint64_t now) {
    KeyRecord key;
    key.begin = added_.size();
    key.size = static_cast<std::uint32_t>(path.size());
    key.fresh = true;
    key.hash = static_cast<std::uint32_t>(hash);
    key.state = KeyState::Changed;
    added_ += path;
    RegFileKey model;
    model.path = path;
    model.modified = now;
    models_.push_back(std::move(model));
    keys_.push_back(key);
    const auto id = static_cast<std::uint32_t>(keys_.size() - 1);
    modelOf_[id] = static_cast<std::uint32_t>(models_.size() - 1);
    IndexInsert(id);

    // Right after the last key that Wine's order puts before it (looked for from the end, so
    // that keys added in order cost nothing to place).
    std::size_t at = blocks_.size();
    while (at > 0) {
        const Block& before = blocks_[at - 1];
        if (before.key != kNone && before.key != id &&
            ComparePaths(PathOf(keys_[before.key]), path) < 0)
            break;
        --at;
    }
    Block block;
    block.key = id;
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(at), block);
    return id;
}

RegFileKey& RegFile::AddKey(std::string_view path, std::uint64_t now) {
    const CanonicalPath canonical = CanonicalOf(path);
    std::uint32_t id = Lookup(canonical.path, canonical.hash);
    if (id == kNone) return Model(NewKey(canonical.path, canonical.hash, now));
    KeyRecord& key = keys_[id];
    if (key.state == KeyState::Original || key.state == KeyState::Exposed) {
        key.state = KeyState::Exposed;
        stamps_.emplace_back(id, now);
    }
    return Model(id);
}

void RegFile::SetValue(std::string_view path, const RegFileValue& value, std::uint64_t now) {
    const CanonicalPath canonical = CanonicalOf(path);
    std::uint32_t id = Lookup(canonical.path, canonical.hash);
    if (id == kNone) id = NewKey(canonical.path, canonical.hash, now);
    RegFileKey& model = Model(id);
    auto same = std::find_if(model.values.begin(), model.values.end(), [&](const RegFileValue& v) {
        return regtext::SameName(v.name, value.name);
    });
    if (same == model.values.end()) {
        model.values.push_back(value);
    } else {
        if (same->type == value.type && same->data == value.data) return;
        same->type = value.type;
        same->data = value.data;
    }
    model.modified = now;
    keys_[id].state = KeyState::Changed;
}

bool RegFile::DeleteValue(std::string_view path, std::string_view name, std::uint64_t now) {
    const CanonicalPath canonical = CanonicalOf(path);
    const std::uint32_t id = Lookup(canonical.path, canonical.hash);
    if (id == kNone) return false;
    RegFileKey& model = Model(id);
    const auto removed = std::erase_if(
        model.values, [&](const RegFileValue& v) { return regtext::SameName(v.name, name); });
    if (removed == 0) return false;
    model.modified = now;
    keys_[id].state = KeyState::Changed;
    return true;
}

bool RegFile::DeleteKey(std::string_view path) {
    const RegFileKey* key = Find(path);
    return key && DeleteKey(path, key->modified);
}

bool RegFile::DeleteKey(std::string_view path, std::uint64_t now) {
    const CanonicalPath canonical = CanonicalOf(path);
    const std::uint32_t id = Lookup(canonical.path, canonical.hash);
    if (id == kNone) return false;
    Model(id);  // pointers handed out keep their content
    std::erase_if(blocks_, [id](const Block& block) { return block.key == id; });
    IndexErase(id);
    keys_[id].state = KeyState::Deleted;

    // Wine still has the parent, as an empty key; without a line of its own or a subkey's line
    // to imply it, it would be gone at the next load.
    const std::size_t cut = canonical.path.rfind('\\');
    if (cut == npos) return true;  // the hive's root always exists
    const CanonicalPath parent = CanonicalOf(std::string_view(canonical.path).substr(0, cut));
    if (Lookup(parent.path, parent.hash) != kNone) return true;
    for (const Block& block : blocks_)
        if (block.key != kNone && IsAtOrBelow(PathOf(keys_[block.key]), parent.path)) return true;
    NewKey(parent.path, parent.hash, now);
    return true;
}

// ---- writing ----------------------------------------------------------------------------

bool RegFile::Regenerated(std::uint32_t id) const {
    const KeyRecord& key = keys_[id];
    if (key.state == KeyState::Changed) return true;
    if (key.state != KeyState::Exposed) return false;
    RegFileKey original;
    ReadKeyText(id, &original, nullptr);
    return !SameContent(Model(id), original);
}

void RegFile::AppendRegenerated(std::string& out, std::uint32_t id) const {
    const KeyRecord& key = keys_[id];
    const RegFileKey& model = Model(id);
    std::uint64_t time = model.modified;
    if (key.state == KeyState::Exposed)  // the latest AddKey counts
        for (const auto& [exposed, stamp] : stamps_)
            if (exposed == id) time = stamp;

    // As Wine's server saves a key: a blank line, the path with the time in Unix seconds
    // (truncated to 32 bits as Wine does), the FILETIME, class, link, then the values in order.
    out += "\n[";
    regtext::AppendEscaped(out, regtext::ToUtf16(PathOf(key)), true);
    out += "] ";
    AppendDecimal(out, static_cast<std::uint32_t>(static_cast<std::int64_t>(time - kUnixEpoch) /
                                                  static_cast<std::int64_t>(kTicksPerSecond)));
    out += "\n#time=";
    regtext::AppendHex(out, time >> 32, 1);
    regtext::AppendHex(out, time & 0xFFFFFFFF, 8);
    out += '\n';
    if (model.className) {
        out += "#class=\"";
        regtext::AppendEscaped(out, regtext::ToUtf16(*model.className), false);
        out += "\"\n";
    }
    if (model.isLink) out += "#link\n";

    // Lines Wine would drop are kept, so that nothing this program does not understand is lost.
    std::vector<std::string_view> kept;
    ReadKeyText(id, nullptr, &kept);
    for (std::string_view line : kept) {
        out += line;
        out += '\n';
    }

    std::vector<const RegFileValue*> values;
    values.reserve(model.values.size());
    for (const RegFileValue& value : model.values) values.push_back(&value);
    std::stable_sort(values.begin(), values.end(),
                     [](const RegFileValue* a, const RegFileValue* b) {
                         return regtext::CompareNames(a->name, b->name) < 0;
                     });
    for (const RegFileValue* value : values) AppendValue(out, *value);
}

std::string RegFile::Serialize() const {
    std::string out;
    out.reserve(text_.size() + 4096);
    Write([&out](std::string_view piece) {
        out += piece;
        return true;
    });
    return out;
}

bool RegFile::Write(const Sink& sink) const {
    bool any = false;  // a byte was handed on
    char last = '\0';  // the last one
    auto put = [&](std::string_view piece) {
        if (piece.empty()) return true;
        any = true;
        last = piece.back();
        return sink(piece);
    };
    const std::string_view text = text_;
    if (!put(text.substr(0, headerEnd_))) return false;
    std::vector<std::int8_t> regenerated(keys_.size(), -1);
    std::vector<bool> written(keys_.size());
    std::string piece;
    bool terminate = false;
    auto startPiece = [&] {
        // A last line without a line feed gets one before anything follows it; a hex value cut
        // off by the end of the file gets a comment line, which Wine takes as its failed
        // continuation, so that it does not take the next line instead.
        if (any && last != '\n' && !put("\n")) return false;
        const bool ok = !terminate || put(";\n");
        terminate = false;
        return ok;
    };
    for (const Block& block : blocks_) {
        if (block.key != kNone) {
            std::int8_t& fresh = regenerated[block.key];
            if (fresh < 0) fresh = Regenerated(block.key) ? 1 : 0;
            if (fresh) {
                if (written[block.key]) continue;
                written[block.key] = true;
                if (!startPiece()) return false;
                piece.clear();
                AppendRegenerated(piece, block.key);
                if (!put(piece)) return false;
                continue;
            }
        }
        if (!startPiece() || !put(text.substr(block.begin, EndOf(block) - block.begin)))
            return false;
        terminate = block.dangling;
    }
    return true;
}

bool RegFile::Unchanged() const {
    std::size_t at = 0;
    const bool same = Write([&](std::string_view piece) {
        if (piece.size() > text_.size() - at || text_.compare(at, piece.size(), piece) != 0)
            return false;
        at += piece.size();
        return true;
    });
    return same && at == text_.size();
}

bool RegFile::WritesSameHeader() const {
    // The header ends where the first key's block starts, and only a line feed can be added
    // right after it: its lines are all within one byte past it.
    const std::size_t wanted = headerEnd_ + 1;
    std::string head;
    Write([&](std::string_view piece) {
        head += piece.substr(0, wanted - head.size());
        return head.size() < wanted;
    });
    const RegFile check = Parse(std::move(head));
    return check.ok() && check.Arch() == Arch();
}

}  // namespace optera::platform
