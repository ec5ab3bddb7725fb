#include "support/TempFolder.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace optera::testing {

TempFolder::TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "optera-test-XXXXXX").string();
    if (char* made = mkdtemp(pattern.data())) path_ = made;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    // Undo read-only marks so that the tree can be removed.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
    }
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempFolder::Write(std::string_view relative, std::string_view bytes) const {
    std::filesystem::path file = path_ / std::filesystem::path(relative);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return file;
}

std::string TempFolder::Read(std::string_view relative) const {
    std::ifstream in(path_ / std::filesystem::path(relative), std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace optera::testing
