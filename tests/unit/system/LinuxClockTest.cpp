#include "platform/linux/system/LinuxClock.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <thread>

namespace zelvo {

namespace {

TEST(LinuxClock, returnsTheTimeOfTheMachine)
{
    asio::io_context io;
    LinuxClock const clock(io.get_executor());
    timespec before{};
    ::clock_gettime(CLOCK_BOOTTIME, &before);

    auto const now = clock.now().time_since_epoch();

    EXPECT_GE(now, std::chrono::seconds(before.tv_sec));
    EXPECT_LT(now, std::chrono::seconds(before.tv_sec + 10));
    EXPECT_LT(std::chrono::abs(clock.date() - std::chrono::system_clock::now()), 10s);
}

TEST(LinuxClock, wakesSleepersInOrderAndNotEarly)
{
    asio::io_context io;
    LinuxClock clock(io.get_executor());
    Instant const start = clock.now();
    std::vector<int> woken;
    std::vector<Duration> waited;
    for (int const ms : {6, 2, 4, 0})
        spawn(io.get_executor(), [&, ms]() -> Task<> {
            co_await clock.sleep(std::chrono::milliseconds(ms));
            woken.push_back(ms);
            waited.push_back(clock.now() - start);
            if (woken.size() == 4)
                io.stop();
        });

    io.run();

    EXPECT_EQ(woken, (std::vector<int>{0, 2, 4, 6}));
    for (std::size_t at = 0; at < woken.size(); ++at)
        EXPECT_GE(waited[at], std::chrono::milliseconds(woken[at]));
}

TEST(LinuxClock, servesSleepersOfOtherThreads)
{
    asio::io_context io;
    auto work = asio::make_work_guard(io);
    LinuxClock clock(io.get_executor());
    std::thread agent([&] { io.run(); });
    asio::thread_pool pool(3);
    std::atomic<int> woken = 0;
    for (int sleeper = 0; sleeper < 300; ++sleeper)
        spawn(pool.get_executor(), [&, sleeper]() -> Task<> {
            for (int times = 0; times < 3; ++times)
                co_await clock.sleep(std::chrono::microseconds(sleeper * 37 % 5000));
            ++woken;
        });

    pool.join();

    EXPECT_EQ(woken, 300);
    work.reset();
    io.stop();
    agent.join();
}

TEST(LinuxClock, endsACancelledSleep)
{
    asio::io_context io;
    LinuxClock clock(io.get_executor());
    bool ended = false;
    TaskHandle sleeper = spawn(io.get_executor(), [&]() -> Task<> {
        co_await clock.sleepThroughCancel(1h);
        ended = true;
        io.stop();
    });
    io.poll();

    sleeper.cancel();
    io.restart();
    io.run();

    EXPECT_TRUE(ended);
}

TEST(LinuxClock, canGoWhileSomebodySleeps)
{
    asio::io_context io;
    {
        LinuxClock clock(io.get_executor());
        spawn(io.get_executor(), [&]() -> Task<> { co_await clock.sleep(1h); });
        io.poll();
    }
    io.restart();
    io.poll();
}

} // namespace

} // namespace zelvo
