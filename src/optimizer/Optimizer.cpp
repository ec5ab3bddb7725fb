#include "optimizer/Optimizer.h"

#include "discovery/GameStatus.h"
#include "mainwindow/model/GameMessage.h"
#include "optimizer/ConfigFileEdit.h"
#include "optimizer/RegistryModifications.h"
#include "platform/WindowsPath.h"

namespace optera::optimizer {

namespace {

using mainwindow::SetButtonState;
namespace button = mainwindow::button;

constexpr std::uint32_t kArchiveOnly = platform::attr::Archive;

bool HasRegistryLines(const recipes::GameRecord& game) {
    return !game.Registry.empty() && !game.Registry.front().empty();
}

}  // namespace

std::string Optimizer::RecipePath() const {
    return platform::JoinPath(services_.programFolder, "MODS\\" + Game().Name + ".txt");
}

bool Optimizer::CheckRegistryWritable() {
    if (!HasRegistryLines(Game())) return true;
    std::string reason = services_.machine.registry.WhyNotWritable();
    if (reason.empty()) return true;
    services_.prompts.ShowMessage(
        {"",
         "The registry cannot be changed now:\r\n\r\n" + reason + "\r\n\r\nNothing was changed.",
         platform::MessageButtons::Ok, platform::MessageIcon::Exclamation});
    return false;
}

void Optimizer::SyncRegistry(bool restore) {
    RegistryServices registry{services_.registry, recipes_.RegistryView, services_.prompts,
                              services_.machine,  services_.regFiles,    report_};
    if (services_.pauseBeforeRetry) registry.pause = services_.pauseBeforeRetry;
    optimizer::SyncRegistry(registry, Game().Registry, Game().Name,
                            RegistryBackupFolder(Game().GameLoc, Game().UserLoc), restore);
}

void Optimizer::OptimizeAndLockButtons() {
    RunOptimization();
    SetButtonState(gui_.GUI(), button::Restore, 0, false);
    SetButtonState(gui_.GUI(), button::Optimize, 0, false);
}

void Optimizer::RunOptimization() {
    if (!ProceedFlag) return;
    ProceedFlag = false;
    if (!CheckRegistryWritable()) return;
    platform::FileSystem& files = services_.machine.files;

    // An enabled Restore means the game was optimized before: its copies hold the state from
    // before that first run and stay as they are.
    const bool optimizedBefore = gui_.BtnImageBox(button::Restore).Enabled();
    EditServices edit{files, services_.profile, services_.prompts};
    for (const recipes::CfgEntry& entry : Game().CfgFiles) {
        if (entry.Path.empty()) continue;
        std::string copy = discovery::BackupPathOf(entry.Path);
        if (!optimizedBefore && platform::FileExists(files, entry.Path) &&
            !platform::FileExists(files, copy))
            files.Copy(entry.Path, copy);
        ModifyConfigFile(edit, entry.Path, entry.Lines);
    }

    if (HasRegistryLines(Game())) SyncRegistry(false);

    if (Game().ForceModFilesToReadOnly) {
        for (const recipes::CfgEntry& entry : Game().CfgFiles) {
            auto attributes = files.Attributes(entry.Path);
            if (attributes && !(*attributes & platform::attr::Directory) &&
                !(*attributes & platform::attr::ReadOnly))
                files.SetAttributes(entry.Path, *attributes | platform::attr::ReadOnly);
        }
    }

    const forms::ListItem* resolution = gui_.ResListBox().SelectedItem();
    services_.profile.SetIniStringValue(RecipePath(), "GAMERES", "RES",
                                        resolution ? resolution->Text : std::string());
    CreateDesktopShortcut();

    if (forms::ListItem* line = GameLine()) line->ForeColor = gui_.GO_Color;
    gui_.StatusLbl().SetBackColor(gui_.GO_Color);
    gui_.StatusLbl().SetCaption("Game has been optimized");
}

void Optimizer::RestoreOriginals() {
    if (!CheckRegistryWritable()) return;
    platform::MessageAnswer answer = services_.prompts.ShowMessage(
        {"Restore Original Cfg Files", mainwindow::GameMessage(7, Game(), gui_.CurrentGameText),
         platform::MessageButtons::YesNo, platform::MessageIcon::Question});
    if (answer != platform::MessageAnswer::Yes) return;

    platform::FileSystem& files = services_.machine.files;
    for (const recipes::CfgEntry& entry : Game().CfgFiles) {
        std::string copy = discovery::BackupPathOf(entry.Path);
        if (entry.Path.empty() || !platform::FileExists(files, entry.Path) ||
            !platform::FileExists(files, copy))
            continue;
        files.SetAttributes(entry.Path, kArchiveOnly);
        files.SetAttributes(copy, kArchiveOnly);
        files.Remove(entry.Path);
        files.Rename(copy, entry.Path);
        if (forms::ListItem* line = GameLine()) line->ForeColor = gui_.GCNF_Color;
    }

    if (recipes::HasLines(Game().Registry)) SyncRegistry(true);
    RemoveDesktopShortcuts();
    services_.profile.SetIniStringValue(RecipePath(), "GAMERES", "RES", gui_.DefaultResolution);
    SetButtonState(gui_.GUI(), button::Restore, 0, false);
    SetButtonState(gui_.GUI(), button::Optimize, 0, false);
    gui_.PathLbl().SetCaption("");
    if (SelectGame) SelectGame();
}

}  // namespace optera::optimizer
