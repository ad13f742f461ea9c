#include "base/Clock.h"

#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <boost/asio/this_coro.hpp>
#include <gtest/gtest.h>

namespace zelvo {

namespace {

class Sleeping : public testing::Test {
protected:
    TaskHandle start(std::function<Task<>()> body) { return spawn(io.get_executor(), std::move(body)); }

    asio::io_context io;
    ManualClock clock{&io};
    std::vector<std::string> happened;
};

TEST_F(Sleeping, wakesWhenItIsDueAndNotBefore)
{
    start([this]() -> Task<> {
        co_await clock.sleep(10s);
        happened.emplace_back("awake");
    });

    clock.advance(10s - 1ns);
    EXPECT_TRUE(happened.empty());
    clock.advance(1ns);
    EXPECT_EQ(happened, std::vector<std::string>{"awake"});
}

TEST_F(Sleeping, forNoTimeOrAPastMomentEndsWithTheNextLook)
{
    start([this]() -> Task<> {
        co_await clock.sleep(0s);
        co_await clock.sleepUntil(clock.now() - 1h);
        happened.emplace_back("awake");
    });

    clock.advance(0s);

    EXPECT_EQ(happened, std::vector<std::string>{"awake"});
}

TEST_F(Sleeping, cancelledFailsWithOperationAborted)
{
    TaskHandle task = start([this]() -> Task<> {
        try {
            co_await clock.sleep(10s);
        } catch (boost::system::system_error const& error) {
            happened.emplace_back(error.code() == asio::error::operation_aborted ? "aborted" : "other");
        }
    });
    settle(io);

    task.cancel();
    settle(io);

    EXPECT_EQ(happened, std::vector<std::string>{"aborted"});
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(Sleeping, throughACancelEndsEarlyAndTheTaskContinues)
{
    TaskHandle task = start([this]() -> Task<> {
        co_await clock.sleepThroughCancel(10s);
        happened.emplace_back("early");
        co_await clock.sleep(1s); // The cancellation no longer applies.
        happened.emplace_back("later");
    });
    settle(io);

    task.cancel();
    settle(io);
    EXPECT_EQ(happened, std::vector<std::string>{"early"});
    clock.advance(1s);
    EXPECT_EQ(happened, (std::vector<std::string>{"early", "later"}));
}

TEST_F(Sleeping, periodicTasksComeInTheOrderOfTime)
{
    for (int const period : {2, 3})
        start([this, period]() -> Task<> {
            for (int times = 0; times < 3; ++times) {
                co_await clock.sleep(std::chrono::seconds(period));
                happened.push_back(std::to_string(period));
            }
        });

    clock.advance(100s);

    EXPECT_EQ(happened,
              (std::vector<std::string>{"2", "3", "2", "3", "2", "3"})); // At 6 s the one that slept first.
}

} // namespace

} // namespace zelvo
