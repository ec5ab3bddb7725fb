// The desktop as a program in the prefix sees it, and one Optera per user.

#include <gtest/gtest.h>

#include "HivePrefix.h"
#include "platform/wine/HostSingleInstance.h"
#include "platform/wine/WineDesktopLook.h"
#include "platform/wine/WineKeyStore.h"

using namespace optera;
using namespace optera::testing;
using platform::kSystemColourFlag;
namespace syscolour = platform::syscolour;

namespace {

constexpr char kUserHeader[] = "\\\\User\\\\S-1-5-21-0-0-0-1000";

TEST_F(WinePrefixTest, DotsPerInchAndSystemColoursComeFromThePrefix) {
    struct Row {
        const char* name;
        std::string user, machine;
        int dpi;
    } rows[] = {
        {"nothing set", "", "", 96},
        {"the machine's", "",
         "[System\\\\CurrentControlSet\\\\Hardware Profiles\\\\Current\\\\Software\\\\Fonts] 1\n"
         "\"LogPixels\"=dword:00000078\n",
         120},
        {"the user's before the machine's",
         "[Control Panel\\\\Desktop] 1\n\"LogPixels\"=dword:00000090\n",
         "[System\\\\CurrentControlSet\\\\Hardware Profiles\\\\Current\\\\Software\\\\Fonts] 1\n"
         "\"LogPixels\"=dword:00000078\n",
         144},
        {"a text is not a number of dots", "[Control Panel\\\\Desktop] 1\n\"LogPixels\"=\"144\"\n",
         "", 96},
    };
    for (const Row& row : rows) {
        temp.Write("user.reg", HiveText("win64", row.user, kUserHeader));
        temp.Write("system.reg", HiveText("win64", row.machine));
        platform::WineKeyStore store(prefix());
        EXPECT_EQ(platform::WineDesktopLook(store).DotsPerInch(), row.dpi) << row.name;
    }

    temp.Write("user.reg", HiveText("win64",
                                    "[Control Panel\\\\Colors] 1\n\"ButtonFace\"=\"10 20 30\"\n"
                                    "\"Window\"=\"10 20\"\n\"WindowText\"=\"1 2 300\"\n",
                                    kUserHeader));
    platform::WineKeyStore store(prefix());
    platform::WineDesktopLook look(store);
    auto resolve = [&](std::uint32_t colour) { return platform::ResolveColour(colour, look); };
    EXPECT_EQ(resolve(kSystemColourFlag | syscolour::ButtonFace), 0x1E140Au);
    EXPECT_EQ(resolve(kSystemColourFlag | syscolour::Window),
              platform::DefaultSystemColour(syscolour::Window))
        << "a colour that cannot be read is the default";
    EXPECT_EQ(resolve(kSystemColourFlag | syscolour::WindowText), 0u) << "black by default";
    EXPECT_EQ(resolve(kSystemColourFlag | 200), 0u) << "no such system colour";
    EXPECT_EQ(resolve(0x00123456), 0x00123456u) << "an ordinary colour is itself";
}

TEST_F(WinePrefixTest, OneOpteraPerUserHoldsItsPlaceUntilItEnds) {
    const auto lock = prefix() / "optera.lock";
    auto first = std::make_unique<platform::HostSingleInstance>(lock);
    EXPECT_FALSE(first->AnotherIsRunning());
    EXPECT_FALSE(first->AnotherIsRunning()) << "asking again does not find itself";
    platform::HostSingleInstance second(lock);
    EXPECT_TRUE(second.AnotherIsRunning());
    first.reset();
    EXPECT_FALSE(second.AnotherIsRunning()) << "the place is free once the first has gone";

    // A lock file that cannot be opened does not stop Optera from starting.
    std::filesystem::create_directory(prefix() / "folder.lock");
    EXPECT_FALSE(platform::HostSingleInstance(prefix() / "folder.lock").AnotherIsRunning());
    EXPECT_EQ(platform::HostSingleInstance::DefaultLockFile({{"XDG_RUNTIME_DIR", "/run/user/7"}}),
              "/run/user/7/optera.lock");
}

}  // namespace
