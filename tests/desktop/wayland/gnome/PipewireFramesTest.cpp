#include "platform/linux/wayland/pipewire/PipewireFrames.h"

#include "desktop/wayland/gnome/GnomeFixture.h"

#include <signal.h>

#include <atomic>

namespace zelvo::test {

namespace {

constexpr std::size_t windowArea = 600UL * 400;

class PipewireFramesTest : public GnomeFixture {
protected:
    /// Opens a stream of the only monitor.
    void record(GnomeOptions options = {})
    {
        startGnome(std::move(options));
        recorder = gnome->start({"/usr/bin/python3", ZELVO_RECORDER, "Meta-0"});
        std::string node;
        require("a stream", [&] {
            node = gnome->processes().output(recorder);
            return node.ends_with('\n');
        });
        streams = std::make_unique<PipewireFrames>(contexts, *clock);
        streams->setStreams(GrantedStreams{.nodes = {{1, static_cast<std::uint32_t>(std::stoul(node))}}});
    }
    Picture picture()
    {
        return run<Picture>([&]() -> Task<Picture> { co_return co_await streams->everything(1); });
    }
    void TearDown() override
    {
        streams.reset();
        GnomeFixture::TearDown();
    }

    pid_t recorder = 0;
    std::unique_ptr<PipewireFrames> streams;
};

TEST_F(PipewireFramesTest, takesPicturesOfAStillScreen)
{
    record();
    startClient("dev.seen", "#00ff00");
    ASSERT_TRUE(waitFor([&] { return pixelsOf(picture(), 0x00ff00) == windowArea; }));

    for (int at = 0; at < 10; ++at)
        EXPECT_EQ(pixelsOf(picture(), 0x00ff00), windowArea);

    Picture const last = picture();
    EXPECT_EQ(last.width, 1920);
    EXPECT_EQ(last.height, 1080);
}

TEST_F(PipewireFramesTest, hasTheFullResolutionOfAScaledMonitor)
{
    record({.monitors = {{.scale = 2}}});

    EXPECT_EQ(picture().width, 1920);
    EXPECT_EQ(picture().height, 1080);
}

TEST_F(PipewireFramesTest, reportsWhatIsDrawnWhileThatIsWanted)
{
    record();
    std::atomic<int> drawn = 0;
    streams->watchDrawing([&](std::uint32_t monitor) { drawn += monitor == 1; });
    picture();
    EXPECT_EQ(drawn, 0);

    streams->setDrawingWanted(true);
    ASSERT_TRUE(waitFor([&] { return drawn > 0; }));
    int const before = drawn;
    startClient("dev.seen", "#00ff00");
    EXPECT_TRUE(waitFor([&] { return drawn > before; }));
    EXPECT_TRUE(waitFor([&] { return pixelsOf(picture(), 0x00ff00) == windowArea; }));

    // Pictures alone are not drawing, although the compositor draws for each.
    int const atRest = drawn;
    for (int at = 0; at < 5; ++at)
        picture();
    EXPECT_LE(drawn, atRest + 1);
}

TEST_F(PipewireFramesTest, failsWhenTheStreamEnds)
{
    record();
    picture();

    gnome->processes().end(recorder, SIGTERM);

    EXPECT_TRUE(waitFor([&] {
        try {
            picture();
            return false;
        } catch (ScreenFailure const&) {
            return true;
        }
    }));
    streams->setStreams(std::nullopt);
    EXPECT_THROW(picture(), ScreenFailure);
}

} // namespace

} // namespace zelvo::test
