#include "optimizer/RegistryModifications.h"

#include "platform/WindowsPath.h"
#include "text/NoCase.h"
#include "text/Number.h"
#include "text/Split.h"

namespace optera::optimizer {

namespace {

constexpr int kWriteAttempts = 11;
constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kEmptyRegFile = "tmpReg.reg";

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
    if (platform::ReplaceFile(files, path, bytes)) services.regFiles.Import(path);
    files.Remove(path);
}

}  // namespace

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
    std::vector<std::string> keys{""};
    if (entries.size() == 1) return {entries[0].Key};
    auto holds = [](const std::string& a, const std::string& b) {
        return a.find(b) != std::string::npos;
    };
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::string cur = entries[i].Key;
        for (std::size_t j = 0; j < entries.size(); ++j)
            if (j != i && cur.size() > entries[j].Key.size() && holds(cur, entries[j].Key))
                cur = entries[j].Key;
        if (keys[0].empty()) {
            keys[0] = cur;
            continue;
        }
        bool covered = false;
        for (const std::string& key : keys) covered = covered || holds(key, cur) || holds(cur, key);
        if (!covered) keys.push_back(cur);
    }
    return keys;
}

void WriteRegistryValues(const RegistryServices& services,
                         const std::vector<RegistryEntry>& entries) {
    for (const RegistryEntry& entry : entries) {
        bool written = false;
        for (int attempt = 0; attempt < kWriteAttempts && !written; ++attempt)
            written = WriteOnce(services, entry);
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

void SyncRegistry(const RegistryServices& services, const std::vector<std::string>& lines,
                  std::string_view gameName, std::string_view gameFolder, bool restore) {
    std::vector<RegistryEntry> entries =
        ParseRegistryEntries(lines, services.registry, services.registryView);
    std::vector<std::string> keys = ReduceRegistryKeys(entries);
    platform::FileSystem& files = services.machine.files;
    for (std::size_t n = 0; n < keys.size(); ++n) {
        if (restore) {
            for (const std::string& name : {OlderBackupFileName(n), BackupFileName(gameName, n)}) {
                std::string path = platform::JoinPath(gameFolder, name);
                if (!platform::FileExists(files, path)) continue;
                services.regFiles.Import(path);
                files.Remove(path);
            }
        } else {
            std::string path = platform::JoinPath(gameFolder, BackupFileName(gameName, n));
            // The first backup holds the state before any optimization; it is never replaced.
            if (!platform::FileExists(files, path)) services.regFiles.Export(keys[n], path);
        }
    }
    if (!restore) WriteRegistryValues(services, entries);
}

}  // namespace optera::optimizer
