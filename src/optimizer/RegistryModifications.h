#pragma once
// The registry values of a recipe's [Registry] section: each line names a key, a value, its data
// and its type. Key paths may hold one component not known in advance ("\\", "\?", "\*" or
// "\{...}"), found by a search below the known part.

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "optimizer/RegistryFiles.h"
#include "optimizer/RunReport.h"
#include "platform/Machine.h"
#include "platform/Prompts.h"
#include "services/cRegistry.h"

namespace optera::optimizer {

// The empty registry file loaded after values are written, on the system drive's root.
inline constexpr std::string_view kEmptyRegFileName = "tmpReg.reg";

struct RegistryEntry {
    std::string Key;   // full key path, the unknown component resolved
    std::string Name;  // value name
    std::string Data;  // the value as text
    std::string Type;  // REG_SZ, REG_DWORD or REG_BINARY, in any case
};

// The pause between two attempts to write a value: another program (Wine, another Optera) may
// hold the registry for a moment.
void PauseBeforeRetry(std::chrono::milliseconds pause);

// What the registry steps work with.
struct RegistryServices {
    services::cRegistry& registry;
    std::int16_t registryView;
    platform::Prompts& prompts;
    platform::Machine machine;
    RegistryFiles& regFiles;
    RunReport& report;  // what could not be saved, changed or brought back
    std::function<void(std::chrono::milliseconds)> pause = PauseBeforeRetry;
};

// The key path with its unknown component resolved: the first key below the known part that has
// the name standing after the component; "" when there is none. A path without one is returned
// as it is.
std::string ResolveRegistryKey(std::string_view path, services::cRegistry& registry,
                               std::int16_t registryView);

// One entry a line: the fields between the commas, as they stand; fields beyond the fourth are
// ignored, missing ones are empty.
std::vector<RegistryEntry> ParseRegistryEntries(const std::vector<std::string>& lines,
                                                services::cRegistry& registry,
                                                std::int16_t registryView);

// The fewest keys that cover the entries, so that no key is saved twice. Coverage is by text:
// "...\Game" covers "...\Game2". An entry whose key was not found (empty) takes no part: the
// empty text would cover every key, and its export save nothing.
std::vector<std::string> ReduceRegistryKeys(const std::vector<RegistryEntry>& entries);

// Writes each value (up to 11 attempts with a short pause between them; a value that cannot be
// written is reported in a box and the next one follows), then loads an empty ".reg" file as the
// registry editor would.
void WriteRegistryValues(const RegistryServices& services,
                         const std::vector<RegistryEntry>& entries);

// The backup files of a game's registry keys, in the game's folder.
std::string BackupFileName(std::string_view gameName, std::size_t number);
std::string OlderBackupFileName(std::size_t number);

// The folder that holds a game's registry backups: its located folder, or, for a game the user
// pointed to (whose folder the recipe reader may have left empty), the folder of that file.
// "" when the game has neither.
std::string RegistryBackupFolder(std::string_view gameLoc, std::string_view userLoc);

// Without `restore`: saves each key a first time (an existing backup is kept), recording the
// values that do not exist yet so that the restore removes them, and writes the values. A
// value whose backup is not on disk is not changed, and the report says so. With `restore`:
// loads the backups (those of the reduced keys' numbers and any that follow them) and deletes
// each one that loaded whole; one that did not stays, and the report says so.
void SyncRegistry(const RegistryServices& services, const std::vector<std::string>& lines,
                  std::string_view gameName, std::string_view gameFolder, bool restore);

}  // namespace optera::optimizer
