#include "desktop/wayland/harness/WaylandSession.h"
#include "desktop/wayland/pipewire/PlayedStream.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/linux/wayland/pipewire/PipewireFrames.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

namespace zelvo::test {
namespace {

using Memory = PlayedStream::Memory;

constexpr std::uint32_t color = 0x3366cc;

/// PipeWire and what connects its streams, without a compositor.
class StreamSession final : public WaylandSession {
public:
    StreamSession()
    {
        startBus();
        startPipewire();
        adoptEnvironment();
    }
};

class CardFramesTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (auto const missing = missingProgram({{"pipewire", "pipewire"}, {"wireplumber", "wireplumber"}}))
            GTEST_SKIP() << *missing;
        session.emplace();
    }
    void TearDown() override
    {
        frames.reset();
        settle(io);
        sender.reset();
    }

    void receive(std::vector<Memory> offered, bool isCut = false)
    {
        sender.emplace(PlayedStream::Options{.offered = std::move(offered), .color = color, .isCut = isCut});
        frames.emplace(contextsOn(io), clock);
        frames->setStreams(GrantedStreams{.nodes = {{1, sender->node()}}});
    }
    Picture picture() { return runToEnd(io, frames->everything(1)); }
    /// Whether each pixel has the color.
    static bool isPainted(Picture const& picture)
    {
        for (int at = 0; at < picture.width * picture.height; ++at) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, picture.pixels.data() + std::size_t{4} * static_cast<std::size_t>(at), 4);
            if ((pixel & 0xffffff) != color)
                return false;
        }
        return picture.width == PlayedStream::width && picture.height == PlayedStream::height;
    }

    asio::io_context io;
    ManualClock clock{&io};
    std::optional<StreamSession> session;
    std::optional<PlayedStream> sender;
    std::optional<PipewireFrames> frames;
};

TEST_F(CardFramesTest, readsTheMemoryOfAGraphicsCardWhereThereIsNoOther)
{
    receive({Memory::card});

    EXPECT_TRUE(isPainted(picture()));
    EXPECT_TRUE(isPainted(picture()));
    EXPECT_GT(sender->buffers(Memory::card), 0);
}

TEST_F(CardFramesTest, prefersSharedMemory)
{
    receive({Memory::card, Memory::shared});

    EXPECT_TRUE(isPainted(picture()));
    EXPECT_EQ(sender->buffers(Memory::card), 0);
}

TEST_F(CardFramesTest, takesNothingFromMemoryThatIsSmallerThanAPicture)
{
    for (Memory const memory : {Memory::card, Memory::shared}) {
        receive({memory}, true);
        std::future<Picture> failing = asio::co_spawn(io, frames->everything(1), asio::use_future);
        runUntil(io, [this] { return sender->frames() > 3; });
        clock.advance(3s);
        EXPECT_THROW(failing.get(), ScreenFailure);
        TearDown();
    }
}

} // namespace
} // namespace zelvo::test
