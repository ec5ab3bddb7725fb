#include "platform/wine/WineSpecialFolders.h"

#include "platform/wine/KeyStoreText.h"
#include "platform/wine/WineEnvironment.h"

namespace optera::platform {

const ShellFolderPlace* WineSpecialFolders::Place(int id) {
    static constexpr ShellFolderPlace kPlaces[] = {
        {csidl::Desktop, "Desktop", "%USERPROFILE%\\Desktop"},
        {csidl::Programs, "Programs", "%APPDATA%\\Microsoft\\Windows\\Start Menu\\Programs"},
        {csidl::Personal, "Personal", "%USERPROFILE%\\Documents"},
        {csidl::Favorites, "Favorites", "%USERPROFILE%\\Favorites"},
        {csidl::Startup, "Startup", "%APPDATA%\\Microsoft\\Windows\\Start Menu\\Programs\\StartUp"},
        {csidl::Recent, "Recent", "%APPDATA%\\Microsoft\\Windows\\Recent"},
        {csidl::SendTo, "SendTo", "%APPDATA%\\Microsoft\\Windows\\SendTo"},
        {csidl::StartMenu, "Start Menu", "%APPDATA%\\Microsoft\\Windows\\Start Menu"},
        {csidl::NetHood, "NetHood", "%APPDATA%\\Microsoft\\Windows\\Network Shortcuts"},
        {csidl::Fonts, "Fonts", "%SystemRoot%\\Fonts"},
        {csidl::Templates, "Templates", "%APPDATA%\\Microsoft\\Windows\\Templates"},
        {csidl::CommonStartMenu, "Common Start Menu",
         "%ProgramData%\\Microsoft\\Windows\\Start Menu"},
        {csidl::CommonPrograms, "Common Programs",
         "%ProgramData%\\Microsoft\\Windows\\Start Menu\\Programs"},
        {csidl::CommonStartup, "Common Startup",
         "%ProgramData%\\Microsoft\\Windows\\Start Menu\\Programs\\StartUp"},
        {csidl::CommonDesktopDirectory, "Common Desktop", "%PUBLIC%\\Desktop"},
        {csidl::AppData, "AppData", "%USERPROFILE%\\AppData\\Roaming"},
        {csidl::PrintHood, "PrintHood", "%APPDATA%\\Microsoft\\Windows\\Printer Shortcuts"},
        {csidl::LocalAppData, "Local AppData", "%USERPROFILE%\\AppData\\Local"},
        {csidl::CommonFavorites, "Common Favorites", "%PUBLIC%\\Favorites"},
        {csidl::InternetCache, "Cache", "%LOCALAPPDATA%\\Microsoft\\Windows\\INetCache"},
        {csidl::Cookies, "Cookies", "%LOCALAPPDATA%\\Microsoft\\Windows\\INetCookies"},
        {csidl::History, "History", "%LOCALAPPDATA%\\Microsoft\\Windows\\History"},
        {csidl::CommonAppData, "Common AppData", "%ProgramData%"},
        {csidl::Windows, "", "%SystemRoot%"},
        {csidl::System, "", "%SystemRoot%\\system32"},
        {csidl::ProgramFiles, "", "%ProgramFiles%"},
        {csidl::MyPictures, "My Pictures", "%USERPROFILE%\\Pictures"},
        {csidl::Profile, "", "%USERPROFILE%"},
        {csidl::ProgramFilesCommon, "", "%CommonProgramFiles%"},
        {csidl::CommonTemplates, "Common Templates",
         "%ProgramData%\\Microsoft\\Windows\\Templates"},
        {csidl::CommonDocuments, "Common Documents", "%PUBLIC%\\Documents"},
        {csidl::CommonAdminTools, "Common Administrative Tools",
         "%ProgramData%\\Microsoft\\Windows\\Start Menu\\Programs\\Administrative Tools"},
    };
    for (const ShellFolderPlace& place : kPlaces)
        if (place.id == id) return &place;
    return nullptr;
}

std::optional<std::string> WineSpecialFolders::FromRegistry(std::string_view valueName) const {
    constexpr std::string_view kShellFolders =
        "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
    if (!registry_ || valueName.empty()) return std::nullopt;
    for (HKEY root : {hkey::CurrentUser, hkey::LocalMachine}) {
        auto value = ReadRegistryText(*registry_, root, kShellFolders, valueName);
        if (value && !value->text.empty())
            return value->type == regtype::ExpandSz ? ExpandVariables(value->text, environment_)
                                                    : value->text;
    }
    return std::nullopt;
}

std::optional<std::string> WineSpecialFolders::Path(int id) const {
    const ShellFolderPlace* place = Place(id);
    if (!place) return std::nullopt;
    std::string path =
        FromRegistry(place->valueName).value_or(ExpandVariables(place->defaultPlace, environment_));
    while (path.size() > 3 && path.back() == '\\') path.pop_back();
    return path;
}

}  // namespace optera::platform
