#pragma once
// Keywords in recipe lines that stand for the selected resolution: #KELVANW and #KELVANH (its
// width and height), ^ (a blank) and #RESDEPENDENT.n (the value for the resolution in the
// recipe's [RESDEPENDENT.n] table). Lines are expanded when a recipe is read, so a record's
// lines are final for one resolution.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "services/cPrivateProfile.h"

namespace optera::recipes {

// Stands in place of a line whose #RESDEPENDENT.n table has no value for the resolution.
inline constexpr std::string_view kMissingEntryMarker = "MISSING_OPTERA_RESDEPENDENT_ENTRY";

// The resolution keywords are expanded for; 0 x 0 until the user selects one.
struct SelectedResolution {
    std::int16_t SelectedWidth = 0;
    std::int16_t SelectedHeight = 0;
};

class KeywordExpander {
  public:
    KeywordExpander(const services::cPrivateProfile& profile, const SelectedResolution& selected)
        : profile_(profile), selected_(selected) {}

    // The text with its keywords replaced, each keyword once (its first occurrence); the marker
    // alone when a #RESDEPENDENT.n value is missing. Replacement values are not scanned again.
    std::string ExpandKeywords(std::string_view text, std::string_view recipePath) const;

    // The value of the selected resolution's line ("<width>x<height>=<value>", first match) in
    // a section of the recipe; "" when the section, the line or its value is missing.
    std::string LookupResDependent(std::string_view recipePath, std::string_view sectionName) const;

    // Expands every line in place. One missing table value voids the whole section: the lines
    // become the single marker. A section whose first line is empty is left alone.
    std::vector<std::string>& ExpandLines(std::vector<std::string>& lines,
                                          std::string_view recipePath) const;

  private:
    const services::cPrivateProfile& profile_;
    const SelectedResolution& selected_;
};

}  // namespace optera::recipes
