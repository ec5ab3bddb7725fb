#pragma once
// Registry keys saved to and loaded from ".reg" files, as the system's registry editor saves
// (regedit /e) and loads (regedit /s) them: the way back for the registry values a recipe sets.

#include <string_view>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"
#include "services/RegEditFormat.h"

namespace optera::optimizer {

class RegistryFiles {
  public:
    virtual ~RegistryFiles() = default;
    // Saves the key and everything below it to the file; false (and no file) when the key does
    // not exist or the file cannot be written.
    virtual bool Export(std::string_view key, std::string_view file) = 0;
    // Loads every key and value of the file into the registry.
    virtual bool Import(std::string_view file) = 0;
};

// The files written and read by our own code over the machine's key store, in the editor's format.
class KeyStoreRegistryFiles : public RegistryFiles {
  public:
    KeyStoreRegistryFiles(platform::KeyStore& store, platform::FileSystem& files)
        : store_(store), files_(files) {}
    bool Export(std::string_view key, std::string_view file) override {
        return services::ExportRegistryKey(store_, files_, key, file);
    }
    bool Import(std::string_view file) override {
        return services::ImportRegistryFile(store_, files_, file);
    }

  private:
    platform::KeyStore& store_;
    platform::FileSystem& files_;
};

}  // namespace optera::optimizer
