// The desktop shortcut of the game in hand.
#include "optimizer/Optimizer.h"
#include "paths/PathExpansion.h"
#include "paths/SpecialFolderPath.h"
#include "platform/WindowsPath.h"
#include "recipes/Location.h"
#include "text/Split.h"

namespace optera::optimizer {

namespace {

constexpr std::string_view kTitle = "Desktop Shortcut Icon";

// The executable's name less its three-letter extension.
std::string ExeBaseName(const std::string& gameExe) {
    return gameExe.size() < 4 ? std::string() : gameExe.substr(0, gameExe.size() - 4);
}

std::string RequiredNotice(std::string_view displayName) {
    return "PLEASE NOTE:\r\n\r\nA 'Widescape Game' desktop shortcut icon, for\r\n\r\n\t'" +
           std::string(displayName) +
           "'\r\n\r\nis required in order to play the game in widescape\r\n"
           "mode. If you delete this icon the game may revert\r\n"
           "back to single screen game play.";
}

std::string OfferQuestion(std::string_view displayName) {
    return "Would you like a 'Widescape Game' desktop shortcut icon, for\r\n\r\n\t'" +
           std::string(displayName) + "'\r\n\r\nto be created for you?";
}

}  // namespace

void Optimizer::RemoveDesktopShortcuts() {
    const std::string base = ExeBaseName(Game().GameExe);
    const std::string names[] = {base + " Optimized", base + " Widescape",
                                 Game().ShortcutName + " Optimized",
                                 Game().ShortcutName + " Widescape"};
    const std::string desktops[] = {
        discovery::SpecialFolderPath("Desktop", services_.machine),
        discovery::SpecialFolderPath("allusersdesktop", services_.machine)};
    for (const std::string& name : names) {
        services_.machine.shortcuts.Remove(name);
        for (const std::string& desktop : desktops)
            if (!desktop.empty())
                services_.machine.files.Remove(platform::JoinPath(desktop, name + ".lnk"));
    }
}

void Optimizer::CreateDesktopShortcut() {
    RemoveDesktopShortcuts();
    const recipes::GameRecord& game = Game();
    const std::string displayName(text::TrimBlanks(gui_.CurrentGameText));
    platform::Prompts& prompts = services_.prompts;
    if (!game.ShortcutParameters.empty()) {
        prompts.ShowMessage({std::string(kTitle), RequiredNotice(displayName),
                             platform::MessageButtons::Ok, platform::MessageIcon::Exclamation});
    } else if (prompts.ShowMessage({std::string(kTitle), OfferQuestion(displayName),
                                    platform::MessageButtons::YesNo,
                                    platform::MessageIcon::Question}) !=
               platform::MessageAnswer::Yes) {
        return;
    }

    const std::string linkName =
        (game.ShortcutName.empty() ? ExeBaseName(game.GameExe) : game.ShortcutName) + " Widescape";
    const std::string folder = recipes::NormalizeFolder(
        services_.machine.files, game.UserLoc.empty() ? game.GameLoc : game.UserLoc, game.GameExe);
    platform::ShellLink link;
    link.TargetPath = platform::JoinPath(folder, game.GameExe);
    link.WorkingDirectory = game.ShortcutStartIn.empty()
                                ? folder
                                : discovery::CombinePath(folder, game.ShortcutStartIn);
    link.IconLocation = game.ShortcutIcon.empty() ? link.TargetPath : game.ShortcutIcon;
    link.Arguments = game.ShortcutParameters;
    link.Description = "Kelvan created " + linkName + " link file";
    link.WindowStyle = 1;
    if (!services_.machine.shortcuts.Create(linkName, link)) {
        prompts.ShowMessage({"", "Unable to create desktop shortcut!", platform::MessageButtons::Ok,
                             platform::MessageIcon::None});
        // The run's report names it too, so that the run does not end as a whole success.
        const std::string reason = services_.machine.shortcuts.LastError();
        report_.Add("The desktop shortcut '" + linkName + "'",
                    "it could not be made" + (reason.empty() ? std::string() : ": " + reason));
    }
}

}  // namespace optera::optimizer
