#include "platform/linux/wayland/pipewire/PipewireFrames.h"

#include "desktop/wayland/gnome/GnomeFixture.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <cstring>
#include <ctime>
#include <utility>

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
        nodes = {{1, static_cast<std::uint32_t>(std::stoul(node))}};
        streams = std::make_unique<PipewireFrames>(contexts, *clock);
        streams->setStreams(GrantedStreams{.nodes = nodes});
    }
    /// Of a picture; zero if there is none.
    std::pair<int, int> sizeOrNothing()
    {
        try {
            Picture const now = picture();
            return {now.width, now.height};
        } catch (ScreenFailure const&) {
            return {};
        }
    }
    bool refuses()
    {
        try {
            picture();
            return false;
        } catch (ScreenFailure const&) {
            return true;
        }
    }
    /// A connection as a desktop hands it over.
    int connection() const
    {
        int const descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string const path = gnome->runtimeFolder() / "pipewire-0";
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        if (::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("no connection to PipeWire");
        return descriptor;
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
    std::map<std::uint32_t, std::uint32_t> nodes;
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

/// GNOME 43 ends the stream then; the desktop reports that as the end of the grant.
TEST_F(PipewireFramesTest, givesNoPictureOfTheOldShapeWhenTheMonitorTurns)
{
    record();
    streams->setDrawingWanted(true); // As during a recording.
    ASSERT_EQ(sizeOrNothing(), std::pair(1920, 1080));

    gnome->arrange({{.quarters = 1}});

    EXPECT_TRUE(waitFor([&] { return sizeOrNothing() != std::pair(1920, 1080); }));
    EXPECT_TRUE(refuses() || sizeOrNothing() == std::pair(1080, 1920));
}

TEST_F(PipewireFramesTest, failsWhenTheStreamEnds)
{
    record();
    picture();

    gnome->processes().end(recorder, SIGTERM);

    EXPECT_TRUE(waitFor([&] { return refuses(); }));
    streams->setStreams(std::nullopt);
    EXPECT_TRUE(refuses());
}

TEST_F(PipewireFramesTest, usesAConnectionOfTheDesktop)
{
    record();
    EXPECT_EQ(picture().width, 1920);

    for (int at = 0; at < 3; ++at) {
        streams->setStreams(GrantedStreams{.descriptor = connection(), .nodes = nodes});
        EXPECT_EQ(picture().width, 1920);
    }
    streams->setStreams(
        GrantedStreams{.descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC), .nodes = nodes});
    EXPECT_TRUE(refuses());
}

TEST_F(PipewireFramesTest, failsWithoutBurningWhenPipewireEnds)
{
    record();
    picture();

    gnome->processes().end(gnome->pipewire(), SIGKILL);

    EXPECT_TRUE(waitFor([&] { return refuses(); }));
    std::clock_t const used = std::clock();
    auto const begin = std::chrono::steady_clock::now();
    for (int at = 0; at < 10; ++at)
        gnome->isOverviewOpen(); // Another program's work, in which this one has none.
    std::chrono::duration<double> const passed = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(static_cast<double>(std::clock() - used) / CLOCKS_PER_SEC, passed.count() / 2);
}

} // namespace

} // namespace zelvo::test
