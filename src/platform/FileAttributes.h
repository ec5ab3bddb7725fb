#pragma once
// Windows file attribute bits and drive kinds, as the logic above sees them on every platform.

#include <cstdint>
#include <string>

namespace optera::platform {

namespace attr {
inline constexpr std::uint32_t ReadOnly = 0x1;
inline constexpr std::uint32_t Hidden = 0x2;
inline constexpr std::uint32_t System = 0x4;
inline constexpr std::uint32_t Directory = 0x10;
inline constexpr std::uint32_t Archive = 0x20;
inline constexpr std::uint32_t Normal = 0x80;
}  // namespace attr

enum class DriveType {
    Unknown = 0,
    NoRootDir = 1,
    Removable = 2,
    Fixed = 3,
    Remote = 4,
    CdRom = 5,
    RamDisk = 6
};

struct DriveInfo {
    std::string root;  // "C:\"
    DriveType type = DriveType::Unknown;
};

struct DirEntry {
    std::string name;
    std::uint32_t attributes = 0;
    // Where the platform can tell, what the entry is on disk (its device and file number), the
    // same through every link to it; 0 and 0 when it cannot.
    std::uint64_t device = 0;
    std::uint64_t fileNumber = 0;
};

}  // namespace optera::platform
