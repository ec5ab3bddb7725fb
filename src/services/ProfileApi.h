#pragma once
// The four Windows profile functions, with their buffer contracts, over the machine's files.
// cPrivateProfile is written against exactly these contracts (buffer sizes, return counts,
// truncation), so its limits are the same as on Windows wherever it runs.
//
// A buffer is a string whose length is the size offered to the function; the function fills
// it from the front with NUL-terminated text.

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace optera::services {

struct LoadedProfile;

// Keeps the last few files read, as Windows keeps its current profile file: a recipe is asked
// for one section after another, and each question would otherwise read and parse it anew. A
// kept file serves only while its stamp is settled and unchanged; our own writes drop them all.
class ProfileApi {
  public:
    explicit ProfileApi(platform::FileSystem& files) : files_(files) {}
    ProfileApi(const ProfileApi& other) : files_(other.files_) {}

    // Section names, each ended by NUL, the list ended by one more NUL. Returns the characters
    // copied without the last NUL; size - 2 when the names do not fit; 0 without file or section.
    std::uint32_t GetPrivateProfileSectionNamesA(std::string& buffer, std::string_view path) const;

    // A section's entries as "key=value", each ended by NUL, the list ended by one more NUL.
    // Same return rule as the names; 0 for a missing or empty section.
    std::uint32_t GetPrivateProfileSectionA(std::string_view section, std::string& buffer,
                                            std::string_view path) const;

    // A key's value (trimmed, one pair of enclosing quotes removed) or the default. A value
    // that does not fit is cut to size - 1 characters. Returns the length copied.
    std::uint32_t GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                           std::string_view fallback, std::string& buffer,
                                           std::string_view path) const;

    // Creates the file, the section and the key as needed and replaces an existing value;
    // every other line of the file keeps its bytes. The file is replaced atomically. Fails on a
    // read-only file, and on a file that exists but cannot be read.
    bool WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                    std::string_view value, std::string_view path);

    // From HoldReads to the matching ReleaseReads (they nest) a kept file whose stamp was
    // checked once is served again without a new check: a list reads each recipe several times
    // in a row. Our own writes still drop every kept file.
    void HoldReads() const;
    void ReleaseReads() const;

  private:
    struct Kept {
        std::string path;
        platform::FileStamp stamp;
        std::shared_ptr<const LoadedProfile> profile;
        unsigned look = 0;  // the hold in which the stamp was last checked
    };

    std::shared_ptr<const LoadedProfile> Load(std::string_view path) const;

    platform::FileSystem& files_;
    mutable std::mutex keptLock_;
    mutable std::deque<Kept> kept_;  // the file read last first
    mutable int heldReads_ = 0;
    mutable unsigned look_ = 0;  // counts the holds; 0 is no hold
};

}  // namespace optera::services
