#pragma once
// Registry keys saved to and loaded from ".reg" files, as the system's registry editor saves
// (regedit /e) and loads (regedit /s) them: the way back for the registry values a recipe sets.

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "services/RegEditFormat.h"

namespace optera::optimizer {

enum class ExportResult {
    Written,        // the file holds the backup
    NothingToSave,  // neither the key nor the key of any of the values exists: no file
    NotWritten,     // the file could not be written (and is not there)
};

class RegistryFiles {
  public:
    virtual ~RegistryFiles() = default;
    // Saves the key and everything below it to the file, replacing it atomically, and with it
    // the present state of each of `values` that the key's tree does not hold (a value that
    // does not exist yet is saved as one to remove).
    // `view` is the view flag the values are written with (0 or KEY_WOW64_64KEY).
    virtual ExportResult Export(std::string_view key, std::string_view file,
                                const std::vector<services::RegValueRef>& values,
                                platform::REGSAM view) = 0;
    // Why the last Export or Import failed, in plain words; "" when it cannot tell.
    virtual std::string LastError() const { return {}; }
    // Loads every key and value of the file into the registry; false unless all of it loaded.
    virtual bool Import(std::string_view file, platform::REGSAM view) = 0;
};

// The files written and read by our own code over the machine's key store, in the editor's format.
class KeyStoreRegistryFiles : public RegistryFiles {
  public:
    KeyStoreRegistryFiles(platform::KeyStore& store, platform::FileSystem& files)
        : store_(store), files_(files) {}
    ExportResult Export(std::string_view key, std::string_view file,
                        const std::vector<services::RegValueRef>& values,
                        platform::REGSAM view) override {
        auto text = services::ExportText(store_, key, values, view);
        if (!text) return ExportResult::NothingToSave;
        return platform::ReplaceFile(files_, file, services::Utf16FileBytes(*text))
                   ? ExportResult::Written
                   : ExportResult::NotWritten;
    }
    std::string LastError() const override { return files_.LastError(); }
    bool Import(std::string_view file, platform::REGSAM view) override {
        return services::ImportRegistryFile(store_, files_, file, view);
    }

  private:
    platform::KeyStore& store_;
    platform::FileSystem& files_;
};

}  // namespace optera::optimizer
