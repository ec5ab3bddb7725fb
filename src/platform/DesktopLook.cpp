#include "platform/DesktopLook.h"

namespace optera::platform {

namespace {

constexpr std::uint32_t Rgb(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return red | green << 8 | blue << 16;
}

struct SystemColourEntry {
    std::string_view name;
    std::uint32_t colour;
};

// By index, with the colours of a fresh Wine prefix.
constexpr SystemColourEntry kSystemColours[syscolour::Count] = {
    {"Scrollbar", Rgb(255, 255, 255)},
    {"Background", Rgb(37, 111, 149)},
    {"ActiveTitle", Rgb(50, 150, 250)},
    {"InactiveTitle", Rgb(128, 128, 128)},
    {"Menu", Rgb(255, 255, 255)},
    {"Window", Rgb(255, 255, 255)},
    {"WindowFrame", Rgb(158, 158, 158)},
    {"MenuText", Rgb(0, 0, 0)},
    {"WindowText", Rgb(0, 0, 0)},
    {"TitleText", Rgb(0, 0, 0)},
    {"ActiveBorder", Rgb(255, 255, 255)},
    {"InactiveBorder", Rgb(255, 255, 255)},
    {"AppWorkSpace", Rgb(128, 128, 128)},
    {"Hilight", Rgb(48, 150, 250)},
    {"HilightText", Rgb(255, 255, 255)},
    {"ButtonFace", Rgb(245, 245, 245)},
    {"ButtonShadow", Rgb(166, 166, 166)},
    {"GrayText", Rgb(166, 166, 166)},
    {"ButtonText", Rgb(0, 0, 0)},
    {"InactiveTitleText", Rgb(200, 200, 200)},
    {"ButtonHilight", Rgb(255, 255, 255)},
    {"ButtonDkShadow", Rgb(106, 106, 106)},
    {"ButtonLight", Rgb(227, 227, 227)},
    {"InfoText", Rgb(0, 0, 0)},
    {"InfoWindow", Rgb(255, 255, 255)},
    {"ButtonAlternateFace", Rgb(255, 255, 255)},
    {"HotTrackingColor", Rgb(224, 224, 224)},
    {"GradientActiveTitle", Rgb(50, 150, 250)},
    {"GradientInactiveTitle", Rgb(128, 128, 128)},
    {"MenuHilight", Rgb(48, 150, 250)},
    {"MenuBar", Rgb(255, 255, 255)},
};

}  // namespace

std::string_view SystemColourName(int index) {
    return index >= 0 && index < syscolour::Count ? kSystemColours[index].name : "";
}

std::uint32_t DefaultSystemColour(int index) {
    return index >= 0 && index < syscolour::Count ? kSystemColours[index].colour : 0;
}

std::uint32_t ResolveColour(std::uint32_t colour, const DesktopLook& look) {
    if (!(colour & kSystemColourFlag)) return colour;
    const int index = static_cast<int>(colour & 0xFF);
    return look.SystemColour(index).value_or(DefaultSystemColour(index));
}

}  // namespace optera::platform
