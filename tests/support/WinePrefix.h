#pragma once
// A small 64-bit Wine prefix in a temporary folder: drives C: and Z:, user alice and a game.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/TempFolder.h"

namespace optera::testing {

class WinePrefixTest : public ::testing::Test {
  protected:
    WinePrefixTest() {
        temp.Write("drive_c/users/Public/Desktop/.keep", "");
        temp.Write("drive_c/users/alice/Documents/.keep", "");
        temp.Write("drive_c/Games/Sample/Bin/Sample.EXE", "MZ");
        temp.Write("system.reg",
                   "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n"
                   "#arch=win64\n\n[Software] 1700000000\n");
        std::filesystem::create_directory(devices());
        std::filesystem::create_symlink("../drive_c", devices() / "c:");
        std::filesystem::create_symlink("/", devices() / "z:");
    }

    const std::filesystem::path& prefix() const { return temp.path(); }
    std::filesystem::path devices() const { return prefix() / "dosdevices"; }
    std::filesystem::path driveC() const { return prefix() / "drive_c"; }

    // The Z: path of a host path ("/tmp/x" -> "Z:\tmp\x").
    static std::string OnZ(const std::filesystem::path& host) {
        std::string path = "Z:" + host.lexically_normal().string();
        for (char& c : path)
            if (c == '/') c = '\\';
        return path;
    }

    TempFolder temp;
};

}  // namespace optera::testing
