#pragma once
// One registry file of a prefix (system.reg, user.reg, userdef.reg) as a tree of keys. The file
// is read when first needed and read again only when it changed on disk (its inode, size or
// modification time differ). Changes go through `file()` and are saved at once by `Commit()`:
// atomically, with the file's mode and owner, and not at all when the bytes would not change.
// A saved file is read back from the disk, so that the bytes are never held twice: hives can
// be large, and the file's text is most of what a hive costs. Values are decoded when a key's
// are first asked for.
//
// A key that only holds subkeys has no line in the file; the tree has it all the same. A file
// that is not a Wine registry file has no keys, as Wine loads it.
// Subkeys are kept in Wine's order. Key pointers stay valid until the next Refresh, Commit or
// Discard.

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/wine/RegFile.h"

namespace optera::platform {

class WineHive {
  public:
    // A key of the tree. Keys are small and many: names, paths and values are read from the
    // file when asked for.
    class Key {
      public:
        // As spelled in the file (UTF-8), by the first line that names the key; "" for the root.
        std::string name() const;
        // From the root, components joined by '\\'; "" for the root.
        std::string path() const;
        const Key* parent() const;
        // In Wine's order.
        std::vector<const Key*> subkeys() const;
        bool hasSubkeys() const;
        // The key has a line of its own in the file (not only subkeys).
        bool HasLine() const { return line() != RegFile::kNoKey; }
        // A link that the file does not hold but Wine makes when it starts (see WineHive.cpp).
        bool IsImpliedLink() const;

        // A subkey by name, letter case ignored; null when there is none.
        const Key* Find(std::string_view subkeyName) const;
        bool IsLink() const;
        // The SymbolicLinkValue text of a link, "\Registry\Machine\..." or similar.
        std::u16string LinkTarget() const;
        // A value by name ("" is the default value), letter case ignored.
        const RegFileValue* FindValue(std::string_view valueName) const;
        // Every value once, in Wine's order.
        const std::vector<const RegFileValue*>& Values() const;
        const std::optional<std::string>& ClassName() const;
        std::uint64_t Modified() const;

      private:
        friend class WineHive;
        std::uint32_t index() const;
        RegFile::KeyId line() const;
        // The name is a component of this key's path: the one at the key's depth.
        const WineHive* hive_ = nullptr;
        std::uint32_t parent_ = RegFile::kNoKey;
        RegFile::KeyId nameFrom_ = RegFile::kNoKey;  // the line whose path spells the name
    };

    // `machine` marks HKEY_LOCAL_MACHINE's file, whose tree also gets the links Wine adds to it
    // when it starts.
    WineHive(std::filesystem::path file, bool machine);
    ~WineHive();

    // Reads the file again when it changed on disk since it was read.
    void Refresh();
    // The file exists and was read.
    bool present() const { return present_; }
    // The file is a Wine registry file, so changes may be saved into it.
    bool valid() const { return present_ && file_.ok(); }
    const std::filesystem::path& path() const { return path_; }
    // The "#arch=" value of a Wine registry file; "" for any other file.
    std::string Arch() const { return valid() ? file_.Arch() : std::string(); }

    const Key& root() const { return nodes_[root_]; }
    // Changes each time the tree is made anew (and keys found before are gone).
    std::uint64_t generation() const { return generation_; }
    // A key by its path from the root, no link followed; null when there is none.
    const Key* Find(std::string_view path) const;

    // For changes: what is changed here is saved by Commit or dropped by Discard.
    RegFile& file() { return file_; }
    // Saves the changes; false when that failed, and then the hive is as the disk has it.
    bool Commit();
    void Discard();

  private:
    struct Stamp {
        dev_t dev = 0;
        ino_t ino = 0;
        off_t size = -1;
        timespec modified{};
        bool Same(const Stamp& other) const;
    };

    void Load();
    void Clear();
    void BuildTree();
    void SortSubkeys(const std::vector<std::uint32_t>& seen);
    bool Save();
    // Made on first use: a key's values in Wine's order, and their folded names.
    struct SortedValues {
        std::vector<const RegFileValue*> values;
        std::vector<std::u16string> folded;
    };
    const SortedValues& ValuesOf(const Key& key) const;

    std::filesystem::path path_;
    bool machine_;
    bool loaded_ = false;
    bool present_ = false;
    Stamp stamp_;
    RegFile file_;
    // The keys: first one for each key of the file (by its number there), then the root, then
    // the keys that have no line of their own. The subkeys of key i are
    // subkeys_[firstSubkey_[i] .. firstSubkey_[i + 1]).
    std::vector<Key> nodes_;
    std::uint32_t root_ = 0;
    std::uint64_t generation_ = 0;
    std::uint32_t lineCount_ = 0;                // keys of the file when the tree was made
    RegFile::KeyId rootLine_ = RegFile::kNoKey;  // a line for the root itself ("[]")
    std::vector<std::uint32_t> firstSubkey_;
    std::vector<std::uint32_t> subkeys_;
    std::uint32_t impliedLink_ = RegFile::kNoKey;
    std::u16string impliedLinkTarget_;
    mutable std::unordered_map<std::uint32_t, SortedValues> sortedValues_;
};

}  // namespace optera::platform
