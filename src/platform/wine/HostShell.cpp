#include "platform/wine/HostShell.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/WindowsPath.h"
#include "text/NoCase.h"

namespace optera::platform {

namespace {

std::string Unquoted(std::string_view text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    return std::string(text);
}

bool IsAddress(std::string_view target) {
    return target.find("://") != std::string_view::npos ||
           text::StartsWithNoCase(target, "mailto:");
}

// Pointers for the exec call into strings that outlive it, made before the fork: the child of
// a process with threads (the window's toolkit has some) must not allocate before it execs.
std::vector<char*> NullTerminated(const std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (const std::string& entry : strings) pointers.push_back(const_cast<char*>(entry.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// The child's side: never returns. Only calls that are safe after a fork.
[[noreturn]] void Exec(char* const* argv, char* const* envp, int devNull, int report) {
    if (devNull >= 0) {
        ::dup2(devNull, STDIN_FILENO);
        ::dup2(devNull, STDOUT_FILENO);
    }
    ::execvpe(argv[0], argv, envp);
    const char failed = 1;
    (void)!::write(report, &failed, 1);
    ::_exit(127);
}

}  // namespace

bool RunProgram(const std::vector<std::string>& argvIn, const std::vector<std::string>& environment,
                Launch launch) {
    if (argvIn.empty()) return false;
    std::vector<char*> argv = NullTerminated(argvIn), envp = NullTerminated(environment);
    const bool detached = launch == Launch::Detached;
    const int devNull = detached ? ::open("/dev/null", O_RDWR | O_CLOEXEC) : -1;
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) {
        if (devNull >= 0) ::close(devNull);
        return false;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(report[0]);
        if (!detached) Exec(argv.data(), envp.data(), devNull, report[1]);
        // Detached: a session of its own, in a grandchild that is never our zombie.
        ::setsid();
        if (::fork() == 0) Exec(argv.data(), envp.data(), devNull, report[1]);
        ::_exit(0);
    }
    ::close(report[1]);
    if (devNull >= 0) ::close(devNull);
    if (child < 0) {
        ::close(report[0]);
        return false;
    }
    // The pipe closes at the exec (nothing read) or carries the failure.
    char failed = 0;
    ssize_t got;
    while ((got = ::read(report[0], &failed, 1)) < 0 && errno == EINTR) {
    }
    ::close(report[0]);
    const bool started = got == 0;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (detached) return started;
    return started && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string HostShell::HostPathOf(std::string_view path) const {
    std::string windows = Unquoted(path);
    auto host = files_.ToHostPath(windows);
    return host ? *host : windows;
}

std::vector<std::string> HostShell::Environment() const {
    std::vector<std::string> entries;
    for (const auto& [name, value] : host_)
        if (!text::EqualsNoCase(name, "WINEPREFIX")) entries.push_back(name + "=" + value);
    entries.push_back("WINEPREFIX=" + files_.prefix().string());
    return entries;
}

std::vector<std::string> HostShell::EditorCommand(const std::string& hostFile) const {
    for (const char* variable : {"VISUAL", "EDITOR"}) {
        auto editor = host_.find(variable);
        if (editor == host_.end() || editor->second.empty()) continue;
        // The variable may hold arguments of its own ("code --wait").
        return {"/bin/sh", "-c", editor->second + " \"$1\"", "sh", hostFile};
    }
    return {};
}

bool HostShell::Open(std::string_view target) {
    if (IsAddress(target))
        return RunProgram({"xdg-open", Unquoted(target)}, Environment(), Launch::Detached);
    const std::string file = HostPathOf(target);
    // On a terminal, a document is opened in the user's editor there, as a terminal user
    // expects of a command that opens a file.
    if (std::vector<std::string> editor = EditorCommand(file); terminal_ && !editor.empty())
        return RunProgram(editor, Environment(), Launch::Foreground);
    return RunProgram({"xdg-open", file}, Environment(), Launch::Detached);
}

bool HostShell::Start(std::string_view program, std::string_view argument) {
    if (text::EqualsNoCase(NameOf(program), "notepad.exe")) {
        std::vector<std::string> editor = EditorCommand(HostPathOf(argument));
        if (!editor.empty())
            return RunProgram(editor, Environment(),
                              terminal_ ? Launch::Foreground : Launch::Detached);
    }
    return RunProgram({"wine", std::string(program), Unquoted(argument)}, Environment(),
                      Launch::Detached);
}

}  // namespace optera::platform
