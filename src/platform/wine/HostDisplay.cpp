#include "platform/wine/HostDisplay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/wine/HostFiles.h"
#include "text/NoCase.h"
#include "text/Split.h"

// Last: Xlib's macros (None, Status, ...) must not reach the headers above.
#include <X11/Xlib.h>
#include <X11/extensions/Xrandr.h>

namespace optera::platform {

namespace fs = std::filesystem;

namespace {

// X's depth 24 is what Windows calls 32 bits per pixel (the fourth byte is padding).
std::int32_t BitsPerPixel(int depth) {
    return depth == 24 ? 32 : depth;
}

std::string Trimmed(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    std::size_t start = 0;
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start]))) ++start;
    return text.substr(start);
}

std::string ReadTrimmed(const fs::path& file) {
    return Trimmed(ReadHostFile(file).value_or(""));
}

std::optional<HostDisplay::Outputs> ReadXRandR(const std::string& displayName) {
    if (displayName.empty()) return std::nullopt;
    ::Display* x = XOpenDisplay(displayName.c_str());
    if (!x) return std::nullopt;
    HostDisplay::Outputs outputs;
    int eventBase = 0, errorBase = 0;
    const int screen = DefaultScreen(x);
    const std::int32_t bits = BitsPerPixel(DefaultDepth(x, screen));
    const Window root = RootWindow(x, screen);
    std::int32_t desktopRate = 0;
    if (XRRQueryExtension(x, &eventBase, &errorBase)) {
        if (XRRScreenResources* resources = XRRGetScreenResourcesCurrent(x, root)) {
            auto rate = [](const XRRModeInfo& mode) {
                double frame = static_cast<double>(mode.hTotal) * mode.vTotal;
                return frame > 0 ? static_cast<std::int32_t>(std::lround(mode.dotClock / frame))
                                 : 0;
            };
            auto find = [&](RRMode id) -> const XRRModeInfo* {
                for (int m = 0; m < resources->nmode; ++m)
                    if (resources->modes[m].id == id) return &resources->modes[m];
                return nullptr;
            };
            for (int o = 0; o < resources->noutput; ++o) {
                XRROutputInfo* info = XRRGetOutputInfo(x, resources, resources->outputs[o]);
                if (!info) continue;
                if (info->connection == RR_Connected) {
                    outputs.names.emplace_back(info->name, info->nameLen);
                    for (int m = 0; m < info->nmode; ++m) {
                        const XRRModeInfo* mode = find(info->modes[m]);
                        if (!mode) continue;
                        outputs.modes.push_back({static_cast<std::int32_t>(mode->width),
                                                 static_cast<std::int32_t>(mode->height), bits,
                                                 rate(*mode)});
                    }
                    if (info->crtc && desktopRate == 0) {
                        if (XRRCrtcInfo* crtc = XRRGetCrtcInfo(x, resources, info->crtc)) {
                            if (const XRRModeInfo* mode = find(crtc->mode))
                                desktopRate = rate(*mode);
                            XRRFreeCrtcInfo(crtc);
                        }
                    }
                }
                XRRFreeOutputInfo(info);
            }
            XRRFreeScreenResources(resources);
        }
    }
    DisplayMode desktop{DisplayWidth(x, screen), DisplayHeight(x, screen), bits, desktopRate};
    if (std::find(outputs.modes.begin(), outputs.modes.end(), desktop) == outputs.modes.end())
        outputs.modes.push_back(desktop);
    if (outputs.names.empty()) outputs.names.push_back(DisplayString(x));
    outputs.current = desktop;
    XCloseDisplay(x);
    return outputs;
}

}  // namespace

std::vector<DisplayMode> ParseDisplayModes(std::string_view text) {
    std::vector<DisplayMode> modes;
    for (const std::string& entry : text::Split(text, ",")) {
        DisplayMode mode;
        char end = 0;
        int read = std::sscanf(Trimmed(entry).c_str(), "%dx%dx%d@%d%c", &mode.width, &mode.height,
                               &mode.bitsPerPixel, &mode.refreshRate, &end);
        if (read == 4 && mode.width > 0 && mode.height > 0 && mode.bitsPerPixel > 0)
            modes.push_back(mode);
    }
    return modes;
}

