#include "desktop/wayland/harness/PrivateGnome.h"

#include <gtest/gtest.h>

namespace zelvo::test {

namespace {

TEST(PrivateGnome, startsWithMonitorsOfChosenScale)
{
    if (auto const missing = PrivateGnome::missing())
        GTEST_SKIP() << *missing;
    PrivateGnome gnome(
        {.monitors = {{.width = 1920, .height = 1080, .scale = 1.5}, {.width = 1024, .height = 768}}});

    std::string const state = gnome.call("org.gnome.Mutter.DisplayConfig", "/org/gnome/Mutter/DisplayConfig",
                                         "org.gnome.Mutter.DisplayConfig.GetCurrentState");

    EXPECT_FALSE(gnome.isOverviewOpen());
    EXPECT_GE(gnome.version(), 43);
    EXPECT_NE(state.find("[(0, 0, 1.5,"), std::string::npos) << state;
    EXPECT_NE(state.find("(1280, 0, 1.0,"), std::string::npos) << state;
}

TEST(PrivateGnome, hasThePortalsOfGnome)
{
    if (auto const missing = PrivateGnome::missing())
        GTEST_SKIP() << *missing;
    if (auto const missing =
            missingProgram({{"/usr/libexec/xdg-desktop-portal", "xdg-desktop-portal"},
                            {"/usr/libexec/xdg-desktop-portal-gnome", "xdg-desktop-portal-gnome"}}))
        GTEST_SKIP() << *missing;
    PrivateGnome gnome;

    gnome.startPortal("gnome");

    std::string const version =
        gnome.call("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                   "org.freedesktop.DBus.Properties.Get", {"org.freedesktop.portal.ScreenCast", "version"});
    EXPECT_NE(version.find("uint32"), std::string::npos) << version;
}

} // namespace

} // namespace zelvo::test
