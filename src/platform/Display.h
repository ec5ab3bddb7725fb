#pragma once
// The machine's display as the resolution list needs it: the modes the first display can show,
// the mode of the desktop now, the display adapters and their monitors, and the identities of
// the video controllers (the Plug and Play device ids Windows reports, "PCI\VEN_10DE&DEV_...").

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace optera::platform {

struct DisplayMode {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t bitsPerPixel = 0;
    std::int32_t refreshRate = 0;  // hertz; 0 when the machine does not say
    bool operator==(const DisplayMode&) const = default;
};

// One display device record: an adapter, or a monitor on one.
struct DisplayDevice {
    std::string name;    // "\\.\DISPLAY1", "\\.\DISPLAY1\Monitor0"
    std::string id;      // DeviceID
    std::string key;     // DeviceKey
    std::string string;  // DeviceString: what the device calls itself
    std::uint32_t stateFlags = 0;
};

struct DisplayAdapter {
    DisplayDevice device;
    std::vector<DisplayDevice> monitors;
};

// Adapter state flags, as Windows numbers them.
namespace displayflag {
inline constexpr std::uint32_t AttachedToDesktop = 0x1;
inline constexpr std::uint32_t MultiDriver = 0x2;  // monitors: active
inline constexpr std::uint32_t PrimaryDevice = 0x4;
}  // namespace displayflag

class Display {
  public:
    virtual ~Display() = default;
    // The modes of a display (1 is the first), in the machine's order; empty for none.
    virtual std::vector<DisplayMode> Modes(int display) const = 0;
    // The mode of the desktop now; nullopt when no display can be found.
    virtual std::optional<DisplayMode> Current() const = 0;
    virtual std::vector<DisplayAdapter> Adapters() const = 0;
    // PNPDeviceID of each video controller, in the machine's order.
    virtual std::vector<std::string> VideoControllerIds() const = 0;
};

}  // namespace optera::platform
