#pragma once
// The program's main act and its way back. Optimize applies the game in hand, as the recipe
// reader prepared it for the selected resolution: an original copy of each configuration file
// (made once, never overwritten), the changes to the files, the registry values after saving
// their keys, read-only marks, the resolution in the recipe, the desktop shortcut. Restore puts
// the copies back, loads the registry backups, removes the shortcut and sets the recipe's
// resolution to the default. Neither stops on a failure, and neither passes one over in silence:
// what could not be done is gathered in a report and shown in one message at the end. No file is
// edited without its original copy on disk.

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "optimizer/RegistryFiles.h"
#include "optimizer/RunReport.h"
#include "platform/Machine.h"
#include "platform/Prompts.h"
#include "recipes/GameRecord.h"
#include "services/cPrivateProfile.h"
#include "services/cRegistry.h"
#include "windowmodel/MainWindow.h"

namespace optera::optimizer {

struct OptimizerServices {
    platform::Machine machine;
    services::cPrivateProfile& profile;
    services::cRegistry& registry;
    platform::Prompts& prompts;
    RegistryFiles& regFiles;
    std::string programFolder;  // holds MODS
    // The pause between two attempts to write a registry value; empty for the real one.
    std::function<void(std::chrono::milliseconds)> pauseBeforeRetry = {};
};

class Optimizer {
  public:
    Optimizer(OptimizerServices services, recipes::RecipeState& recipes,
              mainwindow::MainWindow& gui)
        : services_(std::move(services)), recipes_(recipes), gui_(gui) {}

    // The answer of the confirmation: an optimization runs only after a Yes.
    bool ProceedFlag = false;
    // Brings the window in line with the selected game again, from the disk.
    std::function<void()> SelectGame;

    // Runs the optimization, then disables Restore and Optimize until the status is worked out.
    void OptimizeAndLockButtons();
    void RunOptimization();
    // Asks the user, then undoes the optimization of the game in hand.
    void RestoreOriginals();

    // Makes the game's desktop shortcut: always when the recipe gives launch parameters (the
    // user is told why), otherwise when the user wants one.
    void CreateDesktopShortcut();
    // Removes the shortcuts of the game in hand, of both names this program has used.
    void RemoveDesktopShortcuts();

    // When the game's recipe sets registry values and the registry cannot be written now (Wine
    // runs in the prefix), says why in one box and gives false. Nothing is changed either way.
    bool CheckRegistryWritable();

    // What the last optimization or restore could not do; empty when it did everything.
    const RunReport& LastReport() const { return report_; }

  private:
    const recipes::GameRecord& Game() const { return recipes_.CurrentGame; }
    std::string RecipePath() const;
    void SyncRegistry(bool restore);
    // Removes what a run that was stopped may have left beside the game's files, copies,
    // registry backups and recipe: temporaries by this program's own names.
    void RemoveStrayTemporaries();
    // Copies each configuration file that has no original yet, then edits it.
    void EditConfigFiles();
    // Whether the report of this run names the file.
    bool Reported(std::string_view path) const;
    // Sets RES in the recipe.
    void WriteRecipeResolution(const std::string& resolution);
    // Renames the copy over the file; false, reported, when the copy had to stay.
    bool PutOriginalBack(const std::string& path, const std::string& copy);
    // The one message that lists what the run could not do.
    void TellShortfalls(const std::string& title, std::string_view opening);
    // The line of the game in hand in the game list, if one is selected.
    // Paints the selected line of the game list.
    void PaintGameLine(forms::Colour colour) {
        gui_.GameList().SetItemForeColor(gui_.GameList().SelectedIndex(), colour);
    }

    OptimizerServices services_;
    recipes::RecipeState& recipes_;
    mainwindow::MainWindow& gui_;
    RunReport report_;
};

}  // namespace optera::optimizer
