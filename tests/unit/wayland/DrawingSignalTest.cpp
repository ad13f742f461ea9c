#include "platform/linux/wayland/capture/DrawingSignal.h"

#include "fakes/FakeFrameSource.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class DrawingSignalTest : public testing::Test {
protected:
    asio::io_context io;
    ManualClock clock{&io};
    FakeFrameSource frames;
};

TEST_F(DrawingSignalTest, tellsThoseWhoFollowTheMonitor)
{
    DrawingSignal signal(contextsOn(io), clock, frames);
    int one = 0;
    int any = 0;
    auto const first = signal.observe(1, [&] { ++one; });
    auto const second = signal.observe(DrawingSignal::anyMonitor, [&] { ++any; });

    frames.draw(1);
    frames.draw(2);

    EXPECT_EQ(one, 1);
    EXPECT_EQ(any, 2);
}

TEST_F(DrawingSignalTest, wantsNothingWhileNobodyFollows)
{
    DrawingSignal signal(contextsOn(io), clock, frames);
    EXPECT_FALSE(frames.isDrawingWanted);

    auto first = signal.observe(1, [] {});
    auto second = signal.observe(1, [] {});
    EXPECT_TRUE(frames.isDrawingWanted);

    first.reset();
    EXPECT_TRUE(frames.isDrawingWanted);
    second.reset();
    EXPECT_FALSE(frames.isDrawingWanted);
}

TEST_F(DrawingSignalTest, asksTimeForThoseWhoBeginOnTheAgent)
{
    frames.reportsDrawing = false;
    DrawingSignal signal(contextsOn(io), clock, frames);
    int told = 0;
    std::shared_ptr<void> following;
    asio::post(io, [&] { following = signal.observe(1, [&] { ++told; }); });

    clock.advance(1s);

    EXPECT_GE(told, 20);
    following.reset();
    clock.advance(1s);
}

TEST_F(DrawingSignalTest, asksTimeWhereTheSourceDoesNotKnow)
{
    frames.reportsDrawing = false;
    DrawingSignal signal(contextsOn(io), clock, frames);
    int told = 0;
    auto following = signal.observe(1, [&] { ++told; });

    clock.advance(1s);
    EXPECT_GE(told, 20);
    EXPECT_LE(told, 21);

    following.reset();
    clock.advance(1s);
    EXPECT_LE(told, 21);
    EXPECT_EQ(clock.sleeperCount(), 0U);
}

TEST_F(DrawingSignalTest, mayBeFollowedFromTheAgent)
{
    frames.reportsDrawing = false;
    DrawingSignal signal(contextsOn(io), clock, frames);
    int told = 0;
    std::shared_ptr<void> following;
    asio::post(io, [&] { following = signal.observe(1, [&] { ++told; }); });

    clock.advance(1s);

    EXPECT_GE(told, 20);
}

TEST_F(DrawingSignalTest, mayBeFollowedAgain)
{
    frames.reportsDrawing = false;
    DrawingSignal signal(contextsOn(io), clock, frames);
    signal.observe(1, [] {}).reset();
    clock.advance(1s);

    int told = 0;
    auto const following = signal.observe(1, [&] { ++told; });
    clock.advance(1s);

    EXPECT_GE(told, 20);
}

} // namespace
} // namespace zelvo
