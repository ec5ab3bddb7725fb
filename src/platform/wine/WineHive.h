#pragma once
// One registry file of a prefix (system.reg, user.reg, userdef.reg) as a tree of keys. The file
// is read when first needed and read again only when it changed on disk (its inode, size or
// modification time differ). Changes go through `file()` and are saved at once by `Commit()`:
// atomically, with the file's mode and owner, and not at all when the bytes would not change.
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
#include <vector>

#include "platform/wine/RegFile.h"

namespace optera::platform {

class WineHive {
  public:
    struct Key {
        std::string name;       // as spelled in the file (UTF-8); "" for the root
        std::u16string folded;  // the name as Wine compares it
        std::string path;       // from the root, components joined by '\'
        const Key* parent = nullptr;
        std::vector<const RegFileKey*> lines;       // the key's own blocks in the file
        std::vector<std::unique_ptr<Key>> subkeys;  // in Wine's order
        // A link that the file does not hold but Wine makes when it starts (see WineHive.cpp).
        std::u16string impliedLink;

        // A subkey by name, letter case ignored; null when there is none.
        const Key* Find(std::string_view subkeyName) const;
        bool IsLink() const;
        // The SymbolicLinkValue text of a link, "\Registry\Machine\..." or similar.
        std::u16string LinkTarget() const;
        // A value by name ("" is the default value), letter case ignored; the last line wins.
        const RegFileValue* FindValue(std::string_view valueName) const;
        // Every value once, in Wine's order.
        const std::vector<const RegFileValue*>& Values() const;
        const std::optional<std::string>& ClassName() const;
        std::uint64_t Modified() const;

      private:
        void SortValues() const;

        // Made on first use: the values in Wine's order, and their folded names.
        mutable bool sorted_ = false;
        mutable std::vector<const RegFileValue*> values_;
        mutable std::vector<std::u16string> foldedValues_;
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

    const Key& root() const { return *root_; }
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
    bool Save(const std::string& bytes);

    std::filesystem::path path_;
    bool machine_;
    bool loaded_ = false;
    bool present_ = false;
    Stamp stamp_;
    std::string bytes_;  // the file as read or last saved
    RegFile file_;
    std::unique_ptr<Key> root_;
};

}  // namespace optera::platform
