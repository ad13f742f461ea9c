#include "platform/linux/wayland/wlr/ScreencopyFrames.h"

#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/wayland/client/WaylandMonitors.h"
#include "platform/linux/wayland/wlr/VirtualInput.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <atomic>

namespace zelvo::test {
namespace {

using Colors = std::vector<std::string>;

std::string colorAt(Picture const& picture, int x, int y)
{
    auto const* const pixel = picture.pixels.data() + static_cast<std::size_t>(y * picture.stride + x * 4);
    char text[7];
    std::snprintf(text, sizeof text, "%02x%02x%02x", pixel[2], pixel[1], pixel[0]);
    return text;
}

/// The colours around the middle, and whether each is that of its whole quadrant up to the corners.
Colors quadrantsOf(Picture const& picture)
{
    Colors colors;
    for (int number = 0; number < 4; ++number) {
        bool const right = number % 2;
        bool const bottom = number / 2;
        // At a fractional scale the compositor blends the two pixels at an edge between colours.
        int const x = picture.width / 2 + (right ? 3 : -4);
        int const y = picture.height / 2 + (bottom ? 3 : -4);
        std::string const color = colorAt(picture, x, y);
        bool const isWhole =
            color == colorAt(picture, right ? picture.width - 2 : 1, y) &&
            color == colorAt(picture, x, bottom ? picture.height - 2 : 1) &&
            color == colorAt(picture, right ? picture.width - 2 : 1, bottom ? picture.height - 2 : 1);
        colors.push_back(isWhole ? color : "mixed");
    }
    return colors;
}

class FramesOfSway : public testing::Test {
protected:
    LiveContexts live;
    std::unique_ptr<LinuxClock> clock;
    std::unique_ptr<PrivateSway> sway;
    std::unique_ptr<ScreencopyFrames> frames;
    std::unique_ptr<WaylandMonitors> monitors;
    Colors const colors{"ff0000", "00ff00", "0000ff", "ffff00"};
    Colors const others{"00ffff", "ff00ff", "123456", "ffffff"};

    void SetUp() override
    {
        if (auto const reason = PrivateSway::missing(); !reason.empty())
            GTEST_SKIP() << reason;
    }
    void TearDown() override
    {
        frames.reset();
        monitors.reset();
        live.stop();
    }

    void start(std::vector<SwayOutput> outputs)
    {
        sway = std::make_unique<PrivateSway>(SwayOptions{
            .outputs = std::move(outputs),
        });
        sway->adoptEnvironment();
        clock = std::make_unique<LinuxClock>(live.contexts().agent);
        monitors = std::make_unique<WaylandMonitors>(live.contexts(), WaylandClient::open());
        frames = std::make_unique<ScreencopyFrames>(live.contexts(), *clock);
    }

    pid_t paint(std::string const& output, Colors const& shown)
    {
        sway->command("focus output " + output);
        std::vector<std::string> command{"/usr/bin/python3", ZELVO_WLR_TEST_FOLDER "/gtk_quadrants.py",
                                         output};
        command.insert(command.end(), shown.begin(), shown.end());
        return sway->start(command, {{"GDK_BACKEND", "wayland"}});
    }

    Picture take(std::string const& output) { return live.run(frames->everything(monitorId(output))); }

