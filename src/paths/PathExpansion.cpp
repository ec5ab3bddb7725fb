#include "paths/PathExpansion.h"

#include "paths/SpecialFolderPath.h"

namespace optera::discovery {

std::string CombinePath(std::string_view base, std::string_view relative) {
    // A base copied out of a command line may start with a quotation mark or hold two paths;
    // the last "X:\" marks where the path that counts begins.
    std::size_t driveSeam = base.rfind(":\\");
    if (driveSeam != std::string_view::npos && driveSeam > 0) base.remove_prefix(driveSeam - 1);

    std::string folder(base);
    while (relative.starts_with("..\\")) {
        if (!folder.empty() && folder.back() == '\\') folder.pop_back();
        // Keep every component but the last, each with its backslash: that is everything up to
        // and including the last backslash, or nothing at all when there is none. Steps beyond
        // the drive therefore leave the folder empty.
        std::size_t lastSlash = folder.rfind('\\');
        folder.resize(lastSlash == std::string::npos ? 0 : lastSlash + 1);
        relative.remove_prefix(3);
    }

    // Only a missing backslash is supplied; one on each side of the seam is left doubled.
    if (!relative.starts_with('\\') && !folder.ends_with('\\')) folder += '\\';
    folder += relative;
    return folder;
}

namespace {

// The value that stands for one %name% form.
std::string ValueOfName(std::string_view name, const platform::Machine& machine) {
    // "%%" names nothing; it is dropped rather than asking the machine about an empty name.
    if (name.empty()) return {};
    std::string value = machine.environment.Get(name);
    if (!value.empty()) return value;
    return SpecialFolderPath(name, machine);
}

}  // namespace

std::string ExpandPercentForms(std::string_view text, const platform::Machine& machine) {
    std::string out(text);
    // Each pass rescans from the front, so forms inside a value just put in are expanded too.
    // That makes a value holding its own form (X=%X%) come back for ever, and one holding it
    // twice grow on every pass; after a fixed number of replacements the text is returned as
    // it stands, percent forms and all, since no sane path needs that many.
    for (std::size_t replaced = 0; replaced < kMaxPercentReplacements; ++replaced) {
        std::size_t open = out.find('%');
        if (open == std::string::npos) break;
        std::size_t close = out.find('%', open + 1);
        if (close == std::string::npos) break;  // a lone percent sign stays as it is
        std::string value =
            ValueOfName(std::string_view(out).substr(open + 1, close - open - 1), machine);
        out.replace(open, close - open + 1, value);
    }
    return out;
}

}  // namespace optera::discovery
