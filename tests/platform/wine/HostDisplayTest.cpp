// The host's display: the override, the kernel's mode lists and PCI devices in a fixture of
// /sys, and XRandR on a virtual X server when one can be started.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "platform/wine/HostDisplay.h"
#include "support/TempFolder.h"

using namespace optera::platform;

namespace {

TEST(HostDisplay, TheOverrideComesFirstAndItsFirstModeIsCurrent) {
    EXPECT_EQ(ParseDisplayModes(" 5760x1080x32@60, bad ,1920x1080x16@75,0x5x32@60"),
              (std::vector<DisplayMode>{{5760, 1080, 32, 60}, {1920, 1080, 16, 75}}));
    HostDisplay display({{"OPTERA_DISPLAY_MODES", "5760x1080x32@60,1920x1080x32@60"},
                         {"OPTERA_VIDEO_CONTROLLERS", "PCI\\VEN_10DE&DEV_1C82; PCI\\VEN_1002"},
                         {"DISPLAY", ":nowhere"}},
                        "/nonexistent");
    EXPECT_EQ(display.Current(), (DisplayMode{5760, 1080, 32, 60}));
    EXPECT_EQ(display.Modes(1).size(), 2u);
    EXPECT_TRUE(display.Modes(2).empty());
    EXPECT_EQ(display.VideoControllerIds(),
              (std::vector<std::string>{"PCI\\VEN_10DE&DEV_1C82", "PCI\\VEN_1002"}));
}

TEST(HostDisplay, KernelModesAndPciDevicesWithoutADisplayServer) {
    optera::testing::TempFolder sys;
    sys.Write("class/drm/card0-DP-1/status", "connected\n");
    sys.Write("class/drm/card0-DP-1/modes", "2560x1440\n1920x1080\n2560x1440\n");
    sys.Write("class/drm/card0-HDMI-A-1/status", "disconnected\n");
    sys.Write("class/drm/card0-HDMI-A-1/modes", "1024x768\n");
    sys.Write("class/drm/card0/dev", "226:0\n");
    const std::string gpu = "bus/pci/devices/0000:01:00.0/";
    sys.Write(gpu + "class", "0x030000\n");
    sys.Write(gpu + "vendor", "0x10de\n");
    sys.Write(gpu + "device", "0x1c82\n");
    sys.Write(gpu + "subsystem_vendor", "0x1458\n");
    sys.Write(gpu + "subsystem_device", "0x3fbf\n");
    sys.Write(gpu + "revision", "0xa1\n");
    sys.Write("bus/pci/devices/0000:00:1f.3/class", "0x040300\n");

    HostDisplay display({}, sys.path());
    EXPECT_EQ(display.Modes(1),
              (std::vector<DisplayMode>{{2560, 1440, 32, 0}, {1920, 1080, 32, 0}}));
    EXPECT_EQ(display.Current(), (DisplayMode{2560, 1440, 32, 0}));
    ASSERT_EQ(display.Adapters().size(), 1u);
    EXPECT_EQ(display.Adapters()[0].device.string, "card0-DP-1");
    EXPECT_EQ(
        display.VideoControllerIds(),
        (std::vector<std::string>{"PCI\\VEN_10DE&DEV_1C82&SUBSYS_3FBF1458&REV_A1\\0000:01:00.0"}));
}

// Xvfb, when installed, on a display number of its own; stopped when the test ends.
struct VirtualScreen {
    VirtualScreen() {
        if (std::system("command -v Xvfb >/dev/null") != 0) return;
        name = ":" + std::to_string(90 + ::getpid() % 100);
        pid = ::fork();
        if (pid == 0) {
            ::execlp("Xvfb", "Xvfb", name.c_str(), "-screen", "0", "5760x1080x24", "-noreset",
                     "-nolisten", "tcp", static_cast<char*>(nullptr));
            ::_exit(127);
        }
        // Ready once its socket is there. -noreset: the server must not restart between the
        // test's connections, each of which is its only client.
        const std::string socket = "/tmp/.X11-unix/X" + name.substr(1);
        for (int tries = 0; tries < 50 && ::access(socket.c_str(), F_OK) != 0; ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    }
    ~VirtualScreen() {
        if (pid > 0) {
            ::kill(pid, SIGTERM);
            ::waitpid(pid, nullptr, 0);
        }
    }
    std::string name;
    pid_t pid = -1;
};

TEST(HostDisplay, XRandRGivesTheWholeDesktopAsTheCurrentMode) {
    VirtualScreen screen;
    if (screen.pid <= 0) GTEST_SKIP() << "Xvfb is not installed";
    HostDisplay display({{"DISPLAY", screen.name}}, "/nonexistent");
    auto current = display.Current();
    ASSERT_TRUE(current) << "no X display at " << screen.name;
    EXPECT_EQ(current->width, 5760);
    EXPECT_EQ(current->height, 1080);
    EXPECT_EQ(current->bitsPerPixel, 32);
    bool listed = false;
    for (const DisplayMode& mode : display.Modes(1)) listed = listed || mode == *current;
    EXPECT_TRUE(listed);
}

}  // namespace
