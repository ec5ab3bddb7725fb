// Feeds arbitrary bytes to the XML edit: the input up to its first NUL is the file, the rest are
// the recipe's modification lines, one a line ("ro" as the first line makes the file read-only).
// Whether the file loads is told by two probe edits on copies of it: a loadable file either
// changes under them or shows the load error. Checks:
//  - a file that doesn't load, a read-only file and lines without "=" leave the bytes unchanged;
//  - boxes are only the load error, at most one a line, and none for a file that doesn't load;
//  - a saved file loads again, and saving it twice more gives the same bytes as once;
//  - no temporary file is left, and nothing crashes, hangs or reads out of bounds.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "optimizer/XmlEdits.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/ScriptedPrompts.h"

using namespace optera;

namespace {

const std::string kFolder = "C:\\Game";
const std::string kPath = "C:\\Game\\settings.xml";

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

struct Outcome {
    std::string bytes;
    std::size_t boxes = 0;
};

// Runs the lines on a fresh file system holding `file`.
Outcome Run(const std::string& file, const std::vector<std::string>& lines) {
    platform::FakeFileSystem files;
    platform::ScriptedPrompts prompts;
    files.PutFile(kPath, file);
    optimizer::ApplyXml(files, prompts, kPath, lines);
    Check(files.List(kFolder)->size() == 1);
    return {*files.ReadAll(kPath), prompts.shown.size()};
}

bool Loads(const std::string& file) {
    for (const char* probe : {"/*=probe one", "/*=probe two"}) {
        Outcome outcome = Run(file, {probe});
        if (outcome.boxes > 0 || outcome.bytes != file) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t nul = input.find('\0');
    const std::string file = input.substr(0, nul);
    std::vector<std::string> lines;
    if (nul != std::string::npos) {
        std::string rest = input.substr(nul + 1);
        for (std::size_t start = 0; lines.size() < 32;) {
            std::size_t end = rest.find('\n', start);
            lines.push_back(rest.substr(start, end - start));
            if (end == std::string::npos) break;
            start = end + 1;
        }
    }
    const bool readOnly = !lines.empty() && lines.front() == "ro";

    platform::FakeFileSystem files;
    platform::ScriptedPrompts prompts;
    files.PutFile(kPath, file);
    if (readOnly) files.SetAttributes(kPath, platform::attr::ReadOnly);
    optimizer::ApplyXml(files, prompts, kPath, lines);
    const std::string after = *files.ReadAll(kPath);

    Check(files.List(kFolder)->size() == 1);
    Check(prompts.shown.size() <= lines.size());
    for (const platform::PromptMessage& box : prompts.shown)
        Check(box == platform::PromptMessage{"", "Error loading XML", platform::MessageButtons::Ok,
                                             platform::MessageIcon::None});

    bool anyEdit = std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find('=') != std::string::npos;
    });
    if (readOnly || !anyEdit) Check(after == file);
    if (!anyEdit) Check(prompts.shown.empty());
    if (!Loads(file)) Check(after == file && prompts.shown.empty());

    if (after != file) {
        Check(Loads(after));
        // The document node has no text: these lines only save the file again. The edited node
        // may come back in the writer's own form ("<a></a>" as "<a/>"), but only once.
        Outcome once = Run(after, {"/=resave"});
        Outcome twice = Run(once.bytes, {"/=resave"});
        Check(twice.bytes == once.bytes);
    }
    return 0;
}
