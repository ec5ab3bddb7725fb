#pragma once
// The host's display on Linux. Modes come from, in this order:
//  - OPTERA_DISPLAY_MODES, "<w>x<h>x<bits>@<hz>" entries joined by commas, the first being the
//    current mode (for tests and for setups the other sources do not see);
//  - XRandR, when an X display can be opened: every mode of every connected output, and the
//    whole desktop as one mode of its own (a desktop spanning three displays is the wide mode
//    a game is to use), which is the current one;
//  - the kernel's mode lists under /sys/class/drm, the first connected output's first mode
//    taken as current.
// Video controllers are the PCI devices of display class under /sys/bus/pci, described as
// Windows describes them ("PCI\VEN_10DE&DEV_1C82&SUBSYS_11BF1458&REV_A1\..."), unless
// OPTERA_VIDEO_CONTROLLERS gives such texts joined by semicolons.

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/Display.h"
#include "platform/wine/WineEnvironment.h"

namespace optera::platform {

class HostDisplay : public Display {
  public:
    explicit HostDisplay(EnvironmentVariables host, std::filesystem::path sys = "/sys")
        : host_(std::move(host)), sys_(std::move(sys)) {}

    std::vector<DisplayMode> Modes(int display) const override;
    std::optional<DisplayMode> Current() const override;
    std::vector<DisplayAdapter> Adapters() const override;
    std::vector<std::string> VideoControllerIds() const override;

    // What one source saw: its outputs (an adapter each, in the source's order), the modes of
    // the first display and the current mode.
    struct Outputs {
        std::vector<std::string> names;
        std::vector<DisplayMode> modes;
        std::optional<DisplayMode> current;
    };
    Outputs Read() const;

  private:
    std::string Variable(const char* name) const;

    EnvironmentVariables host_;
    std::filesystem::path sys_;
};

// The modes of an OPTERA_DISPLAY_MODES text; entries that cannot be read are left out.
std::vector<DisplayMode> ParseDisplayModes(std::string_view text);
// The outputs the kernel reports under `<sys>/class/drm`.
HostDisplay::Outputs ReadDrmOutputs(const std::filesystem::path& sys);
// The PNPDeviceID texts of the display-class PCI devices under `<sys>/bus/pci/devices`.
std::vector<std::string> ReadPciDisplayControllers(const std::filesystem::path& sys);

}  // namespace optera::platform
