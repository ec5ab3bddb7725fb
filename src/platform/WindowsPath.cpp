#include "platform/WindowsPath.h"

#include "text/NoCase.h"

namespace optera::platform {

std::string_view ParentOf(std::string_view path) {
    std::size_t at = path.rfind('\\');
    return at == std::string_view::npos ? std::string_view() : path.substr(0, at);
}

std::string_view NameOf(std::string_view path) {
    std::size_t at = path.rfind('\\');
    return at == std::string_view::npos ? path : path.substr(at + 1);
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    std::string out(folder);
    if (!out.empty() && out.back() != '\\') out += '\\';
    while (!name.empty() && name.front() == '\\') name.remove_prefix(1);
    out += name;
    return out;
}

char DriveLetterOf(std::string_view path) {
    if (path.size() < 2 || path[1] != ':') return '\0';
    char letter = text::FoldUpper(path[0]);
    return letter >= 'A' && letter <= 'Z' ? letter : '\0';
}

std::vector<std::string> ComponentsOf(std::string_view path) {
    if (DriveLetterOf(path) != '\0') path.remove_prefix(2);
    std::vector<std::string> parts;
    std::string current;
    auto flush = [&] {
        if (current == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!current.empty() && current != ".") {
            parts.push_back(current);
        }
        current.clear();
    };
    for (char c : path) {
        if (c == '\\' || c == '/')
            flush();
        else
            current += c;
    }
    flush();
    return parts;
}

std::string NormalizePath(std::string_view path) {
    std::string out;
    char drive = DriveLetterOf(path);
    if (drive != '\0') {
        out += drive;
        out += ':';
    }
    out += '\\';
    for (const std::string& part : ComponentsOf(path)) {
        if (out.back() != '\\') out += '\\';
        out += part;
    }
    return out;
}

}  // namespace optera::platform
