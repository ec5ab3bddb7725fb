#include "paths/SpecialFolderPath.h"

#include <array>

#include "platform/SpecialFolders.h"
#include "platform/WindowsPath.h"
#include "text/NoCase.h"

namespace optera::discovery {

namespace {

struct FolderKeyword {
    std::string_view keyword;  // lower case; some hold a blank, as recipes write them
    int id;
    bool lastComponentOnly;  // the user's name, taken from the end of the profile folder
};

namespace csidl = platform::csidl;

// Looked up in this order; the first matching keyword wins.
constexpr std::array<FolderKeyword, 39> kFolderKeywords{{
    {"desktop", csidl::Desktop, false},
    {"startmenuprograms", csidl::Programs, false},
    {"docs", csidl::Personal, false},
    {"documents", csidl::Personal, false},
    {"mydocuments", csidl::Personal, false},
    {"my documents", csidl::Personal, false},
    {"favorites", csidl::Favorites, false},
    {"startmenuprogramsstartup", csidl::Startup, false},
    {"recent", csidl::Recent, false},
    {"sendto", csidl::SendTo, false},
    {"startmenu", csidl::StartMenu, false},
    {"nethood", csidl::NetHood, false},
    {"fonts", csidl::Fonts, false},
    {"templates", csidl::Templates, false},
    {"allusersstartmenu", csidl::CommonStartMenu, false},
    {"allusersstartmenuprograms", csidl::CommonPrograms, false},
    {"allusersstartmenuprogramsstartup", csidl::CommonStartup, false},
    {"allusersdesktop", csidl::CommonDesktopDirectory, false},
    {"applicationdata", csidl::AppData, false},
    {"application data", csidl::AppData, false},
    {"userapplicationdata", csidl::AppData, false},
    {"printhood", csidl::PrintHood, false},
    {"localsettingsapplicationdata", csidl::LocalAppData, false},
    {"allusersfavorites", csidl::CommonFavorites, false},
    {"localsettingstemporaryinternetfiles", csidl::InternetCache, false},
    {"cookies", csidl::Cookies, false},
    {"localsettingshistory", csidl::History, false},
    {"allusersapplicationdata", csidl::CommonAppData, false},
    {"windowsfolder", csidl::Windows, false},
    {"system32folder", csidl::System, false},
    {"programfiles", csidl::ProgramFiles, false},
    {"mydocumentsmypictures", csidl::MyPictures, false},
    {"userprofilename", csidl::Profile, false},
    {"commonfiles", csidl::ProgramFilesCommon, false},
    {"alluserstemplates", csidl::CommonTemplates, false},
    {"allusersdocuments", csidl::CommonDocuments, false},
    {"allusersstartmenuprogramsadministrativetools", csidl::CommonAdminTools, false},
    {"user", csidl::Profile, true},
    {"username", csidl::Profile, true},
}};

}  // namespace

std::string SpecialFolderPath(std::string_view keyword, const platform::Machine& machine) {
    const std::string lower = text::ToLower(keyword);
    for (const FolderKeyword& entry : kFolderKeywords) {
        if (entry.keyword != lower) continue;
        std::optional<std::string> path = machine.specialFolders.Path(entry.id);
        if (!path) return {};
        if (entry.lastComponentOnly) return std::string(platform::NameOf(*path));
        return *path;
    }
    return std::string(keyword);
}

}  // namespace optera::discovery
