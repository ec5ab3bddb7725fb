#pragma once
// Where a game is: the folder its installer wrote into the registry (GAMELOC) or the file the
// user pointed to (USERLOC), proved against the disk and the registry.

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "recipes/GameRecord.h"
#include "services/cRegistry.h"

namespace optera::recipes {

// The text without any double quotation mark.
std::string StripQuotes(std::string_view text);

// Turns a folder or file path into a folder path that ends with a backslash: the path is cut in
// front of the executable's name if it holds it, and back to its folder if it names a file (or
// a pattern that matches one). Empty stays empty; an empty name cuts nothing.
std::string NormalizeFolder(const platform::FileSystem& files, std::string_view path,
                            std::string_view exeName);

// True if a file matches `path` at its place or in some folder below the folder of `path`;
// in the second case `path` becomes the place where it was found. Folders are walked depth
// first in directory order, each listed once. Only rooted paths (with a colon) are walked.
// A name may be a wildcard pattern; an empty name matches any file.
bool LocateFile(const platform::FileSystem& files, std::string& path);

// The game's folder from a GAMELOC value (a registry path whose last component names the
// value; "HKLM\" is short for "HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\"). Tries the other view
// of a 64-bit registry when the value is missing and `registryView` asks for views; sets
// `registryView` to what was found. "" when nothing was read.
std::string ReadGameLoc(services::cRegistry& registry, std::int16_t& registryView,
                        std::string_view value);

// The USERLOC value if it names an existing file, else "".
std::string ReadUserLoc(const platform::FileSystem& files, std::string_view value);

// Settles GameLoc (and ShortcutIcon) once all of [GAMEINFO] was read: a file path is cut to its
// folder, the executable is looked for there and below (GameLoc follows it), the icon must be
// found, and REGKEYMUSTEXIST must name a key or value. A failed check empties GameLoc.
// `fallbackExe` stands in for an empty GameExe when a path is cut at the executable's name.
void ResolveLocation(const platform::FileSystem& files, services::cRegistry& registry,
                     std::int16_t registryView, GameRecord& record, std::string_view fallbackExe);

}  // namespace optera::recipes
