#pragma once
// The one road to every profile file: Optera.ini, skin.ini, recipes, and games' own profile
// files. Turns the profile functions' NUL-separated buffers into plain strings and arrays, and
// keeps their limits visible: a value longer than 509 characters comes back cut, and a section
// (or list of section names) longer than 32,767 characters cannot be read.
//
// A missing file, section or key reads as ""; an empty or missing section as one element "".

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/ProfileApi.h"

namespace optera::services {

class cPrivateProfile {
  public:
    explicit cPrivateProfile(platform::FileSystem& files) : api_(files), files_(files) {}

    // Names of the files (not folders) that match a pattern with its folder, in directory
    // order; one element "" when none does.
    std::vector<std::string> GetListOfFiles(std::string_view szDirPath) const;

    // Section names in file order; one element "" for a missing file or a file without
    // sections. nullopt when the list is too long to read (more than 32,767 characters).
    std::optional<std::vector<std::string>> GetIniSectionNames(std::string_view szIniPath) const;

    // A section's lines in file order, each the raw text "key=value"; one element "" for a
    // missing or empty section. nullopt when the section is too long to read.
    std::optional<std::vector<std::string>> GetIniSection(std::string_view szIniPath,
                                                          std::string_view szSectionName) const;

    // A key's value, "" when there is none; cut to its first 509 characters.
    std::string GetIniStringValue(std::string_view szIniPath, std::string_view szSectionName,
                                  std::string_view szSectionNameValue) const;

    // Writes a key's value, creating file, section and key as needed. An empty value keeps the
    // key with nothing behind its "=". Returns whether the file was written.
    bool SetIniStringValue(std::string_view szIniPath, std::string_view szSectionName,
                           std::string_view szSectionNameValue, std::string_view szSectionValue);

    // See ProfileApi::HoldReads.
    void HoldReads() const { api_.HoldReads(); }
    void ReleaseReads() const { api_.ReleaseReads(); }

  private:
    ProfileApi api_;
    platform::FileSystem& files_;
};

// Holds the reads of the profile files (see ProfileApi::HoldReads) for as long as it lives.
class HeldProfileReads {
  public:
    explicit HeldProfileReads(const cPrivateProfile& profile) : profile_(profile) {
        profile_.HoldReads();
    }
    ~HeldProfileReads() { profile_.ReleaseReads(); }
    HeldProfileReads(const HeldProfileReads&) = delete;
    HeldProfileReads& operator=(const HeldProfileReads&) = delete;

  private:
    const cPrivateProfile& profile_;
};

// What stands before the first NUL of a buffer.
std::string_view TrimAtNull(std::string_view buffer);

}  // namespace optera::services
