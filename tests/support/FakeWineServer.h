#pragma once
// A wineserver as far as its lock goes: a child process that holds the lock file in the server's
// folder, so that the prefix counts as in use by Wine.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace optera::testing {

// In a child process (locks never stop their own process), does what a starting wineserver
// does in its folder: takes the lock and reports '1', or reports '0' when it is held. With
// `stay` the child then keeps the lock until it is killed.
inline pid_t StartServer(const std::filesystem::path& folder, bool stay, bool* locked) {
    ::mkdir(folder.parent_path().c_str(), 0700);
    ::mkdir(folder.c_str(), 0700);
    int report[2];
    if (::pipe(report) != 0) return -1;
    const pid_t child = ::fork();
    if (child == 0) {
        struct flock range {};
        range.l_type = F_WRLCK;
        range.l_len = 1;
        const int fd = ::open((folder / "lock").c_str(), O_CREAT | O_RDWR, 0600);
        const char got = fd >= 0 && ::fcntl(fd, F_SETLK, &range) == 0 ? '1' : '0';
        if (::write(report[1], &got, 1) == 1 && stay) ::pause();
        ::_exit(0);
    }
    ::close(report[1]);
    char got = '0';
    *locked = ::read(report[0], &got, 1) == 1 && got == '1';
    ::close(report[0]);
    return child;
}

inline bool ServerCouldStart(const std::filesystem::path& folder) {
    bool locked = false;
    ::waitpid(StartServer(folder, false, &locked), nullptr, 0);
    return locked;
}

// A live wineserver as far as its lock goes, until the object goes.
struct FakeServer {
    explicit FakeServer(const std::filesystem::path& folder)
        : pid(StartServer(folder, true, &held)) {}
    ~FakeServer() {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    bool held = false;
    pid_t pid;
};

}  // namespace optera::testing
