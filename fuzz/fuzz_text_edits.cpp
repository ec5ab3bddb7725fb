// Feeds arbitrary bytes to the line reader and to every kind of configuration-file edit: the
// input up to its first NUL is the file, the rest are the recipe's modification lines. Checks:
//  - the reader's lines joined give the file less its bytes of 128 and above;
//  - a file rewritten by a line edit holds no such byte unless the recipe lines brought it;
//  - nothing crashes, hangs or reads out of bounds (the sanitizers watch).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "optimizer/Classification.h"
#include "optimizer/ConfigFileEdit.h"
#include "optimizer/FileLines.h"
#include "platform/fake/FakeFileSystem.h"
#include "platform/fake/ScriptedPrompts.h"
#include "text/Split.h"

using namespace optera;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

bool HasHighByte(std::string_view s) {
    return std::any_of(s.begin(), s.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= 128; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t nul = input.find('\0');
    const std::string file = input.substr(0, nul);
    const std::string recipe = nul == std::string::npos ? std::string() : input.substr(nul + 1);
    std::vector<std::string> lines = text::Split(recipe, "\n");
    if (lines.size() > 64) return 0;

    platform::FakeFileSystem files;
    const std::string path = "C:\\Game\\game.cfg";
    files.PutFile(path, file);

    optimizer::FileLines read = optimizer::ReadFileLines(files, path, 128);
    std::string joined, expected;
    for (const std::string& line : read.lines) joined += line;
    for (char c : file)
        if (static_cast<unsigned char>(c) < 128) expected += c;
    Check(joined == expected);

    platform::ScriptedPrompts prompts;
    std::string kind = optimizer::ModifyConfigFile({files, prompts}, path, lines).kind;
    auto after = files.ReadAll(path);
    Check(after.has_value());
    bool lineKind = kind == optimizer::kind::LineNumber || kind == optimizer::kind::String ||
                    kind == optimizer::kind::StringInsert || kind == optimizer::kind::ReplaceCfg;
    if (lineKind && !HasHighByte(recipe)) Check(!HasHighByte(*after));
    Check(files.List("C:\\Game")->size() == 1);  // no temporary file left behind
    return 0;
}
