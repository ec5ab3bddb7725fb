#include "platform/wine/HostShell.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

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

// The child's side of RunProgram: never returns.
[[noreturn]] void Exec(const std::vector<std::string>& argv,
                       const std::vector<std::string>& environment, int report) {
    std::vector<char*> args, env;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    for (const std::string& entry : environment) env.push_back(const_cast<char*>(entry.c_str()));
    env.push_back(nullptr);
    int devNull = ::open("/dev/null", O_RDWR);
    if (devNull >= 0) {
        ::dup2(devNull, STDIN_FILENO);
        ::dup2(devNull, STDOUT_FILENO);
    }
    ::execvpe(args[0], args.data(), env.data());
    const char failed = 1;
    (void)!::write(report, &failed, 1);
    ::_exit(127);
}

}  // namespace

bool RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
                int waitSeconds) {
    if (argv.empty()) return false;
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) return false;
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(report[0]);
        ::close(report[1]);
        return false;
    }
    if (child == 0) {
        ::close(report[0]);
        ::setsid();
        if (waitSeconds > 0) Exec(argv, environment, report[1]);
        // Not waited for: a grandchild, so that it never lingers as our zombie.
        if (::fork() == 0) Exec(argv, environment, report[1]);
        ::_exit(0);
    }
    ::close(report[1]);
    char failed = 0;
    const bool started = ::read(report[0], &failed, 1) == 0;
    ::close(report[0]);
    if (waitSeconds <= 0) {
        ::waitpid(child, nullptr, 0);
        return started;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(waitSeconds);
    int status = 0;
    while (std::chrono::steady_clock::now() < deadline) {
        pid_t done = ::waitpid(child, &status, WNOHANG);
        if (done == child) return started && WIFEXITED(status) && WEXITSTATUS(status) == 0;
        if (done < 0 && errno != EINTR) return started;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // Still running: it has found something to open the target with.
    return started;
}

std::string HostShell::HostPathOf(std::string_view path) const {
    std::string windows = Unquoted(path);
    auto host = files_.ToHostPath(windows);
    return host ? host->string() : windows;
}

std::vector<std::string> HostShell::Environment() const {
    std::vector<std::string> entries;
    for (const auto& [name, value] : host_)
        if (!text::EqualsNoCase(name, "WINEPREFIX")) entries.push_back(name + "=" + value);
    entries.push_back("WINEPREFIX=" + files_.prefix().string());
    return entries;
}

bool HostShell::Open(std::string_view target) {
    std::string what = IsAddress(target) ? Unquoted(target) : HostPathOf(target);
    return RunProgram({"xdg-open", what}, Environment(), 10);
}

bool HostShell::Start(std::string_view program, std::string_view argument) {
    if (text::EqualsNoCase(NameOf(program), "notepad.exe")) {
        for (const char* variable : {"VISUAL", "EDITOR"}) {
            auto editor = host_.find(variable);
            if (editor == host_.end() || editor->second.empty()) continue;
            // The variable may hold arguments of its own ("code --wait").
            return RunProgram(
                {"/bin/sh", "-c", editor->second + " \"$1\"", "sh", HostPathOf(argument)},
                Environment(), 0);
        }
    }
    return RunProgram({"wine", std::string(program), Unquoted(argument)}, Environment(), 0);
}

}  // namespace optera::platform
