#include "platform/linux/x11/capture/SharedImagePool.h"

#include "desktop/x11/CaptureDesktop.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>

namespace zelvo::test {
namespace {

constexpr std::size_t screenful = std::size_t{1920} * 1080 * 4;

/// The System V shared memory segments that this process created and that still exist, and their bytes.
struct Segments {
    std::size_t count = 0;
    std::size_t bytes = 0;

    static Segments ofThisProcess()
    {
        std::ifstream list("/proc/sysvipc/shm");
        std::string line;
        std::getline(list, line);
        Segments found;
        for (long key = 0, id = 0, mode = 0, size = 0, maker = 0;
             list >> key >> id >> std::oct >> mode >> std::dec >> size >> maker; std::getline(list, line))
            if (maker == ::getpid()) {
                ++found.count;
                found.bytes += static_cast<std::size_t>(size);
            }
        return found;
    }
};

std::size_t waitForSegments(std::size_t count)
{
    waitFor([&] { return Segments::ofThisProcess().count == count; }, 2s);
    return Segments::ofThisProcess().count;
}

class Lending : public testing::Test {
protected:
    Lending()
    {
        desktop.adoptEnvironment();
        connection = X11Connection::open();
        pool = std::make_shared<SharedImagePool>(connection);
    }

    PrivateDesktop desktop{{.windowManager = false, .sessionBus = false}};
    std::shared_ptr<X11Connection> connection;
    std::shared_ptr<SharedImagePool> pool;
};

TEST_F(Lending, givesTheSameMemoryAgainOnceItIsBack)
{
    auto first = pool->lend(screenful);
    ASSERT_TRUE(first);
    auto const* const memory = first->data();
    auto const segment = first->segment();
    first.reset();

    auto const again = pool->lend(screenful / 2);

    EXPECT_EQ(again->data(), memory);
    EXPECT_EQ(again->segment(), segment);
    EXPECT_EQ(Segments::ofThisProcess().count, 1u);
}

TEST_F(Lending, neverGivesMemoryThatIsStillLent)
{
    auto const first = pool->lend(screenful);
    auto const second = pool->lend(screenful);
    std::vector const holders(2, first); // Lent as long as anybody holds it.

    EXPECT_NE(first->segment(), second->segment());
    EXPECT_TRUE(second->data() >= first->data() + screenful || first->data() >= second->data() + screenful);
    EXPECT_EQ(Segments::ofThisProcess().count, 2u);
}

TEST_F(Lending, keepsOnePieceOnly)
{
    auto first = pool->lend(screenful);
    auto second = pool->lend(screenful);
    auto third = pool->lend(screenful);
    first.reset();
    second.reset();
    third.reset();

    EXPECT_EQ(waitForSegments(1), 1u);
}

TEST_F(Lending, growsWhatItKeeps)
{
    pool->lend(1000).reset();
    auto large = pool->lend(screenful);
    large->data()[screenful - 1] = 7;
    EXPECT_EQ(Segments::ofThisProcess().bytes, screenful);
    large.reset();
    EXPECT_EQ(waitForSegments(1), 1u);
}

TEST_F(Lending, outlivesThePool)
{
    auto const lent = pool->lend(1000);
    lent->data()[999] = 7;
    pool.reset();
    connection.reset();

    EXPECT_EQ(lent->data()[999], 7);
}

TEST_F(Lending, takesMemoryBackOnAnyThread)
{
    for (int i = 0; i < 200; ++i) {
        auto first = pool->lend(4000);
        auto second = pool->lend(4000);
        std::thread elsewhere([lent = std::move(first)]() mutable { lent.reset(); });
        second.reset();
        elsewhere.join();
    }
    EXPECT_EQ(waitForSegments(1), 1u);
}

TEST_F(Lending, leavesNothingBehind)
{
    pool->lend(screenful).reset();
    EXPECT_EQ(waitForSegments(1), 1u);
    pool.reset();
    connection->sync();
    EXPECT_EQ(waitForSegments(0), 0u);
}

TEST(LentPictures, thatLiveTogetherShareNoMemory)
{
    CaptureDesktop stage({.windowManager = false, .sessionBus = false});
    Painter painter(stage.desktop.display());
    painter.movePointer(1900, 1060);
    painter.paintRoot(0x112233);
    Picture const first = stage.take();
    painter.paintRoot(0x445566);
    Picture const second = stage.take();
    painter.paintRoot(0x778899);
    Picture const third = stage.take();

    EXPECT_EQ(colorAt(first, 10, 10), 0x112233u);
    EXPECT_EQ(colorAt(second, 10, 10), 0x445566u);
    EXPECT_EQ(colorAt(third, 10, 10), 0x778899u);
    EXPECT_EQ(Segments::ofThisProcess().count, 3u);
}

TEST(LentPictures, canBeReadWhenTheirSourceIsGone)
{
    Picture picture;
    {
        CaptureDesktop stage({.windowManager = false, .sessionBus = false});
        Painter painter(stage.desktop.display());
        painter.movePointer(1900, 1060);
        painter.paintRoot(0x112233);
        picture = stage.take();
    } // The X server has ended too.

    EXPECT_GT(countOf(picture, 0x112233), 1920u * 1080 - 1000);
    EXPECT_EQ(Segments::ofThisProcess().count, 1u);
    picture = {};
    EXPECT_EQ(Segments::ofThisProcess().count, 0u);
}

TEST(LentPictures, takeNoMoreMemoryFor200ThanForOne)
{
    CaptureDesktop stage({.sessionBus = false});
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    secret.open({.x = 100, .y = 100, .color = 0xff00aa, .overrideRedirect = true});
    stage.take();
    stage.take({"secret"});
    std::size_t const before = Segments::ofThisProcess().bytes;
    std::size_t most = 0;
    for (int i = 0; i < 100; ++i) {
        Picture const whole = stage.take();
        Picture const small = stage.take({"secret"}, 960, 540);
        most = std::max(most, Segments::ofThisProcess().bytes);
    }

    EXPECT_LE(most, 2 * before + screenful); // Two at a time are alive.
    EXPECT_EQ(waitForSegments(1), 1u);
    EXPECT_LE(Segments::ofThisProcess().bytes, before + screenful);
}

} // namespace
} // namespace zelvo::test
