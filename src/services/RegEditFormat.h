#pragma once
// Registry keys saved to and loaded from ".reg" files in the format of the system's registry
// editor ("regedit /e" and "regedit /s"): UTF-16LE text with a byte-order mark, the line
// "Windows Registry Editor Version 5.00", then each key in brackets followed by its values.
// Keys are read and written through the key store's wide path, so that names and strings keep
// every character, and in the view given: by default the 64-bit one, as the system's own editor
// sees them; a backup is taken and loaded in the view its values are written in.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/KeyStore.h"

namespace optera::services {

// The view flag of the 64-bit view; 0 asks for the view of a 32-bit program.
inline constexpr platform::REGSAM kView64 = platform::regaccess::Wow64_64Key;

// The root of a key path's first component: the full names (HKEY_CURRENT_USER) and the short
// ones (HKCU); 0 for anything else.
platform::HKEY RootOfRegPath(std::string_view path, std::string_view* rest = nullptr);

// A value that a backup must be able to bring back: its key's full path and its name ("" is
// the default value), in the program's code page.
struct RegValueRef {
    std::string key;
    std::string name;
};

// The text of a ".reg" file holding the key and everything below it, names and strings whole.
// Each of `values` is recorded as it is now where the key's tree does not already hold it: a
// value that does not exist as `"name"=-`, so that loading the file removes what was made
// after it; one outside the key's tree under its own key. A value whose key does not exist is
// left out, since nothing can be written there. nullopt when there is nothing to record.
std::optional<std::u16string> ExportText(platform::KeyStore& store, std::string_view keyPath,
                                         const std::vector<RegValueRef>& values = {},
                                         platform::REGSAM view = kView64);

// The bytes of a ".reg" file of that text: UTF-16LE after a byte-order mark.
std::string Utf16FileBytes(std::u16string_view text);

// Saves ExportText to the file, replacing it atomically. False, and no file, when there is
// nothing to save or the file cannot be written.
bool ExportRegistryKey(platform::KeyStore& store, platform::FileSystem& files,
                       std::string_view keyPath, std::string_view filePath,
                       const std::vector<RegValueRef>& values = {},
                       platform::REGSAM view = kView64);

// Loads a ".reg" text (UTF-16LE with its byte-order mark, or 8-bit): creates the keys it names,
// deletes those written "[-key]", sets and deletes values. Each line is read as the registry
// editor reads it, so that what the editor loads from a file loads here too. A line it cannot
// read or a change the store refuses is passed over and the rest still loads (even after a
// string holding "\0", where the editor stops), but the result is then false, as it is for a
// text without the registry editor's header: only a true result means that everything the file
// holds is in the registry now.
bool ImportText(platform::KeyStore& store, std::string_view bytes, platform::REGSAM view = kView64);

// Loads a ".reg" file; false when it cannot be read, is not such a file, or did not load whole.
bool ImportRegistryFile(platform::KeyStore& store, const platform::FileSystem& files,
                        std::string_view filePath, platform::REGSAM view = kView64);

}  // namespace optera::services
