#pragma once

#include <optional>
#include <string>

namespace optera::platform {

// Windows special-folder ids (CSIDL numbers) used by the folder keywords of recipes.
namespace csidl {
inline constexpr int Desktop = 0;
inline constexpr int Programs = 2;
inline constexpr int Personal = 5;
inline constexpr int Favorites = 6;
inline constexpr int Startup = 7;
inline constexpr int Recent = 8;
inline constexpr int SendTo = 9;
inline constexpr int StartMenu = 11;
inline constexpr int NetHood = 19;
inline constexpr int Fonts = 20;
inline constexpr int Templates = 21;
inline constexpr int CommonStartMenu = 22;
inline constexpr int CommonPrograms = 23;
inline constexpr int CommonStartup = 24;
inline constexpr int CommonDesktopDirectory = 25;
inline constexpr int AppData = 26;
inline constexpr int PrintHood = 27;
inline constexpr int LocalAppData = 28;
inline constexpr int CommonFavorites = 31;
inline constexpr int InternetCache = 32;
inline constexpr int Cookies = 33;
inline constexpr int History = 34;
inline constexpr int CommonAppData = 35;
inline constexpr int Windows = 36;
inline constexpr int System = 37;
inline constexpr int ProgramFiles = 38;
inline constexpr int MyPictures = 39;
inline constexpr int Profile = 40;
inline constexpr int ProgramFilesCommon = 43;
inline constexpr int CommonTemplates = 45;
inline constexpr int CommonDocuments = 46;
inline constexpr int CommonAdminTools = 47;
}  // namespace csidl

// The machine's special folders by id.
class SpecialFolders {
  public:
    virtual ~SpecialFolders() = default;
    // The folder's Windows path without a trailing backslash; nullopt when the machine has none.
    virtual std::optional<std::string> Path(int id) const = 0;
};

}  // namespace optera::platform
