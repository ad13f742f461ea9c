#include "platform/linux/wayland/shell/MainMonitor.h"

#include "desktop/wayland/gnome/GnomeFixture.h"
#include "platform/linux/wayland/client/WaylandMonitors.h"

namespace zelvo::test {

namespace {

class MainMonitorTest : public GnomeFixture {
protected:
    /// Made as the desktop makes them.
    void follow()
    {
        bus->start();
        main = std::make_unique<MainMonitor>(*bus);
        monitors = std::make_unique<WaylandMonitors>(contexts, WaylandClient::open(),
                                                     [this] { return main->name(); });
        main->observe([this] { monitors->refresh(); });
    }
    void TearDown() override
    {
        loop.stop();
        GnomeFixture::TearDown();
        monitors.reset();
    }

    std::unique_ptr<MainMonitor> main;
    std::unique_ptr<WaylandMonitors> monitors;
};

TEST_F(MainMonitorTest, isTheOriginOfAllPoints)
{
    startGnome({.monitors = {{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}});
    follow();
    ASSERT_EQ(monitors->current().monitors.size(), 2U);
    EXPECT_EQ(main->name(), "Meta-0");
    EXPECT_EQ(monitors->current().toPoints(LogicalPoint{2000, 10}), (DesktopPoint{2000, 10}));

    gnome->arrange({{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}, 1);

    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors[0].name == "Meta-1"; }));
    EXPECT_EQ(monitors->current().toPoints(LogicalPoint{2000, 10}), (DesktopPoint{80, 10}));
}

TEST_F(MainMonitorTest, isKnownFromTheStart)
{
    startGnome({.monitors = {{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}});
    gnome->arrange({{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}, 1);

    follow();

    EXPECT_EQ(monitors->current().monitors.at(0).name, "Meta-1");
}

/// Monitors turn, are scaled and disappear.
TEST_F(MainMonitorTest, followsChangesOfTheMonitors)
{
    startGnome({.monitors = {{.width = 1920, .height = 1080}, {.width = 1280, .height = 720}}});
    follow();

    gnome->arrange({{.width = 1920, .height = 1080, .quarters = 1}, {.width = 1280, .height = 720}});
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors[0].widthPixels == 1080; }));
    EXPECT_EQ(monitors->current().monitors[0].area, (LogicalRect{0, 0, 1080, 1920}));
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors[1].area.x == 1080; }));

    gnome->arrange({{.width = 1920, .height = 1080, .scale = 1.5}});
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors.size() == 1; }));
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors[0].area.width == 1280; }));
    EXPECT_EQ(monitors->current().monitors[0].scale, 1.5);
}

} // namespace

} // namespace zelvo::test