HostDisplay::Outputs ReadDrmOutputs(const fs::path& sys) {
    HostDisplay::Outputs outputs;
    std::error_code error;
    std::vector<fs::path> connectors;
    for (const fs::directory_entry& entry : fs::directory_iterator(sys / "class" / "drm", error))
        if (entry.path().filename().string().find('-') != std::string::npos)
            connectors.push_back(entry.path());
    std::sort(connectors.begin(), connectors.end());
    for (const fs::path& connector : connectors) {
        if (ReadTrimmed(connector / "status") != "connected") continue;
        outputs.names.push_back(connector.filename().string());
        bool first = outputs.names.size() == 1;
        for (const std::string& line : text::Split(ReadTrimmed(connector / "modes"), "\n")) {
            DisplayMode mode{0, 0, 32, 0};
            if (std::sscanf(line.c_str(), "%dx%d", &mode.width, &mode.height) != 2) continue;
            if (std::find(outputs.modes.begin(), outputs.modes.end(), mode) != outputs.modes.end())
                continue;
            outputs.modes.push_back(mode);
            if (first && !outputs.current) outputs.current = mode;
        }
    }
    return outputs;
}

std::vector<std::string> ReadPciDisplayControllers(const fs::path& sys) {
    std::vector<std::string> ids;
    std::error_code error;
    std::vector<fs::path> devices;
    for (const fs::directory_entry& entry :
         fs::directory_iterator(sys / "bus" / "pci" / "devices", error))
        devices.push_back(entry.path());
    std::sort(devices.begin(), devices.end());
    auto hex = [](const fs::path& file, int digits) {
        std::string value = ReadTrimmed(file);
        if (value.starts_with("0x")) value.erase(0, 2);
        value = text::ToUpper(value);
        if (static_cast<int>(value.size()) < digits)
            value.insert(0, static_cast<std::size_t>(digits) - value.size(), '0');
        return value;
    };
    for (const fs::path& device : devices) {
        // Class 0x03xxxx: display controllers (VGA, XGA, 3D, other).
        if (!ReadTrimmed(device / "class").starts_with("0x03")) continue;
        std::string id = "PCI\\VEN_" + hex(device / "vendor", 4) + "&DEV_" +
                         hex(device / "device", 4) + "&SUBSYS_" +
                         hex(device / "subsystem_device", 4) + hex(device / "subsystem_vendor", 4) +
                         "&REV_" + hex(device / "revision", 2) + "\\" +
                         text::ToUpper(device.filename().string());
        ids.push_back(id);
    }
    return ids;
}

std::string HostDisplay::Variable(const char* name) const {
    auto found = host_.find(name);
    return found == host_.end() ? std::string() : found->second;
}

HostDisplay::Outputs HostDisplay::Read() const {
    if (std::string given = Variable("OPTERA_DISPLAY_MODES"); !given.empty()) {
        HostDisplay::Outputs outputs;
        outputs.modes = ParseDisplayModes(given);
        if (!outputs.modes.empty()) outputs.current = outputs.modes.front();
        outputs.names.push_back("OPTERA_DISPLAY_MODES");
        return outputs;
    }
    if (auto x = ReadXRandR(Variable("DISPLAY"))) return *x;
    return ReadDrmOutputs(sys_);
}

std::vector<DisplayMode> HostDisplay::Modes(int display) const {
    // The sources see one desktop; its modes are those of the first display.
    return display == 1 ? Read().modes : std::vector<DisplayMode>{};
}

std::optional<DisplayMode> HostDisplay::Current() const {
    return Read().current;
}

std::vector<DisplayAdapter> HostDisplay::Adapters() const {
    std::vector<DisplayAdapter> adapters;
    const Outputs outputs = Read();
    for (std::size_t i = 0; i < outputs.names.size(); ++i) {
        DisplayAdapter adapter;
        const std::string name = "\\\\.\\DISPLAY" + std::to_string(i + 1);
        adapter.device = {
            name, "", "", outputs.names[i],
            displayflag::AttachedToDesktop | (i == 0 ? displayflag::PrimaryDevice : 0)};
        adapter.monitors.push_back({name + "\\Monitor0", "", "", "Generic monitor",
                                    displayflag::AttachedToDesktop | displayflag::MultiDriver});
        adapters.push_back(std::move(adapter));
    }
    return adapters;
}

std::vector<std::string> HostDisplay::VideoControllerIds() const {
    if (std::string given = Variable("OPTERA_VIDEO_CONTROLLERS"); !given.empty()) {
        std::vector<std::string> ids;
        for (const std::string& id : text::Split(given, ";"))
            if (!Trimmed(id).empty()) ids.push_back(Trimmed(id));
        return ids;
    }
    return ReadPciDisplayControllers(sys_);
}

}  // namespace optera::platform
