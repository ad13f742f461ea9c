#include "platform/linux/x11/X11DisplayLayout.h"

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zelvo::test {
namespace {

TEST(ScaleFromResources, isTheDpiOver96)
{
    EXPECT_EQ(scaleFrom("Xft.dpi:\t192\n"), 2);
    EXPECT_EQ(scaleFrom("Xcursor.size:\t24\nXft.dpi: 144"), 1.5);
    EXPECT_EQ(scaleFrom("Xft.dpi:\t72\n"), 1);
    EXPECT_EQ(scaleFrom("Xft.dpi:\tlots\n"), 1);
    EXPECT_EQ(scaleFrom("Xft.dpi:\tnan\n"), 1);
    EXPECT_EQ(scaleFrom("*Xft.dpi:\t192\n"), 1);
    EXPECT_EQ(scaleFrom(""), 1);
}

class LayoutOnADesktop : public testing::Test {
protected:
    PrivateDesktop desktop{{.width = 1366, .height = 768, .windowManager = false, .sessionBus = false}};
    LiveContexts live;
    std::atomic<int> changes = 0;
    std::unique_ptr<X11DisplayLayout> layout;

    void SetUp() override
    {
        desktop.adoptEnvironment();
        layout = std::make_unique<X11DisplayLayout>(live.contexts(), X11Connection::open());
        layout->observe([this] { ++changes; });
    }
    void TearDown() override { live.stop(); }
};

TEST_F(LayoutOnADesktop, isTheWholeScreenAtTheOrigin)
{
    DisplayLayout const main = layout->current();

    EXPECT_EQ(main.origin, (PixelPoint{0, 0}));
    EXPECT_EQ(main.widthPixels, 1366);
    EXPECT_EQ(main.heightPixels, 768);
    EXPECT_EQ(main.scale, 1);
    EXPECT_GT(main.displayId, 1u); // Xvfb has an output.
    EXPECT_EQ(layout->all().size(), 1u);
}

TEST_F(LayoutOnADesktop, followsTheDpiOfTheResources)
{
    desktop.run({"sh", "-c", "echo 'Xft.dpi: 192' | xrdb -merge"});

    EXPECT_TRUE(waitFor([&] { return layout->current().scale == 2; }));
    EXPECT_TRUE(waitFor([&] { return changes == 1; }));
    EXPECT_EQ(layout->current().toPixels({100, 50}), (PixelPoint{200, 100}));
}

TEST_F(LayoutOnADesktop, putsThePrimaryMonitorFirst)
{
    desktop.run({"xrandr", "--setmonitor", "left", "600/150x768/200+0+0", "screen"});
    desktop.run({"xrandr", "--setmonitor", "*right", "766/150x768/200+600+0", "none"});

    EXPECT_TRUE(waitFor([&] { return layout->all().size() == 2; }));
    EXPECT_EQ(layout->current().origin, (PixelPoint{600, 0}));
    EXPECT_EQ(layout->current().displayId, 1u); // A monitor without an output.
    EXPECT_EQ(layout->current().toPoints({600, 10}), (DesktopPoint{0, 10}));
    EXPECT_EQ(layout->all()[1].widthPixels, 600);
}

TEST(LayoutWithoutAServer, hasNoDisplay)
{
    LiveContexts live;
    X11DisplayLayout const layout(live.contexts(), nullptr);

    EXPECT_EQ(layout.current().widthPixels, 0);
    EXPECT_TRUE(layout.all().empty());
    live.stop();
}

TEST(X11Connection, isNothingWithoutAServer)
{
    EXPECT_EQ(X11Connection::open(":997"), nullptr);
}

TEST(X11Connection, noticesThatTheServerIsGone)
{
    std::optional<PrivateDesktop> desktop(std::in_place,
                                          DesktopOptions{.windowManager = false, .sessionBus = false});
    auto const connection = X11Connection::open(desktop->display());
    ASSERT_TRUE(connection);
    X11Capabilities const can = connection->capabilities();
    EXPECT_TRUE(can.xtest && can.shm && can.composite && can.xfixes && can.shape && can.res && can.randr);
    EXPECT_FALSE(can.xwayland);
    EXPECT_TRUE(connection->isAlive());

    desktop.reset();

    connection->sync();
    EXPECT_FALSE(connection->isAlive());
    EXPECT_TRUE(readDisplayLayouts(*connection).empty());
}

} // namespace
} // namespace zelvo::test
