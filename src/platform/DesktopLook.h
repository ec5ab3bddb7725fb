#pragma once
// How the machine's desktop looks to a program in it: the dots per inch its text is laid out
// for, and its system colours. A colour value with the high bit set names a system colour by
// its index (0x8000000F is the button face), which is resolved when it is drawn: ResolveColour
// is the one place that does it.

#include <cstdint>
#include <optional>
#include <string_view>

namespace optera::platform {

// System colour indexes, as Windows numbers them.
namespace syscolour {
inline constexpr int Window = 5;
inline constexpr int WindowText = 8;
inline constexpr int ButtonFace = 15;
inline constexpr int ButtonText = 18;
inline constexpr int Count = 31;
}  // namespace syscolour

inline constexpr std::uint32_t kSystemColourFlag = 0x80000000u;

class DesktopLook {
  public:
    virtual ~DesktopLook() = default;
    // 96 unless the machine is set otherwise.
    virtual int DotsPerInch() const = 0;
    // The colour (red in the low byte) of a system colour; nullopt when the machine does not
    // say, and the default is taken.
    virtual std::optional<std::uint32_t> SystemColour(int index) const = 0;
};

// The name the registry gives a system colour ("ButtonFace"); empty past the last one.
std::string_view SystemColourName(int index);
// The colour of a system colour on a fresh machine.
std::uint32_t DefaultSystemColour(int index);
// A colour as it is drawn: itself, or the machine's colour for a system colour (its default
// when the machine has none, black for an index past the last one).
std::uint32_t ResolveColour(std::uint32_t colour, const DesktopLook& look);

}  // namespace optera::platform
