#include "desktop/wayland/harness/WaylandSession.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/linux/wayland/pipewire/PipewireFrames.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <sstream>

namespace zelvo::test {
namespace {

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
    }

    /// memories  what the sender offers, "card" or "shared"
    void receive(std::vector<std::string> const& memories, std::string const& size = "whole")
    {
        std::vector<std::string> command = {ZELVO_STREAM_SENDER, "3366cc", size};
        command.insert(command.end(), memories.begin(), memories.end());
        sender = session->start(command);
        require("a node", [&] { return said("node ") > 0; });
        std::string const output = session->processes().output(sender);
        auto const node = static_cast<std::uint32_t>(std::stoul(output.substr(output.find("node ") + 5)));
        frames.emplace(contextsOn(io), clock);
        frames->setStreams(GrantedStreams{.nodes = {{1, node}}});
    }
    /// How many lines of the sender begin so.
    long said(std::string const& word)
    {
        std::istringstream lines(session->processes().output(sender));
        long count = 0;
        for (std::string line; std::getline(lines, line);)
            count += line.starts_with(word);
        return count;
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
        return picture.width == 640 && picture.height == 480;
    }

    asio::io_context io;
    ManualClock clock{&io};
    std::optional<StreamSession> session;
    pid_t sender = 0;
    std::optional<PipewireFrames> frames;
};

TEST_F(CardFramesTest, readsTheMemoryOfAGraphicsCardWhereThereIsNoOther)
{
    receive({"card"});

    EXPECT_TRUE(isPainted(picture()));
    EXPECT_TRUE(isPainted(picture()));
    EXPECT_GT(said("card"), 0);
}

TEST_F(CardFramesTest, prefersSharedMemory)
{
    receive({"card", "shared"});

    EXPECT_TRUE(isPainted(picture()));
    EXPECT_EQ(said("card"), 0);
}

TEST_F(CardFramesTest, takesNothingFromMemoryThatIsSmallerThanAPicture)
{
    for (char const* const memory : {"card", "shared"}) {
        receive({memory}, "cut");
        std::future<Picture> failing = asio::co_spawn(io, frames->everything(1), asio::use_future);
        runUntil(io, [this] { return said("frame") > 3; });
        clock.advance(3s);
        EXPECT_THROW(failing.get(), ScreenFailure);
        TearDown();
    }
}

} // namespace
} // namespace zelvo::test
