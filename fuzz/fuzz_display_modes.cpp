// Feeds arbitrary text to the reader of OPTERA_DISPLAY_MODES and checks what must always hold:
//  - every mode it keeps has a positive width, height and depth;
//  - the modes written back in the same form read back as the same modes;
//  - nothing crashes or reads out of bounds (the sanitizers watch).
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/wine/HostDisplay.h"

using namespace optera::platform;

namespace {

void Check(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<DisplayMode> modes = ParseDisplayModes(text);
    std::string written;
    for (const DisplayMode& mode : modes) {
        Check(mode.width > 0 && mode.height > 0 && mode.bitsPerPixel > 0);
        if (!written.empty()) written += ",";
        written += std::to_string(mode.width) + "x" + std::to_string(mode.height) + "x" +
                   std::to_string(mode.bitsPerPixel) + "@" + std::to_string(mode.refreshRate);
    }
    Check(ParseDisplayModes(written) == modes);
    return 0;
}
