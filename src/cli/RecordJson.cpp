#include "cli/RecordJson.h"

#include "text/CodePage.h"

namespace optera::cli {

namespace {

nlohmann::ordered_json Text(const std::string& bytes) {
    return text::Utf8FromCodePage(bytes);
}

nlohmann::ordered_json Lines(const std::vector<std::string>& lines) {
    auto array = nlohmann::ordered_json::array();
    for (const std::string& line : lines) array.push_back(Text(line));
    return array;
}

}  // namespace

nlohmann::ordered_json RecordJson(const recipes::GameRecord& game) {
    auto files = nlohmann::ordered_json::array();
    for (const recipes::CfgEntry& entry : game.CfgFiles)
        files.push_back({{"Path", Text(entry.Path)},
                         {"Kind", Text(entry.Kind)},
                         {"Lines", Lines(entry.Lines)}});
    return {
        {"Undetectable", game.Undetectable},
        {"NativeSupport", game.NativeSupport},
        {"ForceModFilesToReadOnly", game.ForceModFilesToReadOnly},
        {"Msg1", Text(game.Msg1)},
        {"Name", Text(game.Name)},
        {"CfgFiles", files},
        {"GameExe", Text(game.GameExe)},
        {"LatestPatchReq", Text(game.LatestPatchReq)},
        {"GameLoc", Text(game.GameLoc)},
        {"RegKeyMustExist", Text(game.RegKeyMustExist)},
        {"Registry", Lines(game.Registry)},
        {"ShortcutIcon", Text(game.ShortcutIcon)},
        {"ShortcutName", Text(game.ShortcutName)},
        {"ShortcutParameters", Text(game.ShortcutParameters)},
        {"ShortcutStartIn", Text(game.ShortcutStartIn)},
        {"UserLoc", Text(game.UserLoc)},
        {"HowTo", Lines(game.HowTo)},
    };
}

}  // namespace optera::cli
