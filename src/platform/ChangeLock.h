#pragma once
// One Optera at a time changes a machine: every run that writes files or the registry (optimize,
// restore, the desktop launcher) holds this lock from its first write to its last, so that two
// Opteras (the window and the command line, or two terminals) never interleave their writes and
// lose each other's original copies. A second Optera waits a short while, then gives up and
// changes nothing.

#include <string>
#include <utility>

namespace optera::platform {

class ChangeLock {
  public:
    virtual ~ChangeLock() = default;

    // Takes the lock, waiting a short while for another Optera to let go of it; "" once it is
    // held, else why not, in words for the user. Taken again by the same program while it holds
    // it, the lock only counts up: a command may run inside another that already holds it.
    virtual std::string Acquire() = 0;
    // Gives back one Acquire that succeeded; the last one lets go of the lock.
    virtual void Release() = 0;
};

// Holds a change lock for as long as it lives, when it could be taken.
class ChangeHold {
  public:
    explicit ChangeHold(ChangeLock& lock) : lock_(&lock), failure_(lock.Acquire()) {}
    ChangeHold(ChangeHold&& other) noexcept
        : lock_(std::exchange(other.lock_, nullptr)), failure_(std::move(other.failure_)) {}
    ChangeHold& operator=(ChangeHold&&) = delete;
    ChangeHold(const ChangeHold&) = delete;
    ChangeHold& operator=(const ChangeHold&) = delete;
    ~ChangeHold() {
        if (lock_ && failure_.empty()) lock_->Release();
    }

    bool held() const { return lock_ && failure_.empty(); }
    // Why the lock was not taken; "" when it is held.
    const std::string& failure() const { return failure_; }

  private:
    ChangeLock* lock_;
    std::string failure_;
};

}  // namespace optera::platform
