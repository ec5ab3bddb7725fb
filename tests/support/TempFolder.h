#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it at the end
// of the test.

#include <filesystem>
#include <string>
#include <string_view>

namespace optera::testing {

class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // Writes a file below the folder, making the folders on the way.
    std::filesystem::path Write(std::string_view relative, std::string_view bytes) const;
    // The content of a file below the folder; "" when it is missing.
    std::string Read(std::string_view relative) const;

  private:
    std::filesystem::path path_;
};

}  // namespace optera::testing
