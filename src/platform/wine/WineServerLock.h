#pragma once
// Whether a wineserver runs for a prefix, and a hold on the lock that a starting wineserver
// takes, so that the prefix's registry files can be rewritten without a server overwriting
// the change.
//
// A live wineserver holds a write lock on byte 0 of the file `lock` in its folder
// `server-<dev>-<inode>` (the prefix folder's device and inode numbers in lower-case
// hexadecimal). Upstream Wine keeps that folder in /tmp/.wine-<uid>/; Debian's Wine keeps it in
// the /tmp folder that the prefix's file `wineserver` names. Both places are looked at. The
// folder stays after the server exits: only a held lock means a live server.

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace optera::platform {

struct WineServerState {
    bool running = false;
    long pid = 0;                    // the process holding the lock; 0 or less when not known
    std::filesystem::path lockFile;  // the lock file found held
};

// The folders where a wineserver of the prefix keeps its lock, whether they exist or not:
// /tmp/.wine-<uid>/server-<dev>-<inode>, then the one under the folder named by the prefix's
// `wineserver` file when there is such a file. Empty when the prefix folder does not exist.
std::vector<std::filesystem::path> WineServerFolders(const std::filesystem::path& prefix);

// Looks for a live wineserver of the prefix without creating or changing anything.
WineServerState FindWineServer(const std::filesystem::path& prefix);

// "" when no wineserver runs for the prefix, else a sentence for the user that says so and how
// to stop it.
std::string WineServerRunningReason(const std::filesystem::path& prefix);

// Holds the wineserver lock of a prefix for as long as it lives: a wineserver that starts
// meanwhile finds the lock taken and gives up instead of loading the registry files that are
// being rewritten. Missing folders (mode 0700) and lock files (mode 0600) are created as Wine
// creates them. The lock belongs to this object's open file, so that looking for a server from
// the same process (which opens and closes the lock file) does not drop it.
class WineServerLock {
  public:
    // Another Optera's hold on the lock (for one registry write) is waited for up to
    // `patience`; a wineserver's is not waited for.
    explicit WineServerLock(const std::filesystem::path& prefix,
                            std::chrono::milliseconds patience = std::chrono::seconds(5));
    ~WineServerLock();
    WineServerLock(const WineServerLock&) = delete;
    WineServerLock& operator=(const WineServerLock&) = delete;

    // True when every place a server of the prefix would lock is held by this object.
    bool held() const { return failure_.empty(); }
    // Why the lock could not be taken, in words for the user; "" when it is held.
    const std::string& failure() const { return failure_; }

  private:
    bool Take(const std::filesystem::path& folder, const std::filesystem::path& prefix);

    std::chrono::milliseconds patience_;
    std::vector<int> fds_;
    std::string failure_;
};

}  // namespace optera::platform
