#include "platform/linux/wayland/capture/WaylandDrawingWatches.h"

#include "unit/wayland/CaptureFixture.h"

namespace zelvo {
namespace {

class WaylandDrawingWatchesTest : public CaptureFixture {
protected:
    DrawingSignal signal{contextsOn(io), clock, frames};
    WaylandDrawingWatches watches{contextsOn(io), source, signal};
    int reports = 0;
    std::unique_ptr<DrawingWatch> watch =
        run(io, watches.open(monitor, {ownBundleIdentifier}, [this] { ++reports; }));

    std::vector<DesktopRect> take() { return run(io, watch->take({ownBundleIdentifier})); }
};

TEST_F(WaylandDrawingWatchesTest, givesNothingForWhatWasThereBefore)
{
    EXPECT_TRUE(take().empty());
}

TEST_F(WaylandDrawingWatchesTest, reportsOnceUntilItIsTaken)
{
    frames.draw(monitor);
    frames.draw(monitor);
    EXPECT_EQ(reports, 1);

    take();
    frames.draw(monitor);
    EXPECT_EQ(reports, 2);
}

TEST_F(WaylandDrawingWatchesTest, givesWhereAPictureDiffers)
{
    frames.colour = 0x445566;
    frames.draw(monitor);

    EXPECT_FALSE(take().empty());
    EXPECT_TRUE(take().empty());
}

TEST_F(WaylandDrawingWatchesTest, passesOnThatAHiddenApplicationKeepsPicturesAway)
{
    frames.leavesOut = false;
    clients.connected = {12};
    names[12].names = {"org.example.vault"};

    EXPECT_THROW(run(io, watch->take({"org.example.vault"})), ScreenFailure);
}

TEST_F(WaylandDrawingWatchesTest, failsOnceTheMonitorIsGone)
{
    layout.monitors.clear();

    EXPECT_THROW(take(), ScreenFailure);
}

} // namespace
} // namespace zelvo
