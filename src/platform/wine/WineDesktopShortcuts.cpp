#include "platform/wine/WineDesktopShortcuts.h"

#include <sys/stat.h>

#include <system_error>

#include "platform/wine/HostFiles.h"
#include "platform/wine/HostReplace.h"
#include "text/CodePage.h"
#include "text/NoCase.h"

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

// Characters that make an Exec argument need quotes.
constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";

std::string Variable(const EnvironmentVariables& host, const char* name) {
    auto it = host.find(name);
    return it == host.end() ? std::string() : it->second;
}

// The XDG_DESKTOP_DIR line of user-dirs.dirs: XDG_DESKTOP_DIR="$HOME/Desktop".
std::optional<fs::path> DesktopFromUserDirs(const fs::path& file, const fs::path& home) {
    auto content = ReadHostFile(file);
    if (!content) return std::nullopt;
    constexpr std::string_view kKey = "XDG_DESKTOP_DIR=";
    std::size_t at = 0;
    while (at < content->size()) {
        std::size_t end = content->find('\n', at);
        std::string_view line = std::string_view(*content).substr(
            at, (end == std::string::npos ? content->size() : end) - at);
        at = end == std::string::npos ? content->size() : end + 1;
        if (!line.starts_with(kKey)) continue;
        line.remove_prefix(kKey.size());
        if (line.size() >= 2 && line.front() == '"' && line.back() == '"')
            line = line.substr(1, line.size() - 2);
        std::string folder(line);
        if (folder.starts_with("$HOME")) folder = home.string() + folder.substr(5);
        if (!folder.empty()) return fs::path(folder);
    }
    return std::nullopt;
}

// A value of a desktop entry: backslashes and line breaks escaped.
std::string EntryValue(std::string_view text) {
    std::string value;
    for (char c : text) {
        if (c == '\\')
            value += "\\\\";
        else if (c == '\n')
            value += "\\n";
        else if (c == '\r')
            value += "\\r";
        else if (c == '\t')
            value += "\\t";
        else
            value += c;
    }
    return value;
}

bool IsImage(const fs::path& file) {
    for (std::string_view kind : {".png", ".svg", ".xpm", ".ico"})
        if (text::EqualsNoCase(file.extension().string(), kind)) return true;
    return false;
}

}  // namespace

std::vector<std::string> SplitWindowsCommandLine(std::string_view commandLine) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false, quoted = false;
    for (std::size_t i = 0; i < commandLine.size();) {
        char c = commandLine[i];
        if (c == '\\') {
            std::size_t run = 0;
            while (i < commandLine.size() && commandLine[i] == '\\') ++run, ++i;
            bool beforeQuote = i < commandLine.size() && commandLine[i] == '"';
            word.append(beforeQuote ? run / 2 : run, '\\');
            if (beforeQuote && run % 2 == 1) word += '"', ++i;
            inWord = true;
            continue;
        }
        if (c == '"') {
            quoted = !quoted;
            inWord = true;
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (inWord) words.push_back(std::move(word));
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
        ++i;
    }
    if (inWord) words.push_back(std::move(word));
    return words;
}

std::string ExecArgument(std::string_view argument) {
    std::string field;
    for (char c : argument) field += c == '%' ? std::string("%%") : std::string(1, c);
    bool needsQuotes = field.empty() || field.find_first_of(kReserved) != std::string::npos;
    if (!needsQuotes) return EntryValue(field);
    std::string quoted = "\"";
    for (char c : field) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
        quoted += c;
    }
    quoted += '"';
    return EntryValue(quoted);
}

fs::path WineDesktopShortcuts::DesktopFolder() const {
    if (std::string folder = Variable(host_, "XDG_DESKTOP_DIR"); !folder.empty()) return folder;
    fs::path home = HostHomeFolder(host_);
    std::string config = Variable(host_, "XDG_CONFIG_HOME");
    fs::path configFolder = config.empty() ? home / ".config" : fs::path(config);
    if (auto folder = DesktopFromUserDirs(configFolder / "user-dirs.dirs", home)) return *folder;
    return home / "Desktop";
}

fs::path WineDesktopShortcuts::LauncherPath(std::string_view linkName) const {
    // Windows text in, a UTF-8 name on the host out.
    std::string name = text::Utf8FromCodePage(linkName);
    for (char& c : name)
        if (c == '/') c = '-';
    return DesktopFolder() / (name + ".desktop");
}

std::optional<std::string> WineDesktopShortcuts::LauncherText(std::string_view linkName,
                                                              const ShellLink& link) const {
    auto target = files_.ToHostPath(link.TargetPath);
    if (!target) return std::nullopt;
    std::string exec = "env " + ExecArgument("WINEPREFIX=" + files_.prefix().string()) + " wine " +
                       ExecArgument(*target);
    // Desktop entries are UTF-8; the link's texts are Windows text.
    for (const std::string& word : SplitWindowsCommandLine(link.Arguments))
        exec += " " + ExecArgument(text::Utf8FromCodePage(word));

    std::string icon = "wine";
    if (auto iconFile = files_.ToHostPath(link.IconLocation); iconFile && IsImage(*iconFile))
        icon = *iconFile;
    std::string text =
        "[Desktop Entry]\nType=Application\nName=" + EntryValue(text::Utf8FromCodePage(linkName)) +
        "\nComment=" + EntryValue(text::Utf8FromCodePage(link.Description)) + "\nExec=" + exec +
        "\n";
    if (auto folder = files_.ToHostPath(link.WorkingDirectory))
        text += "Path=" + EntryValue(*folder) + "\n";
    text += "Icon=" + EntryValue(icon) + "\nTerminal=false\nStartupNotify=true\n";
    return text;
}

bool WineDesktopShortcuts::Create(std::string_view linkName, const ShellLink& link) {
    lastError_.clear();
    auto text = LauncherText(linkName, link);
    if (!text) {
        lastError_ = "the game's program is on no drive of the prefix";
        return false;
    }
    fs::path file = LauncherPath(linkName);
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    int error = 0;
    if (auto real = ResolveTrustedLink(file, error)) {
        HostReplacement how;
        how.tempName = TempNameFor(*real);
        how.fill = [&text](int fd) { return WriteFully(fd, *text); };
        how.mode = 0755;  // desktops start only launchers that are marked executable
        error = ReplaceHostEntry(*real, how);
    }
    lastError_ = ErrorText(error);
    return error == 0;
}

void WineDesktopShortcuts::Remove(std::string_view linkName) {
    std::error_code ignored;
    const fs::path file = LauncherPath(linkName);
    fs::remove(file, ignored);
    // With it goes the temporary that a run stopped while making it left.
    const fs::path temp = file.parent_path() / TempNameFor(file);
    if (!fs::is_directory(fs::symlink_status(temp, ignored))) fs::remove(temp, ignored);
}

}  // namespace optera::platform
