#include "optimizer/RegistryModifications.h"

#include <thread>

#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "text/Number.h"
#include "text/Split.h"

namespace optera::optimizer {

namespace {

constexpr int kWriteAttempts = 11;
constexpr std::chrono::milliseconds kRetryPause{50};
constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kEmptyRegFile = kEmptyRegFileName;

// The view the values are written in, for their backups.
platform::REGSAM ViewOf(const RegistryServices& services) {
    return services.registryView != 0 ? services::kView64 : 0;
}

bool WriteOnce(const RegistryServices& services, const RegistryEntry& entry) {
    std::string type = text::ToUpper(entry.Type);
    services::cRegistry& registry = services.registry;
    if (type == "REG_BINARY")
        return registry.SetBinaryValue(entry.Key, entry.Name, entry.Data, services.registryView)
            .AsBool();
    if (type == "REG_DWORD") {
        auto value = text::RoundToInt32(text::LeadingNumber(entry.Data));
        return value && registry.SetDWordValue(entry.Key, entry.Name, *value, services.registryView)
                            .AsBool();
    }
    if (type == "REG_SZ")
        return registry.SetStringValue(entry.Key, entry.Name, entry.Data, services.registryView)
            .AsBool();
    return false;
}

void ReportInvalidEntry(platform::Prompts& prompts, const RegistryEntry& entry) {
    std::string message = "Unable to process this registry entry";
    message += kCrLf;
    message += kCrLf;
    message += entry.Key + ", " + entry.Name + ", " + entry.Data;
    message += kCrLf;
    message += kCrLf;
    message += "This may cause your game to behave in a way different than expected.";
    prompts.ShowMessage({"Invalid Registry Entry", message, platform::MessageButtons::Ok,
                         platform::MessageIcon::Critical});
}

// A file that names no key, in Unicode, loaded and deleted again: the registry editor's run
// that ends every write of values.
void ImportEmptyRegFile(const RegistryServices& services) {
    platform::FileSystem& files = services.machine.files;
    std::string path =
        services.machine.environment.Get("SystemDrive") + "\\" + std::string(kEmptyRegFile);
    std::string bytes = "\xFF\xFE";
    for (char c : std::string_view("Windows Registry Editor Version 5.00\r\n")) {
        bytes += c;
        bytes += '\0';
    }
    if (platform::ReplaceFile(files, path, bytes)) services.regFiles.Import(path, ViewOf(services));
    files.Remove(path);
}

bool Holds(const std::string& a, const std::string& b) {
    return a.find(b) != std::string::npos;
}

// The number of the reduced key whose backup covers the entry's key; npos for none.
std::size_t BackupNumberOf(const std::vector<std::string>& keys, const std::string& key) {
    if (key.empty()) return std::string::npos;
    for (std::size_t n = 0; n < keys.size(); ++n)
        if (Holds(key, keys[n]) || Holds(keys[n], key)) return n;
    return std::string::npos;
}

std::string EntryText(const RegistryEntry& entry) {
    return entry.Key + ", " + entry.Name;
}

// Saves each key of the reduced list a first time; true for each whose backup is on disk (or
// for which there is nothing to save, since then no value of it can be written either).
std::vector<bool> BackUpKeys(const RegistryServices& services,
                             const std::vector<RegistryEntry>& entries,
                             const std::vector<std::string>& keys, std::string_view gameName,
                             std::string_view gameFolder) {
    std::vector<bool> saved(keys.size(), false);
    for (std::size_t n = 0; n < keys.size(); ++n) {
        if (gameFolder.empty()) continue;
        std::string path = platform::JoinPath(gameFolder, BackupFileName(gameName, n));
        // The first backup holds the state before any optimization; it is never replaced.
        if (platform::FileExists(services.machine.files, path)) {
            saved[n] = true;
            continue;
        }
        std::vector<services::RegValueRef> values;
        for (const RegistryEntry& entry : entries)
            if (BackupNumberOf(keys, entry.Key) == n) values.push_back({entry.Key, entry.Name});
        ExportResult result = services.regFiles.Export(keys[n], path, values, ViewOf(services));
        saved[n] = result != ExportResult::NotWritten;
        if (!saved[n]) {
            std::string why = services.regFiles.LastError();
            services.report.Add(path, "the backup of the registry key " + keys[n] +
                                          " could not be written" +
                                          (why.empty() ? std::string() : " (" + why + ")"));
        }
    }
    return saved;
}

// Loads the backups numbered for the reduced keys, and those that follow them without a gap: a
// recipe whose key is no longer found, or that lost a line, still gets its values back.
void RestoreBackups(const RegistryServices& services, std::size_t count, std::string_view gameName,
                    std::string_view gameFolder) {
    platform::FileSystem& files = services.machine.files;
    for (std::size_t n = 0; !gameFolder.empty(); ++n) {
        const std::string paths[] = {platform::JoinPath(gameFolder, OlderBackupFileName(n)),
                                     platform::JoinPath(gameFolder, BackupFileName(gameName, n))};
        if (n >= count && !platform::FileExists(files, paths[0]) &&
            !platform::FileExists(files, paths[1]))
            break;
        for (const std::string& path : paths) {
            if (!platform::FileExists(files, path)) continue;
            // A backup goes only once it is back in the registry: otherwise it is the only
            // record of the values as they were.
            if (!services.regFiles.Import(path, ViewOf(services)))
                services.report.Add(path,
                                    "could not be loaded into the registry whole, so the "
                                    "registry backup was kept for another Restore");
            else if (!files.Remove(path))
                services.report.Add(path, "was loaded into the registry but could not be deleted");
        }
    }
}

}  // namespace

void PauseBeforeRetry(std::chrono::milliseconds pause) {
    std::this_thread::sleep_for(pause);
}

std::string ResolveRegistryKey(std::string_view path, services::cRegistry& registry,
                               std::int16_t registryView) {
    std::size_t at = std::string_view::npos;
    for (std::string_view form : {"\\\\", "\\?", "\\*", "\\{"}) {
        at = path.find(form);
        if (at != std::string_view::npos) break;
    }
    if (at == std::string_view::npos) return std::string(path);
    std::string base(path.substr(0, at));
    std::size_t next = path.find('\\', at + 1);
    std::string tail(next == std::string_view::npos ? std::string_view() : path.substr(next + 1));
    return registry.KeyExistRecursive(base, tail, registryView);
}

std::vector<RegistryEntry> ParseRegistryEntries(const std::vector<std::string>& lines,
                                                services::cRegistry& registry,
                                                std::int16_t registryView) {
    std::vector<RegistryEntry> entries;
    for (const std::string& line : lines) {
        std::vector<std::string> fields = text::Split(line, ",");
        entries.push_back({ResolveRegistryKey(fields[0], registry, registryView),
                           text::PieceOr(fields, 1), text::PieceOr(fields, 2),
                           text::PieceOr(fields, 3)});
    }
    return entries;
}

std::vector<std::string> ReduceRegistryKeys(const std::vector<RegistryEntry>& entries) {
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::string cur = entries[i].Key;
        if (cur.empty()) continue;
        for (std::size_t j = 0; j < entries.size(); ++j)
            if (j != i && !entries[j].Key.empty() && cur.size() > entries[j].Key.size() &&
                Holds(cur, entries[j].Key))
                cur = entries[j].Key;
        bool covered = false;
        for (const std::string& key : keys) covered = covered || Holds(key, cur) || Holds(cur, key);
        if (!covered) keys.push_back(cur);
    }
    return keys;
}

