#include "base/Task.h"

#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>
#include <gtest/gtest.h>

namespace zelvo {

namespace {

TEST(TaskHandle, ofNothingCanBeCancelled)
{
    TaskHandle handle;
    EXPECT_FALSE(handle);
    handle.cancel();
}

TEST(TaskHandle, lettingGoDoesNotStopTheTask)
{
    asio::io_context io;
    ManualClock clock(&io);
    bool ended = false;
    spawn(io.get_executor(), [&]() -> Task<> {
        co_await clock.sleep(1s);
        ended = true;
    });

    clock.advance(1s);

    EXPECT_TRUE(ended);
}

TEST(TaskHandle, cancelAfterTheEndIsHarmless)
{
    asio::io_context io;
    TaskHandle handle = spawn(io.get_executor(), []() -> Task<> { co_return; });
    settle(io);

    EXPECT_TRUE(handle);
    handle.cancel();
    handle.cancel();
    settle(io);
}

TEST(TaskHandle, cancelJustBeforeTheEndThrowsNowhere)
{
    asio::io_context io;
    TaskHandle handle;
    handle = spawn(io.get_executor(), [&]() -> Task<> {
        handle.cancel();
        co_return;
    });

    EXPECT_NO_THROW(settle(io));
}

TEST(TaskHandle, cancelReachesATaskThatWaitsForAnother)
{
    asio::io_context io;
    ManualClock clock(&io);
    std::vector<std::string> happened;
    auto inner = [&]() -> Task<> {
        try {
            co_await clock.sleep(1h);
        } catch (boost::system::system_error const&) {
            happened.emplace_back("inner");
            throw;
        }
    };
    TaskHandle handle = spawn(io.get_executor(), [&]() -> Task<> {
        try {
            co_await inner();
        } catch (boost::system::system_error const&) {
            happened.emplace_back("outer");
            throw;
        }
    });
    settle(io);

    handle.cancel();
    settle(io);

    EXPECT_EQ(happened, (std::vector<std::string>{"inner", "outer"}));
}

TEST(TaskHandle, whatTheBodyHoldsLivesAsLongAsTheTask)
{
    asio::io_context io;
    ManualClock clock(&io);
    auto held = std::make_shared<int>(1);
    std::weak_ptr<int> const seen = held;
    spawn(io.get_executor(), [held = std::move(held), &clock]() -> Task<> { co_await clock.sleep(1s); });

    settle(io);
    EXPECT_FALSE(seen.expired());
    clock.advance(1s);
    EXPECT_TRUE(seen.expired());
}

TEST(TaskHandle, aFailureIsSaidOnStandardErrorAndGoesNoFurther)
{
    asio::io_context io;
    testing::internal::CaptureStderr();

    spawn(io.get_executor(), []() -> Task<> {
        throw std::runtime_error("broken");
        co_return;
    });
    settle(io);

    EXPECT_NE(testing::internal::GetCapturedStderr().find("broken"), std::string::npos);
}

TEST(TaskHandle, aFailureOfAnyTypeGoesNoFurther)
{
    struct PlainFailure {};
    asio::io_context io;
    testing::internal::CaptureStderr();

    spawn(io.get_executor(), []() -> Task<> {
        throw PlainFailure();
        co_return;
    });
    EXPECT_NO_THROW(settle(io));

    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST(TaskHandle, aCancelledTaskIsNoFailure)
{
    asio::io_context io;
    ManualClock clock(&io);
    testing::internal::CaptureStderr();

    TaskHandle handle = spawn(io.get_executor(), [&]() -> Task<> { co_await clock.sleep(1s); });
    settle(io);
    handle.cancel();
    settle(io);

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(TaskHandle, cancelFromAnotherThreadEndsTheWait)
{
    asio::thread_pool pool(2);
    ManualClock clock;
    std::vector<TaskHandle> handles;
    std::atomic<int> ended = 0;
    for (int number = 0; number < 200; ++number)
        handles.push_back(spawn(asio::make_strand(pool), [&]() -> Task<> {
            co_await clock.sleepThroughCancel(1h);
            ++ended;
        }));
    while (clock.sleeperCount() < 200)
        std::this_thread::yield();

    for (TaskHandle& handle : handles)
        handle.cancel();
    pool.join();

    EXPECT_EQ(ended, 200);
}

} // namespace

} // namespace zelvo
