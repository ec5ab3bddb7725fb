#pragma once
// One configuration file held in memory while its edit runs. The edit works on the machine's
// files as always, but at this one path its reads see what its own writes left, and the file
// itself is read once, at the start, and replaced once, at the end: a crash in between leaves it
// as it was, never with some of its lines changed. Every other path goes straight through, and so
// do marks, renames, copies and removals of the file itself, which no edit makes.

#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace optera::optimizer {

// The temporary a file's new content is written to, beside the file.
inline constexpr std::string_view kEditTempName = "Mod_Cfg.tmp";

class BufferedFile : public platform::FileSystem {
  public:
    BufferedFile(platform::FileSystem& files, std::string_view path);

    // Reads the file. A missing file reads as empty and will be created, as opening it for the
    // edit would create it. False when it exists but cannot be read; Why() then says why.
    bool Load();
    const std::string& Content() const { return content_; }
    void SetContent(std::string bytes) { content_ = std::move(bytes); }

    // Puts the content in the file's place in one step. With `liftReadOnly` a read-only file is
    // replaced all the same and comes out writable; without it a read-only file is left as it
    // is, which is a failure when the edit changed something. A file the edit left as it was is
    // not written. False, with Why() saying why, when the file is left as it was.
    bool Commit(bool liftReadOnly);
    const std::string& Why() const { return why_; }

    std::optional<std::uint32_t> Attributes(std::string_view path) const override;
    bool SetAttributes(std::string_view path, std::uint32_t attributes) override;
    std::optional<std::vector<platform::DirEntry>> List(std::string_view folder) const override;
    std::optional<std::string> ReadAll(std::string_view path) const override;
    bool WriteAll(std::string_view path, std::string_view bytes) override;
    bool ReplaceContent(std::string_view path, std::string_view bytes,
                        std::string_view tempName) override;
    bool Rename(std::string_view from, std::string_view to) override;
    bool Copy(std::string_view from, std::string_view to) override;
    bool Remove(std::string_view path) override;
    bool CreateFolder(std::string_view path) override;
    std::vector<platform::DriveInfo> Drives() const override;
    std::optional<std::string> ToHostPath(std::string_view windowsPath) const override;
    std::optional<std::string> ToWindowsPath(std::string_view hostPath) const override;
    std::string LastError() const override;

  private:
    bool IsBuffered(std::string_view path) const;
    bool Failed(std::string why);

    platform::FileSystem& files_;
    std::string path_;
    std::string normalPath_;
    bool existed_ = false;
    std::string original_;
    std::string content_;
    std::string why_;
};

}  // namespace optera::optimizer
