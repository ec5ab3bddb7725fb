#include "services/ProfileDocument.h"

#include "text/NoCase.h"

namespace optera::services {

namespace {

// White space as the profile functions trim it; Ctrl-Z is the old end-of-file mark, and a NUL
// is what a game leaves behind when it writes out its whole buffer.
bool IsProfileSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f' || c == 0x1A ||
           c == '\0';
}

std::string_view Trim(std::string_view s) {
    while (!s.empty() && IsProfileSpace(s.front())) s.remove_prefix(1);
    while (!s.empty() && IsProfileSpace(s.back())) s.remove_suffix(1);
    return s;
}

// The name of a "[name]" line, or nullopt for any other line. The name runs to the line's last
// closing bracket; a line with an opening bracket and no closing one is an entry.
std::optional<std::string_view> HeaderName(std::string_view text) {
    std::string_view s = Trim(text);
    if (s.empty() || s.front() != '[') return std::nullopt;
    std::size_t close = s.rfind(']');
    if (close == std::string_view::npos || close == 0) return std::nullopt;
    return Trim(s.substr(1, close - 1));
}

bool IsComment(std::string_view trimmed) {
    return !trimmed.empty() && trimmed.front() == ';';
}

struct Entry {
    std::string_view key;
    std::optional<std::string_view> value;  // none for a line without "="
};

Entry ParseEntry(std::string_view text) {
    std::string_view s = Trim(text);
    std::size_t eq = s.find('=');
    if (eq == std::string_view::npos) return {s, std::nullopt};
    return {Trim(s.substr(0, eq)), Trim(s.substr(eq + 1))};
}

}  // namespace

ProfileDocument ProfileDocument::Parse(std::string_view bytes) {
    ProfileDocument doc;
    std::size_t start = 0;
    while (start < bytes.size()) {
        std::size_t end = bytes.find_first_of("\r\n", start);
        if (end == std::string_view::npos) {
            doc.lines_.push_back({std::string(bytes.substr(start)), ""});
            break;
        }
        std::size_t next = end + 1;
        if (bytes[end] == '\r' && next < bytes.size() && bytes[next] == '\n') ++next;
        doc.lines_.push_back({std::string(bytes.substr(start, end - start)),
                              std::string(bytes.substr(end, next - end))});
        start = next;
    }
    return doc;
}

std::string ProfileDocument::Serialize() const {
    std::string out;
    for (const Line& line : lines_) out.append(line.text).append(line.ending);
    return out;
}

std::vector<std::string> ProfileDocument::SectionNames() const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        auto name = HeaderName(lines_[i].text);
        if (name && !name->empty()) names.emplace_back(*name);
    }
    return names;
}

std::optional<ProfileDocument::Range> ProfileDocument::FindSection(std::string_view section) const {
    std::string_view wanted = Trim(section);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        auto name = HeaderName(lines_[i].text);
        if (!name || !text::EqualsNoCase(*name, wanted)) continue;
        std::size_t end = i + 1;
        while (end < lines_.size() && !HeaderName(lines_[end].text)) ++end;
        return Range{i, end};
    }
    return std::nullopt;
}

std::optional<std::size_t> ProfileDocument::FindKey(const Range& range,
                                                    std::string_view key) const {
    std::string_view wanted = Trim(key);
    for (std::size_t i = range.header + 1; i < range.end; ++i) {
        std::string_view trimmed = Trim(lines_[i].text);
        if (trimmed.empty() || IsComment(trimmed)) continue;
        if (text::EqualsNoCase(ParseEntry(trimmed).key, wanted)) return i;
    }
    return std::nullopt;
}

std::optional<std::vector<std::string>> ProfileDocument::SectionEntries(
    std::string_view section) const {
    auto range = FindSection(section);
    if (!range) return std::nullopt;
    std::vector<std::string> entries;
    for (std::size_t i = range->header + 1; i < range->end; ++i) {
        std::string_view trimmed = Trim(lines_[i].text);
        if (trimmed.empty() || IsComment(trimmed)) continue;
        Entry entry = ParseEntry(trimmed);
        std::string line(entry.key);
        if (entry.value) line.append("=").append(*entry.value);
        entries.push_back(std::move(line));
    }
    return entries;
}

std::optional<std::string> ProfileDocument::Value(std::string_view section,
                                                  std::string_view key) const {
    auto range = FindSection(section);
    if (!range) return std::nullopt;
    auto at = FindKey(*range, key);
    if (!at) return std::nullopt;
    return std::string(ParseEntry(lines_[*at].text).value.value_or(""));
}

std::string ProfileDocument::NewLineEnding() const {
    for (const Line& line : lines_)
        if (!line.ending.empty()) return line.ending;
    return "\r\n";
}

void ProfileDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
    std::string entry = std::string(Trim(key)) + "=" + std::string(value);
    std::string eol = NewLineEnding();
    auto range = FindSection(section);
    if (!range) {
        if (!lines_.empty() && lines_.back().ending.empty()) lines_.back().ending = eol;
        lines_.push_back({"[" + std::string(Trim(section)) + "]", eol});
        lines_.push_back({entry, eol});
        return;
    }
    if (auto at = FindKey(*range, key)) {
        // Keep the key as the file spells it and the blanks around "=": only the value changes.
        std::string& text = lines_[*at].text;
        std::size_t eq = text.find('=');
        if (eq == std::string::npos) {
            text = std::string(Trim(text)) + "=" + std::string(value);
            return;
        }
        std::size_t valueStart = eq + 1;
        while (valueStart < text.size() && (text[valueStart] == ' ' || text[valueStart] == '\t'))
            ++valueStart;
        text = text.substr(0, valueStart) + std::string(value);
        return;
    }
    // A new key goes after the section's last non-blank line, before any blank lines that
    // separate it from the next section.
    std::size_t last = range->header;
    for (std::size_t i = range->header + 1; i < range->end; ++i)
        if (!Trim(lines_[i].text).empty()) last = i;
    if (lines_[last].ending.empty()) lines_[last].ending = eol;
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(last + 1), {entry, eol});
}

}  // namespace optera::services
