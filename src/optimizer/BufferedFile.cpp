#include "optimizer/BufferedFile.h"

#include "platform/WindowsPath.h"
#include "text/NoCase.h"

namespace optera::optimizer {

namespace {
constexpr std::string_view kTempName = kEditTempName;
namespace attr = platform::attr;
}  // namespace

BufferedFile::BufferedFile(platform::FileSystem& files, std::string_view path)
    : files_(files), path_(path), normalPath_(platform::NormalizePath(path)) {}

bool BufferedFile::IsBuffered(std::string_view path) const {
    return text::EqualsNoCase(platform::NormalizePath(path), normalPath_);
}

bool BufferedFile::Failed(std::string why) {
    why_ = std::move(why);
    return false;
}

bool BufferedFile::Load() {
    std::optional<std::string> bytes = files_.ReadAll(path_);
    existed_ = bytes.has_value() || files_.Attributes(path_).has_value();
    if (existed_ && !bytes) {
        std::string reason = files_.LastError();
        return Failed("it could not be read" + (reason.empty() ? "" : ": " + reason));
    }
    original_ = bytes.value_or(std::string());
    content_ = original_;
    return true;
}

bool BufferedFile::Commit(bool liftReadOnly) {
    if (existed_ && !liftReadOnly && content_ == original_) return true;
    std::optional<std::uint32_t> before = files_.Attributes(path_);
    const bool readOnly = before && (*before & attr::ReadOnly);
    if (readOnly && !liftReadOnly) return Failed("it is read-only");
    if (readOnly && !files_.SetAttributes(path_, attr::Archive))
        return Failed("its read-only mark could not be lifted: " + files_.LastError());
    if (platform::ReplaceFile(files_, path_, content_, kTempName)) return true;
    std::string reason = files_.LastError();
    if (readOnly) files_.SetAttributes(path_, *before);
    return Failed((existed_ ? "it could not be replaced" : "it could not be created") +
                  (reason.empty() ? "" : ": " + reason));
}

// The edit sees the file as writable: whether a read-only file may be replaced is decided once,
// by Commit.
std::optional<std::uint32_t> BufferedFile::Attributes(std::string_view path) const {
    std::optional<std::uint32_t> attributes = files_.Attributes(path);
    if (!IsBuffered(path)) return attributes;
    return attributes ? *attributes & ~attr::ReadOnly : attr::Archive;
}

bool BufferedFile::SetAttributes(std::string_view path, std::uint32_t attributes) {
    return files_.SetAttributes(path, attributes);
}

std::optional<std::vector<platform::DirEntry>> BufferedFile::List(std::string_view folder) const {
    return files_.List(folder);
}

std::optional<std::string> BufferedFile::ReadAll(std::string_view path) const {
    if (IsBuffered(path)) return content_;
    return files_.ReadAll(path);
}

bool BufferedFile::WriteAll(std::string_view path, std::string_view bytes) {
    if (!IsBuffered(path)) return files_.WriteAll(path, bytes);
    content_ = std::string(bytes);
    return true;
}

bool BufferedFile::ReplaceContent(std::string_view path, std::string_view bytes,
                                  std::string_view tempName) {
    if (!IsBuffered(path)) return files_.ReplaceContent(path, bytes, tempName);
    content_ = std::string(bytes);
    return true;
}

bool BufferedFile::Rename(std::string_view from, std::string_view to) {
    return files_.Rename(from, to);
}

bool BufferedFile::Copy(std::string_view from, std::string_view to) {
    return files_.Copy(from, to);
}

bool BufferedFile::Remove(std::string_view path) {
    return files_.Remove(path);
}

bool BufferedFile::CreateFolder(std::string_view path) {
    return files_.CreateFolder(path);
}

std::vector<platform::DriveInfo> BufferedFile::Drives() const {
    return files_.Drives();
}

std::optional<std::string> BufferedFile::ToHostPath(std::string_view windowsPath) const {
    return files_.ToHostPath(windowsPath);
}

std::optional<std::string> BufferedFile::ToWindowsPath(std::string_view hostPath) const {
    return files_.ToWindowsPath(hostPath);
}

std::string BufferedFile::LastError() const {
    return files_.LastError();
}

}  // namespace optera::optimizer
