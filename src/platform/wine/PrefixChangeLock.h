#pragma once
// The change lock of a Wine prefix: an exclusive lock (flock) on the file `.optera.lock` in the
// prefix folder. It belongs to this object's open file, so that other opens of the file in the
// same process do not drop it, and it goes when the process ends, however it ends: a crash
// leaves no stale lock behind. A prefix whose folder is missing or cannot hold the file is locked
// through a file of the user's in /tmp instead, so that two Opteras still exclude each other.

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/ChangeLock.h"
#include "platform/wine/WineEnvironment.h"

namespace optera::platform {

class PrefixChangeLock : public ChangeLock {
  public:
    PrefixChangeLock(std::filesystem::path prefix, std::chrono::milliseconds patience);
    ~PrefixChangeLock() override;
    PrefixChangeLock(const PrefixChangeLock&) = delete;
    PrefixChangeLock& operator=(const PrefixChangeLock&) = delete;

    std::string Acquire() override;
    void Release() override;

    // How long a second Optera waits: $OPTERA_LOCK_WAIT_MS milliseconds when it holds a number,
    // else five seconds.
    static std::chrono::milliseconds PatienceFrom(const EnvironmentVariables& host);

  private:
    // Opens the lock file, creating it when it is missing; -1 with `problem` set when neither
    // the prefix's file nor the fallback can be opened.
    int OpenLockFile(std::string& problem) const;

    std::filesystem::path prefix_;
    std::chrono::milliseconds patience_;
    int fd_ = -1;
    int depth_ = 0;
};

}  // namespace optera::platform
