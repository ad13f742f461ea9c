#include "ZelvoGateway/base/RateLimiter.h"

#include "ZelvoGateway/base/NamedUses.h"
#include "gateway/support/SteppedClock.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

class RateLimiterTest : public testing::Test {
protected:
    /// How many of `tries` pass.
    int passed(std::string const& name, int tries, std::size_t max)
    {
        int count = 0;
        for (int i = 0; i < tries; ++i)
            count += limiter.take(name, max, 1s) ? 0 : 1;
        return count;
    }

    SteppedClock clock;
    RateLimiter limiter{clock, 3};
};

TEST_F(RateLimiterTest, letsABurstPassAndThenTheRate)
{
    EXPECT_EQ(passed("a", 100, 10), 10);
    clock.advance(500ms);
    EXPECT_EQ(passed("a", 100, 10), 5);
    clock.advance(1h);
    EXPECT_EQ(passed("a", 100, 10), 10);
}

TEST_F(RateLimiterTest, saysHowLongToWait)
{
    passed("a", 10, 10);

    auto const wait = limiter.take("a", 10, 1s);

    ASSERT_TRUE(wait);
    EXPECT_EQ(*wait, 100ms);
    clock.advance(*wait);
    EXPECT_FALSE(limiter.take("a", 10, 1s));
    EXPECT_TRUE(limiter.take("a", 10, 1s));
}

TEST_F(RateLimiterTest, countsNamesApart)
{
    EXPECT_EQ(passed("a", 100, 10), 10);
    EXPECT_EQ(passed("b", 100, 10), 10);
}

TEST_F(RateLimiterTest, hasNoLimitAtZero)
{
    EXPECT_EQ(passed("a", 1000, 0), 1000);
    EXPECT_EQ(limiter.names(), 0U);
}

TEST_F(RateLimiterTest, countsAnAmount)
{
    EXPECT_FALSE(limiter.take("a", 1000, 1s, 900));
    EXPECT_TRUE(limiter.take("a", 1000, 1s, 101));
    EXPECT_FALSE(limiter.take("a", 1000, 1s, 100));
}

TEST_F(RateLimiterTest, keepsABoundedNumberOfNamesAndRefusesNoStranger)
{
    for (std::string const name : {"a", "b", "c", "d"})
        EXPECT_EQ(passed(name, 100, 10), name == "d" ? 100 : 10);
    EXPECT_EQ(limiter.names(), 3U);
    EXPECT_EQ(passed("a", 1, 10), 0); // Who is known stays known.

    clock.advance(2s);

    EXPECT_EQ(passed("d", 100, 10), 10);
    EXPECT_EQ(limiter.names(), 1U);
}

TEST(NamedUses, boundWhatANameHasAtOneTime)
{
    NamedUses uses;
    auto first = uses.take("a", 2);
    auto const second = uses.take("a", 2);
    EXPECT_TRUE(first && second);
    EXPECT_FALSE(uses.take("a", 2));
    EXPECT_TRUE(uses.take("b", 2));
    EXPECT_TRUE(uses.take("a", 0));

    first.reset();

    EXPECT_TRUE(uses.take("a", 2));
}

TEST(NamedUses, outliveTheirCounts)
{
    NamedUses::Lease lease;
    {
        NamedUses uses;
        lease = uses.take("a", 1);
    }
    EXPECT_TRUE(lease);
}

} // namespace
} // namespace zelvo::service
