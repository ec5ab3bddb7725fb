#pragma once
// A profile file ("[section]" lines followed by "key=value" entries) held as its original lines,
// so that a change to one entry leaves every other byte of the file as it was.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace optera::services {

class ProfileDocument {
  public:
    // Any bytes are accepted. CR LF, LF and a lone CR each end a line.
    static ProfileDocument Parse(std::string_view bytes);
    // The file's bytes; what Parse was given, plus the changes made since.
    std::string Serialize() const;

    // Section names in file order (repeats included), without the brackets.
    std::vector<std::string> SectionNames() const;
    // The entries of the first section of that name, each as "key=value" with the blanks
    // around the first "=" and at both ends removed; comment and blank lines left out.
    // nullopt when the file has no such section.
    std::optional<std::vector<std::string>> SectionEntries(std::string_view section) const;
    // The value of the first entry of that key in the first section of that name, trimmed.
    std::optional<std::string> Value(std::string_view section, std::string_view key) const;

    // Sets an entry: replaces the value of an existing key in place, or adds the key at the end
    // of its section, or adds the section at the end of the file.
    void Set(std::string_view section, std::string_view key, std::string_view value);

  private:
    struct Line {
        std::string text;    // without its line end
        std::string ending;  // "\r\n", "\n", "\r", or "" for a last line without one
    };
    struct Range {
        std::size_t header;  // index of the "[section]" line
        std::size_t end;     // one past the section's last line
    };

    std::optional<Range> FindSection(std::string_view section) const;
    std::optional<std::size_t> FindKey(const Range& range, std::string_view key) const;
    // The line end that new lines get: the file's first one, CR LF in a file that has none.
    std::string NewLineEnding() const;

    std::vector<Line> lines_;
};

}  // namespace optera::services
