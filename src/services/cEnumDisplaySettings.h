#pragma once
// The display modes of the machine's displays as mode entries, and a text report on its display
// adapters and their monitors.
//
// A mode entry is six fields joined by commas: width, height, bits per pixel and refresh rate
// (each with a leading blank when not negative), the colour name ("256 Color", "True Color",
// ...), and "Current" when the mode has the desktop's width, height and depth, else one blank:
// " 3840, 1024, 32, 60,True Color, ".

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Display.h"

namespace optera::services {

class cEnumDisplaySettings {
  public:
    explicit cEnumDisplaySettings(const platform::Display& display);

    // The current mode as last read.
    std::int32_t GetHorizontalResolution() const { return current_.width; }
    std::int32_t GetVerticalResolution() const { return current_.height; }
    std::int32_t GetColourDepth() const { return current_.bitsPerPixel; }
    std::int32_t GetRefreshRate() const { return current_.refreshRate; }

    // Reads the current mode afresh: "<width>x<height>x<bits>@<hz>hz".
    std::string GetCurrentResolution();
    // The mode entries of a display (1 is the first) with at least `iBitsPerPel` bits per pixel;
    // nullopt (no collection at all) when `iMonitorIndex` is below 1.
    std::optional<std::vector<std::string>> GetDisplayModeList(std::int32_t iBitsPerPel,
                                                               std::int16_t iMonitorIndex);

  private:
    void ReadCurrent();

    const platform::Display& display_;
    platform::DisplayMode current_;
};

class cEnumDisplayDevices {
  public:
    explicit cEnumDisplayDevices(const platform::Display& display) : display_(display) {}

    std::int32_t GetDisplayCount() const;
    // One list of texts for each adapter: its name, its DISP_ fields and flags, and the MON_
    // fields of its first active monitor.
    std::vector<std::vector<std::string>> EnumSystemDisplayDevices() const;

  private:
    const platform::Display& display_;
};

// The mode entry of a mode, "Current" when it matches `current` in width, height and depth.
std::string ModeEntry(const platform::DisplayMode& mode, const platform::DisplayMode& current);

}  // namespace optera::services
