#include "optimizer/Optimizer.h"

#include <map>

#include "discovery/GameStatus.h"
#include "optimizer/BufferedFile.h"
#include "optimizer/ConfigFileEdit.h"
#include "optimizer/RegistryModifications.h"
#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "windowmodel/GameMessage.h"

namespace optera::optimizer {

namespace {

using mainwindow::SetButtonState;
namespace button = mainwindow::button;
namespace button_state = mainwindow::button_state;

constexpr std::uint32_t kArchiveOnly = platform::attr::Archive;

bool HasRegistryLines(const recipes::GameRecord& game) {
    return !game.Registry.empty() && !game.Registry.front().empty();
}

// Each copy name belongs to the first entry that has it, in the recipe's order: two files of one
// stem ("display.cfg", "display.xml") share a copy name, and only the first can have an original.
using CopyOwners = std::map<std::string, std::string, text::LessNoCase>;

CopyOwners OwnersOfCopies(const std::vector<recipes::CfgEntry>& entries) {
    CopyOwners owners;
    for (const recipes::CfgEntry& entry : entries)
        if (!entry.Path.empty()) owners.emplace(discovery::BackupPathOf(entry.Path), entry.Path);
    return owners;
}

// ": <reason>", or nothing when the file layer could not tell.
std::string Because(const std::string& reason) {
    return reason.empty() ? std::string() : ": " + reason;
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
    SetButtonState(gui_.GUI(), button::Restore, button_state::Enabled, false);
    SetButtonState(gui_.GUI(), button::Optimize, button_state::Enabled, false);
}

void Optimizer::RunOptimization() {
    if (!ProceedFlag) return;
    ProceedFlag = false;
    report_.Clear();
    if (!CheckRegistryWritable()) return;
    platform::FileSystem& files = services_.machine.files;

    RemoveStrayTemporaries();
    EditConfigFiles();

    if (HasRegistryLines(Game())) SyncRegistry(false);

    if (Game().ForceModFilesToReadOnly) {
        for (const recipes::CfgEntry& entry : Game().CfgFiles) {
            // A file the report names was left as it was, and keeps its marks too.
            if (Reported(entry.Path)) continue;
            auto attributes = files.Attributes(entry.Path);
            if (attributes && !(*attributes & platform::attr::Directory) &&
                !(*attributes & platform::attr::ReadOnly) &&
                !files.SetAttributes(entry.Path, *attributes | platform::attr::ReadOnly))
                report_.Add(entry.Path,
                            "it could not be marked read-only" + Because(files.LastError()));
        }
    }

    const forms::ListItem* resolution = gui_.ResListBox().SelectedItem();
    WriteRecipeResolution(resolution ? resolution->Text : std::string());
    CreateDesktopShortcut();

    if (!report_.empty()) {
        TellShortfalls("Optera - Not Everything Was Changed",
                       "The game was optimized except for these, which were left as they were:");
        return;
    }
    PaintGameLine(gui_.GO_Color);
    gui_.StatusLbl().SetBackColor(gui_.GO_Color);
    gui_.StatusLbl().SetCaption("Game has been optimized");
}

bool Optimizer::Reported(std::string_view path) const {
    for (const Shortfall& item : report_.items())
        if (text::EqualsNoCase(item.what, path)) return true;
    return false;
}

void Optimizer::RemoveStrayTemporaries() {
    constexpr std::string_view kNewSuffix = ".optera-new";  // the file layer's temporaries
    std::vector<std::string> names{RecipePath() + std::string(kNewSuffix)};
    for (const recipes::CfgEntry& entry : Game().CfgFiles) {
        if (entry.Path.empty()) continue;
        names.push_back(platform::JoinPath(platform::ParentOf(entry.Path), kEditTempName));
        names.push_back(entry.Path + std::string(kNewSuffix));
        names.push_back(discovery::BackupPathOf(entry.Path) + std::string(kNewSuffix));
    }
    if (recipes::HasLines(Game().Registry)) {
        const std::string folder = RegistryBackupFolder(Game().GameLoc, Game().UserLoc);
        for (std::size_t n = 0; n < Game().Registry.size(); ++n)
            names.push_back(platform::JoinPath(folder, BackupFileName(Game().Name, n)) +
                            std::string(kNewSuffix));
        const std::string empty = services_.machine.environment.Get("SystemDrive") + "\\" +
                                  std::string(kEmptyRegFileName);
        names.push_back(empty);
        names.push_back(empty + std::string(kNewSuffix));
    }
    platform::FileSystem& files = services_.machine.files;
    for (const std::string& name : names) {
        auto attributes = files.Attributes(name);
        if (attributes && !(*attributes & platform::attr::Directory)) files.Remove(name);
    }
}

void Optimizer::EditConfigFiles() {
    platform::FileSystem& files = services_.machine.files;
    const CopyOwners owners = OwnersOfCopies(Game().CfgFiles);
    EditServices edit{files, services_.prompts};
    for (const recipes::CfgEntry& entry : Game().CfgFiles) {
        if (entry.Path.empty()) continue;
        const std::string copy = discovery::BackupPathOf(entry.Path);
        const std::string& owner = owners.at(copy);
        if (!text::EqualsNoCase(owner, entry.Path)) {
            report_.Add(entry.Path, "its original copy would be " + copy + ", which keeps " +
                                        owner + "; with no original of its own it was not edited");
            continue;
        }
        // Whatever the buttons say: after a run that stopped half way some files have their
        // copies and others don't, and none may be edited without one.
        if (platform::FileExists(files, entry.Path) && !platform::FileExists(files, copy) &&
            !files.Copy(entry.Path, copy)) {
            report_.Add(entry.Path, "its original copy could not be made" +
                                        Because(files.LastError()) + "; it was not edited");
            continue;
        }
        FileEdit result = ModifyConfigFile(edit, entry.Path, entry.Lines);
        if (!result.failure.empty()) report_.Add(entry.Path, result.failure);
    }
}

void Optimizer::WriteRecipeResolution(const std::string& resolution) {
    const std::string recipe = RecipePath();
    if (!services_.profile.SetIniStringValue(recipe, "GAMERES", "RES", resolution))
        report_.Add(recipe, "the resolution " + resolution + " could not be written into it" +
                                Because(services_.machine.files.LastError()));
}

void Optimizer::TellShortfalls(const std::string& title, std::string_view opening) {
    services_.prompts.ShowMessage({title, report_.Text(opening), platform::MessageButtons::Ok,
                                   platform::MessageIcon::Exclamation});
}

void Optimizer::RestoreOriginals() {
    report_.Clear();
    if (!CheckRegistryWritable()) return;
    platform::MessageAnswer answer = services_.prompts.ShowMessage(
        {"Restore Original Cfg Files", mainwindow::GameMessage(7, Game(), gui_.CurrentGameText),
         platform::MessageButtons::YesNo, platform::MessageIcon::Question});
    if (answer != platform::MessageAnswer::Yes) return;

    // After a run that was stopped, only Restore may be offered: it must leave nothing behind.
    RemoveStrayTemporaries();
    const CopyOwners owners = OwnersOfCopies(Game().CfgFiles);
    for (const recipes::CfgEntry& entry : Game().CfgFiles) {
        if (entry.Path.empty()) continue;
        std::string copy = discovery::BackupPathOf(entry.Path);
        // A copy goes back only to the file it was made of.
        if (!text::EqualsNoCase(owners.at(copy), entry.Path)) continue;
        if (!platform::FileExists(services_.machine.files, copy)) continue;
        if (PutOriginalBack(entry.Path, copy)) {
            PaintGameLine(gui_.GCNF_Color);
        }
    }

    if (recipes::HasLines(Game().Registry)) SyncRegistry(true);
    RemoveDesktopShortcuts();
    WriteRecipeResolution(gui_.DefaultResolution);
    SetButtonState(gui_.GUI(), button::Restore, button_state::Enabled, false);
    SetButtonState(gui_.GUI(), button::Optimize, button_state::Enabled, false);
    gui_.PathLbl().SetCaption("");
    if (!report_.empty())
        TellShortfalls("Optera - Not Everything Was Restored",
                       "The game was restored except for these, which are as they were:");
    if (SelectGame) SelectGame();
}

bool Optimizer::PutOriginalBack(const std::string& path, const std::string& copy) {
    platform::FileSystem& files = services_.machine.files;
    // Both lose their read-only marks: the file comes back writable.
    const auto copyBefore = files.Attributes(copy);
    const auto fileBefore = files.Attributes(path);
    files.SetAttributes(copy, kArchiveOnly);
    if (fileBefore && !(*fileBefore & platform::attr::Directory))
        files.SetAttributes(path, kArchiveOnly);
    // The copy replaces the file in one step, so that no moment leaves the file missing; a file
    // that is missing gets its copy back all the same.
    if (files.Rename(copy, path)) return true;
    const std::string reason = files.LastError();
    if (copyBefore) files.SetAttributes(copy, *copyBefore);
    if (fileBefore && !(*fileBefore & platform::attr::Directory))
        files.SetAttributes(path, *fileBefore);
    report_.Add(path, "its original could not be put back" + Because(reason) + "; the copy " +
                          copy + " was kept");
    return false;
}

}  // namespace optera::optimizer
