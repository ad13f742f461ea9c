#include "ZelvoGateway/base/ServerClock.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(ServerClock, wakesItsSleepersInTheirOrder)
{
    asio::io_context io;
    ServerClock clock(io.get_executor());
    std::string order;
    for (int const milliseconds : {20, 5})
        spawn(io.get_executor(), [&, milliseconds]() -> Task<> {
            co_await clock.sleep(std::chrono::milliseconds(milliseconds));
            order += std::to_string(milliseconds) + " ";
        });

    io.run();

    EXPECT_EQ(order, "5 20 ");
}

TEST(ServerClock, keepsNobodyForACancelledSleeper)
{
    asio::io_context io;
    ServerClock clock(io.get_executor());
    TaskHandle sleeper = spawn(io.get_executor(), [&]() -> Task<> { co_await clock.sleep(1h); });
    io.poll();

    sleeper.cancel();
    io.poll(); // It has ended, and the timer is still set.
    ASSERT_FALSE(io.stopped());
    clock.rest();
    io.poll();

    EXPECT_TRUE(io.stopped());
}

} // namespace
} // namespace zelvo::service
