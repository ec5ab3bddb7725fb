#pragma once
// The text of a profile file as the profile functions see it. A file that starts with a
// byte-order mark (UTF-16 in either byte order, or UTF-8) is read in that encoding and written
// back in it; any other file is 8-bit text in the code page. Callers speak the code page: their
// names and values cross into a Unicode file and back, so that a character the code page lacks
// reads as '?', as through the system's 8-bit profile functions, while every line that nobody
// changes keeps its bytes.

#include <string>
#include <string_view>

namespace optera::services {

class ProfileFileText {
  public:
    static ProfileFileText Decode(std::string_view bytes);

    // The file's text without its mark: the bytes themselves for a code-page or UTF-8 file,
    // UTF-8 for a UTF-16 one. Profile documents are parsed from and serialised to this text.
    const std::string& text() const { return text_; }
    // The file's bytes for a document text, in the file's own encoding and with its mark.
    std::string Encode(std::string_view text) const;

    // A caller's name or value (code page) as document text, and back.
    std::string FromCaller(std::string_view codePage) const;
    std::string ToCaller(std::string_view text) const;

  private:
    enum class Encoding { CodePage, Utf8, Utf16Le, Utf16Be };

    Encoding encoding_ = Encoding::CodePage;
    std::string text_;
    std::string oddByte_;  // a UTF-16 file's last byte when its length is odd, kept as it was
};

}  // namespace optera::services
