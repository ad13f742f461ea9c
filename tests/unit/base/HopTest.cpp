#include "base/Hop.h"

#include "fakes/Run.h"

#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

#include <thread>

namespace zelvo {

namespace {

/// Two executors with one thread each, so that tests can check where something runs.
class Hopping : public testing::Test {
protected:
    template <class T>
    T run(Task<T> task)
    {
        return runBlocking(home.get_executor(), std::move(task));
    }

    asio::thread_pool home{1};
    asio::thread_pool away{1};
};

TEST_F(Hopping, runsThereAndResumesHere)
{
    auto body = [this]() -> Task<> {
        auto const here = std::this_thread::get_id();
        std::thread::id there;
        co_await on(away.get_executor(), [&] { there = std::this_thread::get_id(); });
        EXPECT_NE(there, here);
        EXPECT_EQ(std::this_thread::get_id(), here);
        auto const again = co_await on(away.get_executor(), [] { return std::this_thread::get_id(); });
        EXPECT_EQ(again, there);
        EXPECT_EQ(std::this_thread::get_id(), here);
    };
    run(body());
}

TEST_F(Hopping, bringsBackFailures)
{
    auto body = [this]() -> Task<std::string> {
        std::string told;
        auto const here = std::this_thread::get_id();
        try {
            co_await on(away.get_executor(), [] { throw std::runtime_error("one"); });
        } catch (std::runtime_error const& error) {
            told += error.what();
        }
        try {
            co_await on(away.get_executor(), []() -> int { throw std::runtime_error("two"); });
        } catch (std::runtime_error const& error) {
            told += error.what();
        }
        EXPECT_EQ(std::this_thread::get_id(), here);
        co_return told;
    };
    EXPECT_EQ(run(body()), "onetwo");
}

TEST_F(Hopping, movesResultsThatCannotBeCopied)
{
    auto body = [this]() -> Task<int> {
        auto const made = co_await on(away.get_executor(), [] { return std::make_unique<int>(5); });
        co_return *made;
    };
    EXPECT_EQ(run(body()), 5);
}

TEST_F(Hopping, aCoroutineRunsOnTheStrandAndItsCallerResumesHere)
{
    auto const strand = asio::make_strand(away);
    auto body = [&]() -> Task<> {
        auto const here = std::this_thread::get_id();
        auto work = [&]() -> Task<bool> {
            bool const inside = strand.running_in_this_thread();
            co_await asio::post(co_await asio::this_coro::executor, asio::use_awaitable);
            co_return inside&& strand.running_in_this_thread() && std::this_thread::get_id() != here;
        };
        bool const wasThere = co_await runOn(strand, work);
        EXPECT_TRUE(wasThere);
        EXPECT_EQ(std::this_thread::get_id(), here);
    };
    run(body());
}

TEST_F(Hopping, worksWhenBothPlacesAreOne)
{
    asio::io_context io;
    auto body = [&]() -> Task<int> {
        co_await on(io.get_executor(), [] {});
        co_return co_await on(io.get_executor(), [] { return 3; });
    };
    EXPECT_EQ(zelvo::run(io, body()), 3);
}

} // namespace

} // namespace zelvo