void WriteRegistryValues(const RegistryServices& services,
                         const std::vector<RegistryEntry>& entries) {
    for (const RegistryEntry& entry : entries) {
        bool written = WriteOnce(services, entry);
        for (int attempt = 1; attempt < kWriteAttempts && !written; ++attempt) {
            services.pause(kRetryPause);
            written = WriteOnce(services, entry);
        }
        if (!written) ReportInvalidEntry(services.prompts, entry);
    }
    ImportEmptyRegFile(services);
}

std::string BackupFileName(std::string_view gameName, std::size_t number) {
    return "Kelvan_" + std::string(gameName) + "_" + std::to_string(number) + ".reg";
}

std::string OlderBackupFileName(std::size_t number) {
    return "KelvanOpteraRegistryBackUpFile_" + std::to_string(number) + ".reg";
}

std::string RegistryBackupFolder(std::string_view gameLoc, std::string_view userLoc) {
    if (!gameLoc.empty() || userLoc.empty()) return std::string(gameLoc);
    return std::string(platform::ParentOf(userLoc));
}

void SyncRegistry(const RegistryServices& services, const std::vector<std::string>& lines,
                  std::string_view gameName, std::string_view gameFolder, bool restore) {
    std::vector<RegistryEntry> entries =
        ParseRegistryEntries(lines, services.registry, services.registryView);
    std::vector<std::string> keys = ReduceRegistryKeys(entries);
    if (restore) return RestoreBackups(services, keys.size(), gameName, gameFolder);

    std::vector<bool> saved = BackUpKeys(services, entries, keys, gameName, gameFolder);
    std::vector<RegistryEntry> writable;
    for (const RegistryEntry& entry : entries) {
        std::size_t n = BackupNumberOf(keys, entry.Key);
        if (n == std::string::npos || saved[n])
            writable.push_back(entry);
        else
            services.report.Add(EntryText(entry),
                                gameFolder.empty()
                                    ? "not changed: the game's folder is not known, so the value "
                                      "could not be backed up"
                                    : "not changed, since its backup could not be written");
    }
    WriteRegistryValues(services, writable);
}

}  // namespace optera::optimizer
