#pragma once
// Registry keys saved to and loaded from ".reg" files in the format of the system's registry
// editor ("regedit /e" and "regedit /s"): UTF-16LE text with a byte-order mark, the line
// "Windows Registry Editor Version 5.00", then each key in brackets followed by its values.
// Keys are read and written in the 64-bit view, as the system's own editor sees them.

#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"

namespace optera::services {

// The root of a key path's first component: the full names (HKEY_CURRENT_USER) and the short
// ones (HKCU); 0 for anything else.
platform::HKEY RootOfRegPath(std::string_view path, std::string_view* rest = nullptr);

// The text of a ".reg" file holding the key and everything below it, in Windows-1252 (the file
// is this text in UTF-16LE); nullopt when the key does not exist.
std::optional<std::string> ExportText(platform::KeyStore& store, std::string_view keyPath);

// Saves the key and everything below it to the file, replacing it atomically. False, and no
// file, when the key does not exist or the file cannot be written.
bool ExportRegistryKey(platform::KeyStore& store, platform::FileSystem& files,
                       std::string_view keyPath, std::string_view filePath);

// Loads a ".reg" text (UTF-16LE with its byte-order mark, or 8-bit): creates the keys it names,
// deletes those written "[-key]", sets and deletes values. Lines it cannot read are passed over.
// False when the text has no registry editor header.
bool ImportText(platform::KeyStore& store, std::string_view bytes);

// Loads a ".reg" file; false when it cannot be read or is not such a file.
bool ImportRegistryFile(platform::KeyStore& store, const platform::FileSystem& files,
                        std::string_view filePath);

}  // namespace optera::services
