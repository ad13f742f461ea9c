#include "base/AsyncMutex.h"

#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/use_future.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zelvo {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Tasks on the test's thread that hold the mutex for a second each.
class AsyncMutexTest : public testing::Test {
protected:
    TaskHandle startHolder(std::string name)
    {
        TaskHandle handle = spawn(io.get_executor(), [this, name]() -> Task<> {
            AsyncMutex::Lock const lock = co_await mutex.lock();
            holders.push_back(name);
            co_await clock.sleep(1s);
        });
        settle(io);
        return handle;
    }

    asio::io_context io;
    ManualClock clock{&io};
    AsyncMutex mutex;
    std::vector<std::string> holders;
};

TEST_F(AsyncMutexTest, isTakenWithoutAWaitWhenItIsFree)
{
    AsyncMutex::Lock const lock = run(io, mutex.lock());

    EXPECT_TRUE(lock);
    EXPECT_TRUE(mutex.isLocked());
}

TEST_F(AsyncMutexTest, isFreeOnceItsLockEnds)
{
    {
        AsyncMutex::Lock const lock = run(io, mutex.lock());
    }
    EXPECT_FALSE(mutex.isLocked());

    AsyncMutex::Lock again = run(io, mutex.lock());
    again = AsyncMutex::Lock();
    EXPECT_FALSE(mutex.isLocked());
}

TEST_F(AsyncMutexTest, letsTasksInOneAtATimeInTheirOrder)
{
    startHolder("a");
    startHolder("b");
    startHolder("c");
    EXPECT_THAT(holders, ElementsAre("a"));

    clock.advance(1s);
    EXPECT_THAT(holders, ElementsAre("a", "b"));
    clock.advance(1s);
    EXPECT_THAT(holders, ElementsAre("a", "b", "c"));
    clock.advance(1s);
    EXPECT_FALSE(mutex.isLocked());
}

TEST_F(AsyncMutexTest, goesToTheFirstThatWaitsBeforeAnyoneNew)
{
    std::optional<AsyncMutex::Lock> first = run(io, mutex.lock());
    startHolder("waiting");

    first.reset();
    spawn(io.get_executor(), [this]() -> Task<> {
        AsyncMutex::Lock const lock = co_await mutex.lock();
        holders.emplace_back("new");
    });
    EXPECT_TRUE(mutex.isLocked());
    settle(io);

    EXPECT_THAT(holders, ElementsAre("waiting"));
    clock.advance(1s);
    EXPECT_THAT(holders, ElementsAre("waiting", "new"));
}

TEST_F(AsyncMutexTest, isFreeAfterAFailureInside)
{
    auto body = [this]() -> Task<> {
        AsyncMutex::Lock const lock = co_await mutex.lock();
        throw std::runtime_error("inside");
    };

    EXPECT_THROW(run(io, body()), std::runtime_error);

    EXPECT_FALSE(mutex.isLocked());
}

TEST_F(AsyncMutexTest, letsATaskGoThatIsCancelledWhileItWaits)
{
    startHolder("a");
    TaskHandle cancelled = startHolder("b");
    startHolder("c");

    cancelled.cancel();
    settle(io);
    clock.advance(1s);

    EXPECT_THAT(holders, ElementsAre("a", "c"));
    clock.advance(1s);
    EXPECT_FALSE(mutex.isLocked());
}

TEST_F(AsyncMutexTest, isFreeAfterItsHolderIsCancelled)
{
    TaskHandle holder = startHolder("a");
    startHolder("b");

    holder.cancel();
    settle(io);

    EXPECT_THAT(holders, ElementsAre("a", "b"));
}

TEST_F(AsyncMutexTest, isNotLostOnATaskThatIsCancelledJustAsItsTimeHasCome)
{
    std::optional<AsyncMutex::Lock> first = run(io, mutex.lock());
    TaskHandle next = startHolder("next");
    startHolder("last");

    first.reset();
    next.cancel();
    settle(io);
    clock.advance(1s);
    clock.advance(1s);

    EXPECT_THAT(holders, testing::Contains("last"));
    EXPECT_FALSE(mutex.isLocked());
}

TEST_F(AsyncMutexTest, mayEndWhileItIsLockedAndWaitedFor)
{
    auto ended = std::make_unique<AsyncMutex>();
    std::optional<AsyncMutex::Lock> first = run(io, ended->lock());
    spawn(io.get_executor(), [this, &ended]() -> Task<> {
        AsyncMutex::Lock const lock = co_await ended->lock();
        holders.emplace_back("a");
    });
    settle(io);

    ended.reset();
    first.reset();
    settle(io);

    EXPECT_THAT(holders, ElementsAre("a"));
}

TEST_F(AsyncMutexTest, passesOnWhatATaskThatIsDestroyedWasGiven)
{
    std::optional<AsyncMutex::Lock> first = run(io, mutex.lock());
    {
        asio::io_context other;
        spawn(other.get_executor(), [this]() -> Task<> {
            AsyncMutex::Lock const lock = co_await mutex.lock();
            holders.emplace_back("destroyed");
        });
        settle(other);
        first.reset();
    }

    EXPECT_THAT(holders, IsEmpty());
    EXPECT_FALSE(mutex.isLocked());
}

TEST(AsyncMutexThreads, countWithoutLosingAny)
{
    constexpr int tasks = 8;
    constexpr int rounds = 500;
    asio::thread_pool pool{4};
    AsyncMutex mutex;
    int count = 0;
    auto countUp = [&]() -> Task<> {
        auto const executor = co_await asio::this_coro::executor;
        for (int i = 0; i < rounds; ++i) {
            AsyncMutex::Lock const lock = co_await mutex.lock();
            int const before = count;
            co_await asio::post(executor, asio::use_awaitable);
            count = before + 1;
        }
    };

    for (int i = 0; i < tasks; ++i)
        asio::co_spawn(pool, countUp(), asio::detached);
    pool.join();

    EXPECT_EQ(count, tasks * rounds);
    EXPECT_FALSE(mutex.isLocked());
}

TEST(AsyncMutexThreads, resumeEachTaskOnItsOwnExecutor)
{
    asio::thread_pool one{1};
    asio::thread_pool other{1};
    AsyncMutex mutex;
    auto staysAtHome = [&]() -> Task<bool> {
        auto const home = std::this_thread::get_id();
        bool stays = true;
        for (int i = 0; i < 200; ++i) {
            AsyncMutex::Lock const lock = co_await mutex.lock();
            stays &= std::this_thread::get_id() == home;
            co_await asio::post(co_await asio::this_coro::executor, asio::use_awaitable);
        }
        co_return stays;
    };

    auto here = asio::co_spawn(one, staysAtHome(), asio::use_future);
    auto there = asio::co_spawn(other, staysAtHome(), asio::use_future);

    EXPECT_TRUE(here.get());
    EXPECT_TRUE(there.get());
}

TEST(AsyncMutexThreads, keepGoingWhileTasksAreCancelled)
{
    constexpr int rounds = 300;
    asio::thread_pool pool{4};
    AsyncMutex mutex;
    std::atomic<int> inside = 0;
    std::atomic<bool> overlapped = false;
    for (int i = 0; i < rounds; ++i) {
        TaskHandle handle = spawn(asio::make_strand(pool), [&]() -> Task<> {
            AsyncMutex::Lock const lock = co_await mutex.lock();
            if (++inside != 1)
                overlapped = true;
            --inside;
        });
        if (i % 3 == 0)
            handle.cancel();
    }
    pool.join();

    EXPECT_FALSE(overlapped);
    EXPECT_FALSE(mutex.isLocked());
}

} // namespace

} // namespace zelvo
