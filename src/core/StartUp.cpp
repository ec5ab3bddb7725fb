#include "core/StartUp.h"

#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "text/Number.h"
#include "text/Split.h"

namespace optera::core {

bool StartMainWindow(Session& session, mainwindow::MainWindowLogic& logic, std::string& error) {
    services::cPrivateProfile& profile = session.profile();
    mainwindow::MainWindow& gui = logic.gui();
    const std::string ini = logic.OpteraIni();
    const std::string skin = profile.GetIniStringValue(ini, "SETUP", "Skin");
    const std::string skinIni =
        platform::JoinPath(session.programFolder(), "SKINS\\" + skin + "\\skin.ini");
    if (skin.empty() || !platform::FileExists(session.machine().files, skinIni)) {
        error = "there is no skin: " + session.HostPathOf(skinIni) +
                " is missing (Optera.ini names the skin in [SETUP] Skin=)";
        return false;
    }
    auto number = [&](const char* key) {
        std::string value = profile.GetIniStringValue(skinIni, "GAMEDETECTIONCOLOURS", key);
        return static_cast<forms::Colour>(
            text::RoundToInt32(text::LeadingNumber(value)).value_or(0));
    };
    gui.GO_Color = number("GO_Color");
    gui.GCNF_Color = number("GCNF_Color");
    gui.GNO_Color = number("GNO_Color");
    gui.GND_Color = number("GND_Color");
    gui.GHNTS_Color = number("GHNTS_Color");
    gui.ShowAllGames =
        text::EqualsNoCase(profile.GetIniStringValue(ini, "SETUP", "ShowAllGames"), "True");
    gui.NativeMessages.clear();
    for (const std::string& line :
         profile.GetIniSection(ini, "NATIVEMSG").value_or(std::vector<std::string>{""})) {
        std::vector<std::string> pieces = text::Split(line, "=");
        gui.NativeMessages.push_back(pieces.size() > 1 ? pieces[1] : line);
    }
    logic.WebSiteAddress = profile.GetIniStringValue(ini, "SETUP", "KelvanOpteraWebSite");
    logic.BuildResolutionList();
    logic.FillGameList();
    return true;
}

}  // namespace optera::core
