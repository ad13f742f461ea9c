#include "platform/linux/wayland/shell/ShellHotKey.h"

#include "desktop/wayland/gnome/GnomeFixture.h"

#include <linux/input-event-codes.h>

#include <atomic>

namespace zelvo::test {

namespace {

class ShellHotKeyTest : public GnomeFixture {};

TEST_F(ShellHotKeyTest, isPressedAlsoAfterTheExtensionWasOff)
{
    startGnome();
    std::atomic<int> presses = 0;
    ShellHotKey key(contexts.main, *bus, *presence);
    key.start([&] { ++presses; });
    bus->start();
    presence->start();
    ASSERT_TRUE(waitFor([&] { return key.isGrabbed(); }));
    auto const press = [&] {
        gnome->run({"/usr/bin/python3", ZELVO_KEY_PRESSER, std::to_string(KEY_LEFTCTRL),
                    std::to_string(KEY_LEFTALT), std::to_string(KEY_LEFTMETA), std::to_string(KEY_P)});
    };

    press();
    EXPECT_TRUE(waitFor([&] { return presses == 1; }));

    gnome->run({"gnome-extensions", "disable", ShellExtensionInstall::uuid});
    EXPECT_TRUE(waitFor([&] { return !key.isGrabbed(); }));
    gnome->run({"gnome-extensions", "enable", ShellExtensionInstall::uuid});
    ASSERT_TRUE(waitFor([&] { return key.isGrabbed(); }));
    press();
    EXPECT_TRUE(waitFor([&] { return presses == 2; }));
}

} // namespace

} // namespace zelvo::test
