#include "services/cEnumDisplaySettings.h"

#include "text/NoCase.h"

namespace optera::services {

namespace {

// A number as the old string conversion gives it: a blank where a minus sign would stand.
std::string Field(std::int32_t value) {
    return value < 0 ? std::to_string(value) : " " + std::to_string(value);
}

std::string ColourName(std::int32_t bits) {
    switch (bits) {
        case 4:
            return "16 Color";
        case 8:
            return "256 Color";
        case 16:
            return "High Color";
        case 24:
        case 32:
            return "True Color";
        default:
            return "";
    }
}

std::string YesNo(bool value) {
    return value ? "Yes" : "No";
}

}  // namespace

std::string ModeEntry(const platform::DisplayMode& mode, const platform::DisplayMode& current) {
    const bool isCurrent = mode.width == current.width && mode.height == current.height &&
                           mode.bitsPerPixel == current.bitsPerPixel;
    return Field(mode.width) + "," + Field(mode.height) + "," + Field(mode.bitsPerPixel) + "," +
           Field(mode.refreshRate) + "," + ColourName(mode.bitsPerPixel) + "," +
           (isCurrent ? "Current" : " ");
}

cEnumDisplaySettings::cEnumDisplaySettings(const platform::Display& display) : display_(display) {
    ReadCurrent();
}

void cEnumDisplaySettings::ReadCurrent() {
    current_ = display_.Current().value_or(platform::DisplayMode{});
}

std::string cEnumDisplaySettings::GetCurrentResolution() {
    ReadCurrent();
    return std::to_string(current_.width) + "x" + std::to_string(current_.height) + "x" +
           std::to_string(current_.bitsPerPixel) + "@" + std::to_string(current_.refreshRate) +
           "hz";
}

std::optional<std::vector<std::string>> cEnumDisplaySettings::GetDisplayModeList(
    std::int32_t iBitsPerPel, std::int16_t iMonitorIndex) {
    if (iMonitorIndex < 1) return std::nullopt;
    ReadCurrent();
    std::vector<std::string> entries;
    for (const platform::DisplayMode& mode : display_.Modes(iMonitorIndex))
        if (mode.bitsPerPixel >= iBitsPerPel) entries.push_back(ModeEntry(mode, current_));
    return entries;
}

std::int32_t cEnumDisplayDevices::GetDisplayCount() const {
    return static_cast<std::int32_t>(EnumSystemDisplayDevices().size());
}

std::vector<std::vector<std::string>> cEnumDisplayDevices::EnumSystemDisplayDevices() const {
    namespace flag = platform::displayflag;
    std::vector<std::vector<std::string>> result;
    for (const platform::DisplayAdapter& adapter : display_.Adapters()) {
        const platform::DisplayDevice& device = adapter.device;
        if (text::ToUpper(device.name).find("DISPLAYV") != std::string::npos) continue;
        const std::uint32_t flags = device.stateFlags;
        std::vector<std::string> texts{device.name,
                                       "DISP_DeviceID=" + device.id,
                                       "DISP_DeviceKey=" + device.key,
                                       "DISP_DeviceString=" + device.string,
                                       "DISP_StateFlags=" + std::to_string(flags),
                                       "DISP_FLAG_ATTACHED_TO_DESKTOP=" + YesNo(flags & 0x1),
                                       "DISP_FLAG_PRIMARY_DEVICE=" + YesNo(flags & 0x4),
                                       "DISP_FLAG_MIRRORING_DRIVER=" + YesNo(flags & 0x8),
                                       "DISP_FLAG_VGA_COMPATIBLE=" + YesNo(flags & 0x10),
                                       "DISP_FLAG_REMOVABLE=" + YesNo(flags & 0x20),
                                       "DISP_FLAG_MODESPRUNED=" + YesNo(flags & 0x8000000)};
        for (const platform::DisplayDevice& monitor : adapter.monitors) {
            if (monitor.stateFlags == 0) continue;
            texts.push_back("MON_DeviceID=" + monitor.id);
            texts.push_back("MON_DeviceKey=" + monitor.key);
            texts.push_back("MON_DeviceName=" + monitor.name);
            texts.push_back("MON_DeviceString=" + monitor.string);
            texts.push_back("MON_StateFlags=" + std::to_string(monitor.stateFlags));
            texts.push_back("MON_FLAG_MULTI_DRIVER=" +
                            YesNo(monitor.stateFlags & flag::MultiDriver));
            break;
        }
        result.push_back(std::move(texts));
    }
    return result;
}

}  // namespace optera::services
