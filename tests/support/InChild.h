#pragma once
// Runs a piece of work in a child process with a time limit, for walks that faulty code would
// never end: the test then fails instead of hanging.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace optera::testing {

// What `work` gave, when the child ended within `limit`; nullopt when it had to be killed.
inline std::optional<std::string> InChild(std::chrono::milliseconds limit,
                                          const std::function<std::string()>& work) {
    int pipe[2];
    if (::pipe(pipe) != 0) return std::nullopt;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipe[0]);
        const std::string result = work();
        const bool written =
            ::write(pipe[1], result.data(), result.size()) == static_cast<ssize_t>(result.size());
        ::_exit(written ? 0 : 1);
    }
    ::close(pipe[1]);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(child, SIGKILL);
            ::waitpid(child, &status, 0);
            ::close(pipe[0]);
            return std::nullopt;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::string result;
    char buffer[512];
    for (ssize_t got; (got = ::read(pipe[0], buffer, sizeof buffer)) > 0;)
        result.append(buffer, got);
    ::close(pipe[0]);
    return result;
}

}  // namespace optera::testing
