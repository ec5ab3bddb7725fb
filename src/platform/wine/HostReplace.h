#pragma once
// Replacing host files so that nothing is lost: the new content goes to an exclusive temporary
// beside the file, is synced, and is renamed over the file in one step. A crash, a full disk or
// a failed write leaves the file as it was and no temporary behind. The file keeps its mode,
// owner and hidden mark; a link to it stays a link when it is one this program trusts.

#include <sys/stat.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace optera::platform {

// Error number for a link that is not followed (an untrusted owner or too many hops).
inline constexpr int kUntrustedLink = -1;
// Error number for a file that is marked read-only, which Windows refuses to change.
inline constexpr int kReadOnlyFile = -2;

// The real file that `file` names when it is a link this program may follow; `file` itself
// when it is no link or nothing is there. A link is followed only where the kernel's rule for
// protected links would follow it (in a sticky world-writable folder only the link's owner or
// the folder's owner may lead elsewhere), and a link made by someone else than the running user
// leads only to files of its own owner: a user's link must not make the superuser write
// somewhere that user could not. Sets `error` to kUntrustedLink and gives nullopt otherwise.
std::optional<std::filesystem::path> ResolveTrustedLink(const std::filesystem::path& file,
                                                        int& error);

struct HostReplacement {
    // The temporary's name in the file's folder. A stray temporary of that name from a run that
    // was killed is removed first (never followed).
    std::string tempName;
    // Writes the content to the temporary; false with errno set when it could not.
    std::function<bool(int fd)> fill;
    // The mode of the new file; unset keeps the mode of the file replaced, and a new file gets
    // 0666 less the umask.
    std::optional<mode_t> mode;
    // The new file's hidden and system marks as Wine keeps them (see ReadDosAttribute); unset
    // keeps those of the file replaced, "" gives none.
    std::optional<std::string> dosAttribute;
    // Where to put what the new file is, as it is renamed into place (may be null).
    struct stat* written = nullptr;
};

// Replaces the directory entry `file` (a link there is replaced, not followed). Returns 0 on
// success, else the error number of the step that failed.
int ReplaceHostEntry(const std::filesystem::path& file, const HostReplacement& how);

// The mask new files get, read without changing it (umask(2) can only read by writing).
mode_t ProcessUmask();

// The fixed temporary name for a replacement of `file`.
std::string TempNameFor(const std::filesystem::path& file);

// A failure's error number in plain words for the user.
std::string ErrorText(int error);

}  // namespace optera::platform
