#include "base/SleepQueue.h"

#include "fakes/Run.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zelvo {

namespace {

constexpr Instant at(int moment)
{
    return Instant(std::chrono::seconds(moment));
}

TEST(SleepQueue, reportsANewEarliestTime)
{
    asio::io_context io;
    int changes = 0;
    SleepQueue queue([&] { ++changes; });
    auto const wait = [&](int moment) {
        queue.wait(at(moment), asio::bind_executor(io, [](boost::system::error_code) {}));
    };

    EXPECT_EQ(queue.earliest(), std::nullopt);
    wait(5);
    EXPECT_EQ(changes, 1);
    wait(7);
    EXPECT_EQ(changes, 1);
    wait(3);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(queue.earliest(), at(3));
    EXPECT_EQ(queue.size(), 3u);
}

TEST(SleepQueue, dropsItsSleepersWithoutWakingThem)
{
    asio::io_context io;
    SleepQueue queue;
    bool woken = false;
    auto held = std::make_shared<int>();
    std::weak_ptr<int> const seen = held;
    auto sleeper = [&woken, held = std::move(held)](boost::system::error_code) { woken = true; };
    queue.wait(at(1), asio::bind_executor(io, std::move(sleeper)));

    queue.drop();
    EXPECT_TRUE(seen.expired());
    EXPECT_EQ(queue.size(), 0u);
    queue.wakeDue(at(2));
    settle(io);

    EXPECT_FALSE(woken);
}

TEST(SleepQueue, wakesInOrderOnTheSleepersExecutor)
{
    asio::io_context io;
    SleepQueue queue;
    std::vector<int> woken;
    for (int const moment : {3, 1, 2, 2})
        queue.wait(at(moment), asio::bind_executor(io, [&, moment](boost::system::error_code error) {
                       EXPECT_FALSE(error);
                       woken.push_back(moment);
                   }));

    queue.wakeDue(at(2));
    EXPECT_TRUE(woken.empty()); // Sleepers do not run inside wakeDue().
    settle(io);

    EXPECT_EQ(woken, (std::vector<int>{1, 2, 2}));
    EXPECT_EQ(queue.earliest(), at(3));
}

TEST(SleepQueue, aCancelThatComesTooLateDoesNothing)
{
    asio::io_context io;
    SleepQueue queue;
    asio::cancellation_signal signal;
    std::vector<boost::system::error_code> ends;
    queue.wait(at(1), asio::bind_cancellation_slot(
                          signal.slot(), asio::bind_executor(io, [&](boost::system::error_code error) {
                              ends.push_back(error);
                          })));

    queue.wakeDue(at(1));
    signal.emit(asio::cancellation_type::terminal);
    settle(io);
    signal.emit(asio::cancellation_type::terminal);

    EXPECT_EQ(ends, std::vector<boost::system::error_code>(1));
}

TEST(SleepQueue, canGoBeforeACancel)
{
    asio::io_context io;
    asio::cancellation_signal signal;
    int ends = 0;
    {
        SleepQueue queue;
        queue.wait(at(1),
                   asio::bind_cancellation_slot(
                       signal.slot(), asio::bind_executor(io, [&](boost::system::error_code) { ++ends; })));
    }
    signal.emit(asio::cancellation_type::terminal);
    settle(io);

    EXPECT_EQ(ends, 0);
}

TEST(SleepQueue, wakesEachSleeperOfManyThreadsOnce)
{
    asio::thread_pool pool(2);
    SleepQueue queue;
    std::atomic<int> woken = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int number = 0; number < 500; ++number) {
                queue.wait(at(number % 7 + thread),
                           asio::bind_executor(pool, [&](boost::system::error_code) { ++woken; }));
                if (number % 50 == 0)
                    queue.wakeDue(at(number % 5));
            }
        });
    for (auto& thread : threads)
        thread.join();
    queue.wakeDue(at(100));
    pool.join();

    EXPECT_EQ(woken, 2000);
    EXPECT_EQ(queue.size(), 0u);
}

} // namespace

} // namespace zelvo
