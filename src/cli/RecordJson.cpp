#include "cli/RecordJson.h"

namespace optera::cli {

nlohmann::ordered_json RecordJson(const recipes::GameRecord& game) {
    auto files = nlohmann::ordered_json::array();
    for (const recipes::CfgEntry& entry : game.CfgFiles)
        files.push_back({{"Path", entry.Path}, {"Kind", entry.Kind}, {"Lines", entry.Lines}});
    return {
        {"Undetectable", game.Undetectable},
        {"NativeSupport", game.NativeSupport},
        {"ForceModFilesToReadOnly", game.ForceModFilesToReadOnly},
        {"Msg1", game.Msg1},
        {"Name", game.Name},
        {"CfgFiles", files},
        {"GameExe", game.GameExe},
        {"LatestPatchReq", game.LatestPatchReq},
        {"GameLoc", game.GameLoc},
        {"RegKeyMustExist", game.RegKeyMustExist},
        {"Registry", game.Registry},
        {"ShortcutIcon", game.ShortcutIcon},
        {"ShortcutName", game.ShortcutName},
        {"ShortcutParameters", game.ShortcutParameters},
        {"ShortcutStartIn", game.ShortcutStartIn},
        {"UserLoc", game.UserLoc},
        {"HowTo", game.HowTo},
    };
}

}  // namespace optera::cli
