#pragma once
// The special folders of a Wine prefix at the places Wine gives a new prefix. The places are
// written as the prefix's "User Shell Folders" values are, with %VARIABLE% references that the
// environment (WineEnvironment) resolves.

#include <optional>
#include <string>
#include <string_view>

#include "platform/Environment.h"
#include "platform/SpecialFolders.h"

namespace optera::platform {

// One special folder: its id, the name of its value under the registry's shell folder keys
// (the user's key, or the machine's for names starting "Common"; empty when it has none there)
// and its default place.
struct ShellFolderPlace {
    int id;
    std::string_view valueName;
    std::string_view defaultPlace;
};

class WineSpecialFolders : public SpecialFolders {
  public:
    // The environment must outlive this object.
    explicit WineSpecialFolders(const Environment& environment) : environment_(environment) {}

    std::optional<std::string> Path(int id) const override;

    // The row of the folder with this id; nullptr for an id Wine does not place.
    static const ShellFolderPlace* Place(int id);

  private:
    const Environment& environment_;
};

}  // namespace optera::platform
