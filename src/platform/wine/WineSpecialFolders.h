#pragma once
// The special folders of a Wine prefix. With the prefix's registry, a folder is where the
// user's "Shell Folders" key says, else where the machine's says; otherwise, and for folders
// those keys do not name, it is at the place Wine gives a new prefix. The places are written as
// the prefix's "User Shell Folders" values are, with %VARIABLE% references that the environment
// (WineEnvironment) resolves.

#include <optional>
#include <string>
#include <string_view>

#include "platform/Environment.h"
#include "platform/KeyStore.h"
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
    // The environment and the registry must outlive this object. The registry is read at each
    // question, so that the answers follow changes to it.
    explicit WineSpecialFolders(const Environment& environment, KeyStore* registry = nullptr)
        : environment_(environment), registry_(registry) {}

    std::optional<std::string> Path(int id) const override;

    // The row of the folder with this id; nullptr for an id Wine does not place.
    static const ShellFolderPlace* Place(int id);

  private:
    std::optional<std::string> FromRegistry(std::string_view valueName) const;

    const Environment& environment_;
    KeyStore* registry_;
};

}  // namespace optera::platform
