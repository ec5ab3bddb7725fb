#include "optimizer/ConfigFileEdit.h"

#include "optimizer/BufferedFile.h"
#include "optimizer/Classification.h"
#include "optimizer/FileLines.h"
#include "optimizer/ProfileEdits.h"
#include "optimizer/TextEdits.h"
#include "optimizer/XmlEdits.h"

namespace optera::optimizer {

namespace {

// Rewritten files keep only 7-bit text.
constexpr int kCharLimit = 128;

// The four edits that work on the file as lines; false for the other kinds.
bool ApplyLineEdit(const std::string& kindOf, FileLines& file,
                   const std::vector<std::string>& lines) {
    if (kindOf == kind::LineNumber) {
        ApplyLineNumber(file.lines, lines, file.lineEnd);
    } else if (kindOf == kind::String) {
        ApplyString(file.lines, lines, file.lineEnd);
    } else if (kindOf == kind::StringInsert) {
        ApplyStringInsert(file.lines, lines);
    } else if (kindOf == kind::ReplaceCfg) {
        ApplyReplaceCfg(file.lines, lines);
    } else {
        return false;
    }
    return true;
}

}  // namespace

FileEdit ModifyConfigFile(const EditServices& services, std::string_view path,
                          const std::vector<std::string>& lines) {
    FileEdit result{ClassifyLines(lines), ""};
    // The file is read for every kind, also those that do not use its lines: reading is what
    // creates a missing file.
    BufferedFile file(services.files, path);
    if (!file.Load()) {
        result.failure = file.Why();
        return result;
    }
    FileLines fileLines = SplitFileLines(file.Content(), kCharLimit);
    const bool lineEdit = ApplyLineEdit(result.kind, fileLines, lines);
    if (lineEdit) {
        file.SetContent(JoinFileLines(fileLines.lines));
    } else if (result.kind == kind::PrivProfile) {
        services::cPrivateProfile profile(file);
        ApplyPrivProfile(profile, path, lines);
    } else if (result.kind == kind::Xml) {
        ApplyXml(file, services.prompts, path, lines);
    }
    // The line edits replace a read-only file all the same; the profile and XML writers leave
    // one as it is.
    if (!file.Commit(lineEdit)) result.failure = file.Why();
    return result;
}

}  // namespace optera::optimizer
