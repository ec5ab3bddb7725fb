#include "recipes/BlankRecipe.h"

namespace optera::recipes {

std::string BlankRecipeText(std::string_view defaultResolution,
                            const std::vector<std::string>& resolutions) {
    std::string text;
    auto line = [&text](std::string_view content) {
        text += content;
        text += "\r\n";
    };
    auto gap = [&line] {
        line("");
        line("");
    };
    line(";KEYWORDS:");
    line(";  #KELVANH (Replaced with User selected Resolution Height)");
    line(";  #KELVANW (Replaced with User selected Resolution Width)");
    line(";  #RESDEPENDENT._ (Replaced by a value based on the selected resolution)");
    gap();
    line("[GAMEINFO]");
    for (const char* key :
         {"GAMELOC=", "GAMEEXE=", "LATESTPATCHREQ=", "MSG1=", "REGKEYMUSTEXIST=", "SHORTCUTICON=",
          "SHORTCUTNAME=", "SHORTCUTPARAMETERS=", "SHORTCUTSTARTIN=", "USERLOC="})
        line(key);
    line("NativePanolineSupport = ");
    gap();
    line("[GAMERES]");
    line("RES=" + std::string(defaultResolution));
    gap();
    line("[GAMERESOLUTIONS]");
    line("Min=");
    line("Max=");
    gap();
    line(";Registry modifications must be in the following format:");
    line(
        ";Registry KeyPath, Registry Name, Registry Data, Registry Type (Ex: REG_SZ, REG_DWORD, "
        "REG_BINARY)");
    line(";Usable KEYWORDS- #KELVANH, #KELVANW, #RESDEPENDENT.1, #RESDEPENDENT.2 ...");
    line("[Registry]");
    gap();
    line(
        ";Config Name To Be Reference (Ex: CFG.1) = Cfg path (Ex: "
        "GameConfigFolder\\GameCfgFile.cfg)");
    line(";Usable KEYWORDS- See creating a recipe documentation.");
    line("[CFG]");
    for (int n = 1; n <= 5; ++n) line("CFG." + std::to_string(n) + "=");
    gap();
    line(";Usable KEYWORDS- #KELVANH, #KELVANW, #RESDEPENDENT.1, #RESDEPENDENT.2 ...");
    for (int n = 1; n <= 5; ++n) {
        line("[CFG." + std::to_string(n) + "]");
        gap();
    }
    line("[HOWTO]");
    line("MSG=");
    gap();
    line("[RESDEPENDENT.1]");
    for (const std::string& resolution : resolutions) line(resolution + "=");
    return text;
}

bool WriteBlankRecipe(platform::FileSystem& files, std::string_view path,
                      std::string_view defaultResolution,
                      const std::vector<std::string>& resolutions) {
    if (!platform::ReplaceFile(files, path, BlankRecipeText(defaultResolution, resolutions)))
        return false;
    auto attributes = files.Attributes(path);
    return attributes && files.SetAttributes(path, *attributes | platform::attr::ReadOnly);
}

}  // namespace optera::recipes