    testing::AssertionResult shows(std::string const& output, Colors const& expected)
    {
        Colors seen;
        if (waitFor([&] { return (seen = quadrantsOf(take(output))) == expected; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(seen);
    }
};

TEST_F(FramesOfSway, showAnOutputUprightInFullResolution)
{
    start({{.width = 1000, .height = 600}});
    paint("HEADLESS-1", colors);

    EXPECT_TRUE(shows("HEADLESS-1", colors));
    Picture const picture = take("HEADLESS-1");
    EXPECT_EQ(picture.width, 1000);
    EXPECT_EQ(picture.height, 600);
    EXPECT_EQ(colorAt(picture, 499, 299), "ff0000");
    EXPECT_EQ(colorAt(picture, 500, 300), "ffff00");
}

TEST_F(FramesOfSway, showScaledAndRotatedOutputs)
{
    start({{}});
    paint("HEADLESS-1", colors);
    for (double const scale : {1.0, 1.5, 2.0})
        for (char const* const transform :
             {"90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270", "normal"}) {
            SCOPED_TRACE(transform + (' ' + std::to_string(scale)));
            sway->command("output HEADLESS-1 scale " + std::to_string(scale) + " transform " + transform);
            EXPECT_TRUE(shows("HEADLESS-1", colors));
            EXPECT_TRUE(waitFor([&] {
                Monitor const monitor = monitors->current().monitors.at(0);
                Picture const picture = take("HEADLESS-1");
                return monitor.scale == scale && picture.width == monitor.widthPixels &&
                       picture.height == monitor.heightPixels;
            }));
        }
}

TEST_F(FramesOfSway, showEachOfTwoOutputs)
{
    start({{.width = 1000, .height = 600, .scale = 2},
           {.width = 640, .height = 480, .transform = "90", .x = 500}});
    paint("HEADLESS-1", colors);
    EXPECT_TRUE(shows("HEADLESS-1", colors));
    paint("HEADLESS-2", others);

    EXPECT_TRUE(shows("HEADLESS-2", others));
    EXPECT_TRUE(shows("HEADLESS-1", colors));
    EXPECT_EQ(take("HEADLESS-2").width, 480);
}

TEST_F(FramesOfSway, showThePointer)
{
    start({{}});
    paint("HEADLESS-1", colors);
    ASSERT_TRUE(shows("HEADLESS-1", colors));
    auto const input = VirtualInput::create(live.contexts());
    ASSERT_TRUE(input);

    ASSERT_TRUE(live.run(input->moveTo({200, 100})));

    auto const pixelsOfThePointer = [&] {
        Picture const picture = take("HEADLESS-1");
        int count = 0;
        for (int y = 95; y < 125; ++y)
            for (int x = 195; x < 225; ++x)
                count += colorAt(picture, x, y) != "ff0000";
        return count;
    };
    EXPECT_TRUE(waitFor([&] { return pixelsOfThePointer() > 20; }));
}

TEST_F(FramesOfSway, followTheScreen)
{
    start({{}});
    pid_t const painter = paint("HEADLESS-1", {"ff0000", "ff0000", "ff0000", "0000ff"});
    ASSERT_TRUE(shows("HEADLESS-1", {"ff0000", "ff0000", "ff0000", "0000ff"}));

    ::kill(painter, SIGUSR1);

    EXPECT_TRUE(shows("HEADLESS-1", {"ff0000", "ff0000", "0000ff", "ff0000"}));
}

TEST_F(FramesOfSway, doNotChangeWhileSomeoneKeepsThem)
{
    start({{}});
    pid_t const painter = paint("HEADLESS-1", colors);
    ASSERT_TRUE(shows("HEADLESS-1", colors));
    Picture const kept = take("HEADLESS-1");

    ::kill(painter, SIGUSR1);
    ASSERT_TRUE(shows("HEADLESS-1", {"00ff00", "0000ff", "ffff00", "ff0000"}));

    EXPECT_EQ(quadrantsOf(kept), colors);
}

TEST_F(FramesOfSway, refuseWhatTheyCannotShow)
{
    start({{}});

    EXPECT_THROW(take("HEADLESS-9"), ScreenFailure);
    EXPECT_FALSE(frames->canLeaveOut());
    EXPECT_THROW(live.run(frames->without(monitorId("HEADLESS-1"), {})), ScreenFailure);
    EXPECT_EQ(take("HEADLESS-1").width, 1280);

    sway->kill();
    EXPECT_THROW(take("HEADLESS-1"), ScreenFailure);
    EXPECT_THROW(take("HEADLESS-1"), ScreenFailure);
}

TEST_F(FramesOfSway, endWhenTheCompositorStops)
{
    start({{}});
    take("HEADLESS-1");

    ::kill(sway->compositor(), SIGSTOP);
    EXPECT_THROW(take("HEADLESS-1"), ScreenFailure);

    ::kill(sway->compositor(), SIGCONT);
    EXPECT_EQ(take("HEADLESS-1").width, 1280);
}

TEST_F(FramesOfSway, reportDrawingWhileThatIsWanted)
{
    start({{}, {.x = 1280}});
    std::atomic<int> first = 0;
    std::atomic<int> second = 0;
    EXPECT_TRUE(frames->watchDrawing(
        [&](std::uint32_t monitor) { ++(monitor == monitorId("HEADLESS-1") ? first : second); }));
    pid_t const painter = paint("HEADLESS-2", colors);
    ASSERT_TRUE(shows("HEADLESS-2", colors));
    EXPECT_EQ(first + second, 0);

    frames->setDrawingWanted(true);
    ASSERT_TRUE(waitFor([&] { return first >= 1 && second >= 1; }));
    int const firstBefore = first;
    for (int i = 0; i < 3; ++i) {
        int const before = second;
        ::kill(painter, SIGUSR1);
        EXPECT_TRUE(waitFor([&] { return second > before; }));
    }
    EXPECT_EQ(first, firstBefore);

    frames->setDrawingWanted(false);
    live.run([]() -> Task<> { co_return; }());
    live.run([]() -> Task<> { co_return; }());
    int const before = second;
    ::kill(painter, SIGUSR1);
    ASSERT_TRUE(shows("HEADLESS-2", {colors[0], colors[1], colors[2], colors[3]}));
    EXPECT_EQ(second, before);
}

} // namespace
} // namespace zelvo::test
