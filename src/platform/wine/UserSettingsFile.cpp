#include "platform/wine/UserSettingsFile.h"

#include <optional>
#include <system_error>
#include <vector>

#include "platform/wine/HostFiles.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

// Escapes the bytes that would break the line format. Names also escape their separators.
std::string Encode(std::string_view text, bool name) {
    std::string out;
    for (char c : text) {
        if (c == '%' || c == '\r' || c == '\n' || (name && (c == '\\' || c == '='))) {
            auto byte = static_cast<unsigned char>(c);
            out += '%';
            out += kHex[byte >> 4];
            out += kHex[byte & 0xF];
        } else {
            out += c;
        }
    }
    return out;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Undoes Encode; a '%' not followed by two hex digits stands for itself.
std::string Decode(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        int high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
        int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
        if (low >= 0) {
            out += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string SettingName(std::string_view app, std::string_view section, std::string_view key) {
    return Encode(app, true) + '\\' + Encode(section, true) + '\\' + Encode(key, true);
}

// The lines of a file's content, without their line ends.
std::vector<std::string_view> LinesOf(std::string_view content) {
    std::vector<std::string_view> lines;
    while (!content.empty()) {
        std::size_t end = content.find('\n');
        std::string_view line = content.substr(0, end);
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back(line);
    }
    return lines;
}

// The name part of a line, before its first '='; nullopt for a line without one.
std::optional<std::string_view> NameOfLine(std::string_view line) {
    std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    return line.substr(0, equals);
}

}  // namespace

UserSettingsFile::UserSettingsFile(fs::path file) : file_(std::move(file)) {}

fs::path UserSettingsFile::DefaultPath(const EnvironmentVariables& host) {
    auto config = host.find("XDG_CONFIG_HOME");
    fs::path folder = config != host.end() && fs::path(config->second).is_absolute()
                          ? fs::path(config->second)
                          : HostHomeFolder(host) / ".config";
    return folder / "optera" / "user-settings.ini";
}

std::string UserSettingsFile::Get(std::string_view app, std::string_view section,
                                  std::string_view key, std::string_view fallback) const {
    const std::string name = SettingName(app, section, key);
    const std::string content = ReadHostFile(file_).value_or(std::string());
    for (std::string_view line : LinesOf(content)) {
        auto lineName = NameOfLine(line);
        if (lineName && text::EqualsNoCase(*lineName, name))
            return Decode(line.substr(lineName->size() + 1));
    }
    return std::string(fallback);
}

bool UserSettingsFile::Set(std::string_view app, std::string_view section, std::string_view key,
                           std::string_view value) {
    const std::string name = SettingName(app, section, key);
    const std::string setting = name + '=' + Encode(value, false) + '\n';
    std::error_code error;
    const std::optional<std::string> read = ReadHostFile(file_);
    // A file that is there but cannot be read is not overwritten with this one setting.
    if (!read && fs::exists(file_, error)) return false;
    const std::string old = read.value_or(std::string());

    std::string content;
    bool found = false;
    for (std::string_view line : LinesOf(old)) {
        auto lineName = NameOfLine(line);
        if (lineName && text::EqualsNoCase(*lineName, name)) {
            if (!found) content += setting;  // a repeated setting was never read: drop it
            found = true;
        } else {
            content.append(line).append("\n");
        }
    }
    if (!found) content += setting;
    fs::create_directories(file_.parent_path(), error);
    return ReplaceHostFile(file_, content);
}

}  // namespace optera::platform
