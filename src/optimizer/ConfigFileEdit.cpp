#include "optimizer/ConfigFileEdit.h"

#include "optimizer/Classification.h"
#include "optimizer/FileLines.h"
#include "optimizer/ProfileEdits.h"
#include "optimizer/TextEdits.h"
#include "optimizer/XmlEdits.h"

namespace optera::optimizer {

namespace {
// Rewritten files keep only 7-bit text.
constexpr int kCharLimit = 128;
}  // namespace

std::string ModifyConfigFile(const EditServices& services, std::string_view path,
                             const std::vector<std::string>& lines) {
    // The file is read for every kind, also those that do not use its lines: reading is what
    // creates a missing file.
    FileLines file = ReadFileLines(services.files, path, kCharLimit);
    std::string kindOf = ClassifyLines(lines);
    if (kindOf == kind::LineNumber) {
        ApplyLineNumber(file.lines, lines, file.lineEnd);
    } else if (kindOf == kind::String) {
        ApplyString(file.lines, lines, file.lineEnd);
    } else if (kindOf == kind::StringInsert) {
        ApplyStringInsert(file.lines, lines);
    } else if (kindOf == kind::ReplaceCfg) {
        ApplyReplaceCfg(file.lines, lines);
    } else if (kindOf == kind::PrivProfile) {
        ApplyPrivProfile(services.profile, path, lines);
        return kindOf;
    } else if (kindOf == kind::Xml) {
        ApplyXml(services.files, services.prompts, path, lines);
        return kindOf;
    } else {
        return kindOf;
    }
    WriteFileLines(services.files, path, file.lines);
    return kindOf;
}

}  // namespace optera::optimizer
