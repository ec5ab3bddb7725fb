#pragma once
// One registry hive file as Wine's server saves it (system.reg, user.reg, userdef.reg), held so
// that a save gives back every byte it did not change: keys that were not touched are written
// from their original text, lines that cannot be read are kept where they stood, and the header
// (with its "#arch=" line) is kept as it was.
//
// Key paths and value names are UTF-8, decoded from the file's escapes; paths are relative to
// the hive's root, components joined by a single backslash. Value data are the bytes Windows
// holds: strings in UTF-16LE with their terminating NUL, a dword as 4 little-endian bytes.
//
// The file is read the way Wine's server reads it: keys whose paths differ only in case are one
// key, a value given twice keeps its first spelling and its last data, a value line whose data
// cannot be read leaves the value empty and of type 0, and a hex value ending in "\" takes the
// next line as its continuation whatever that line holds.
//
// Keys are decoded when first asked for, so even the const members fill a cache: one RegFile
// must not be used from two threads at once. Pointers and references to keys stay valid until
// the RegFile is destroyed (a deleted key's object stays, detached from the file).

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace optera::platform {

struct RegFileValue {
    std::string name;  // "" is the key's default value ("@=" in the file)
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;
};

struct RegFileKey {
    std::string path;
    std::optional<std::string> className;  // "#class=" line
    bool isLink = false;                   // "#link" line
    std::uint64_t modified = 0;            // "#time=" (FILETIME), 0 when absent
    std::vector<RegFileValue> values;      // in file order
};

class RegFile {
  public:
    // Never fails: lines it cannot read are kept and written back unchanged. `ok()` tells
    // whether the header was a Wine registry header.
    static RegFile Parse(std::string_view bytes);
    // The same, taking the bytes over instead of copying them.
    static RegFile Parse(std::string&& bytes);
    static RegFile Parse(const char* bytes) { return Parse(std::string_view(bytes)); }
    bool ok() const;
    // The file's bytes: unchanged keys as they were read, changed and new keys as Wine writes
    // them, in Wine's key order. A key written anew keeps, after its "#" lines, the lines Wine
    // would drop (comments, lines it cannot read); a value line whose data Wine cannot read is
    // written as Wine holds it, an empty value of type 0. A file cut off inside a hex value that
    // waits for a continuation line gets a ";" line after it before anything is added there, so
    // that the value does not take the added line.
    std::string Serialize() const;
    // Gives the bytes of Serialize to `sink` piece by piece, so that they are never held whole
    // (unchanged keys are handed straight from the text read). Stops when the sink gives false,
    // and then gives false itself.
    using Sink = std::function<bool(std::string_view)>;
    bool Write(const Sink& sink) const;
    // Serialize would give back exactly the bytes that were read.
    bool Unchanged() const;
    // What Serialize writes starts with a header Wine takes, of this file's "#arch=".
    bool WritesSameHeader() const;

    // The "#arch=" value of the header ("win32", "win64"), "" when there is none.
    std::string Arch() const;

    // Keys in file order.
    std::vector<const RegFileKey*> Keys() const;
    // Keys by number, to walk every key's path without decoding its values: `visit` gets each
    // key's number and path in file order (the path is valid during the call only), and
    // KeyAt decodes a key when it is first asked for.
    using KeyId = std::uint32_t;
    static constexpr KeyId kNoKey = 0xFFFFFFFF;
    void ForEachKey(const std::function<void(KeyId, std::string_view)>& visit) const;
    const RegFileKey& KeyAt(KeyId id) const;
    // Numbers run from 0 to KeyCount() - 1 (a deleted key keeps its number).
    std::size_t KeyCount() const { return keys_.size(); }
    std::string KeyPath(KeyId id) const;
    // The number of the key with a line at `path` (compared without regard to case), without
    // decoding it; kNoKey when there is none.
    KeyId IdOf(std::string_view path) const;
    // A key by path, compared without regard to case; null when the file has no line for it
    // (a key that only holds subkeys has none: it is implied by its subkeys' paths).
    const RegFileKey* Find(std::string_view path) const;
    // Every key at or below `path` (for subkey listing and deletion), in file order. Find looks
    // in an index; Below and placing a new key walk the keys.
    std::vector<const RegFileKey*> Below(std::string_view path) const;

    // Changes. Each marks the key changed, so it is written anew, and sets its "#time=" to `now`
    // (a FILETIME) and its "[path] <seconds>" stamp to the same moment. As in Wine, a change that
    // changes nothing (setting a value to the type and data it has) leaves the key as it was.
    //
    // A new key is stamped `now` and placed where Wine's order puts it. An existing key is
    // returned as it is; if the caller then changes it through the reference (values, class,
    // link; never its path) it is written anew, stamped `now`, when the file is serialised.
    RegFileKey& AddKey(std::string_view path, std::uint64_t now);  // or the existing one
    // Creates the key when it is missing. A value of that name (compared without regard to
    // case) gets the new type and data and keeps its spelling; a new value goes last in
    // `values` (a key written anew lists its values in Wine's order).
    void SetValue(std::string_view path, const RegFileValue& value, std::uint64_t now);
    bool DeleteValue(std::string_view path, std::string_view name, std::uint64_t now);
    // Removes the key's own line and values (not its subkeys). When that leaves its parent with
    // neither a line nor anything below it, the parent gets a line of its own (stamped `now`),
    // since Wine still has it as an empty key. The one-argument form stamps such a parent with
    // the deleted key's time.
    bool DeleteKey(std::string_view path);
    bool DeleteKey(std::string_view path, std::uint64_t now);

  private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    // One stretch of the file's text that starts at a key line (with the blank line before it),
    // or a new key's place in the file.
    static constexpr std::uint32_t kLongBlock = 0xFFFFFFFF;
    struct Block {
        std::uint64_t begin : 63 = 0;    // in text_; a new key's block is empty
        std::uint64_t dangling : 1 = 0;  // ends in a hex value waiting for a continuation line
        std::uint32_t size = 0;          // kLongBlock: its end is in longEnds_
        std::uint32_t key = kNone;       // kNone: a key line Wine cannot read; kept as it is
    };
    enum KeyState : std::uint8_t { Original, Exposed, Changed, Deleted };
    // Sixteen bytes a key: a big file has hundreds of thousands of them.
    struct KeyRecord {
        // Its first block in text_, where its path is read from; for a new key, its path in
        // added_. Paths are not copied: the text is most of what a big file costs.
        std::uint64_t begin : 60 = 0;
        std::uint64_t state : 2 = KeyState::Original;
        std::uint64_t repeated : 1 = 0;  // has more blocks, listed in repeats_
        std::uint64_t fresh : 1 = 0;     // new, not in the text
        std::uint32_t hash = 0;          // of its path, folded
        std::uint32_t size = 0;          // of that block or path; kLongBlock: see blocks_
    };
    struct Repeat {
        std::uint32_t key;
        std::size_t begin, end;
    };

    std::string PathOf(const KeyRecord& key) const;
    std::size_t EndOf(std::uint32_t key) const;  // of its first block
    std::size_t EndOf(const Block& block) const;
    void SetEnd(Block& block, std::size_t end);
    // The key of a key line whose path starts at `pos`, in a block starting at `block`; kNone
    // when Wine would make none.
    std::uint32_t KeyForLine(std::string_view line, std::size_t pos, std::size_t block,
                             std::string& path, std::u16string& scratch);
    std::uint32_t Lookup(std::string_view canonicalPath, std::uint64_t hash) const;
    void IndexInsert(std::uint32_t key);
    void IndexErase(std::uint32_t key);
    std::uint32_t NewKey(const std::string& canonicalPath, std::uint64_t hash, std::uint64_t now);
    RegFileKey& Model(std::uint32_t key) const;
    // Reads the key's blocks as Wine does into `model`, and lists in `kept` the lines Wine
    // would drop.
    void ReadKeyText(std::uint32_t key, RegFileKey* model,
                     std::vector<std::string_view>* kept) const;
    bool Regenerated(std::uint32_t key) const;
    void AppendRegenerated(std::string& out, std::uint32_t key) const;

    std::string text_;   // the bytes as read
    std::string added_;  // canonical paths of new keys, one after another
    std::size_t headerEnd_ = 0;
    std::size_t archBegin_ = 0, archEnd_ = 0;
    bool ok_ = false;
    std::vector<Block> blocks_;  // in the order they are written
    std::vector<KeyRecord> keys_;
    std::vector<Repeat> repeats_;       // further blocks of keys the file names more than once
    std::vector<std::uint32_t> slots_;  // hash index of keys_ by folded path
    std::size_t slotsUsed_ = 0;
    mutable std::deque<RegFileKey> models_;
    mutable std::unordered_map<std::uint32_t, std::uint32_t> modelOf_;  // key -> models_
    std::unordered_map<std::uint64_t, std::uint64_t> longEnds_;         // of blocks, by their begin
    std::vector<std::pair<std::uint32_t, std::uint64_t>> stamps_;       // `now` of the AddKey that
                                                                        // exposed a key
};

// Wine's escapes, for names, strings and key paths (\\ \" \[ \] \a \b \t \n \v \f \r \e,
// octal, \x with UTF-16 code units); exposed for the export of .reg files.
std::string EscapeRegString(std::u16string_view text, bool inKeyPath);
std::optional<std::u16string> UnescapeRegString(std::string_view text);

}  // namespace optera::platform
