#include "soak/MemoryTrend.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace zelvo::test {
namespace {

constexpr double start = 30000;
constexpr double limit = 1024;

/// One sample a second from 0 to 599.
std::vector<MemorySample> samplesOf(std::function<double(int second)> const& kib)
{
    std::vector<MemorySample> samples;
    for (int second = 0; second < 600; ++second)
        samples.push_back({static_cast<double>(second), kib(second)});
    return samples;
}

MemoryTrend afterFirstThird(std::function<double(int second)> const& kib)
{
    return memoryTrend(samplesOf(kib), 200, 600);
}

TEST(MemoryTrend, isFlatWhenOnlyTheFirstThirdGrows)
{
    auto const trend = afterFirstThird([](int second) { return start + 50.0 * std::min(second, 200); });

    EXPECT_EQ(trend.rise, 0);
    EXPECT_EQ(trend.drift, 0);
    EXPECT_TRUE(isFlat(trend, limit));
}

TEST(MemoryTrend, seesASteadyLine)
{
    auto const trend = afterFirstThird([](int second) { return start + 5.0 * second; });

    EXPECT_EQ(trend.rise, 1750); // From the middle of the first window to the middle of the last.
    EXPECT_EQ(trend.drift, 1750);
    EXPECT_FALSE(isFlat(trend, limit));
}

TEST(MemoryTrend, seesALineInNoise)
{
    auto const trend = afterFirstThird([](int second) { return start + 5.0 * second + second % 10 * 200.0; });

    EXPECT_NEAR(trend.drift, 1750, 50);
    EXPECT_FALSE(isFlat(trend, limit));
}

TEST(MemoryTrend, overlooksPeaks)
{
    auto const trend = afterFirstThird([](int second) { return second % 3 ? start : start + 8000; });

    EXPECT_TRUE(isFlat(trend, limit));
}

TEST(MemoryTrend, seesALineThatADipHides)
{
    auto const trend =
        afterFirstThird([](int second) { return second < 550 ? start + 5.0 * second : start + 1000; });

    EXPECT_LT(trend.rise, limit);
    EXPECT_FALSE(isFlat(trend, limit));
}

TEST(MemoryTrend, toleratesASmallStepButNotThree)
{
    auto const steps = [](int count) {
        return
            [count](int second) { return start + 600.0 * std::min(count, std::max(0, second - 200) / 100); };
    };

    EXPECT_TRUE(isFlat(afterFirstThird(steps(1)), limit));
    EXPECT_FALSE(isFlat(afterFirstThird(steps(3)), limit));
}

TEST(MemoryTrend, refusesAGap)
{
    std::vector<MemorySample> const samples{{0, start}, {599, start}};

    EXPECT_THROW(memoryTrend(samples, 200, 600), std::runtime_error);
}

} // namespace
} // namespace zelvo::test
