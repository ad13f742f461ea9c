#include "soak/MemoryTrend.h"

#include <algorithm>
#include <stdexcept>

namespace zelvo::test {

namespace {

constexpr std::size_t windowCount = 8;

double median(std::vector<double> values)
{
    if (values.empty())
        throw std::runtime_error("a window without a sample");
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

double medianSlope(std::vector<double> const& windows)
{
    std::vector<double> slopes;
    for (std::size_t i = 0; i < windows.size(); ++i)
        for (std::size_t k = i + 1; k < windows.size(); ++k)
            slopes.push_back((windows[k] - windows[i]) / static_cast<double>(k - i));
    return median(std::move(slopes));
}

} // namespace

MemoryTrend memoryTrend(std::span<MemorySample const> samples, double from, double until)
{
    std::vector<std::vector<double>> perWindow(windowCount);
    for (MemorySample const& sample : samples)
        if (sample.seconds >= from && sample.seconds < until)
            perWindow[static_cast<std::size_t>((sample.seconds - from) / (until - from) * windowCount)]
                .push_back(sample.kib);
    MemoryTrend trend;
    for (auto& values : perWindow)
        trend.windows.push_back(median(std::move(values)));
    trend.rise = trend.windows.back() - trend.windows.front();
    trend.drift = medianSlope(trend.windows) * (windowCount - 1);
    return trend;
}

bool isFlat(MemoryTrend const& trend, double limitKib)
{
    return trend.rise <= limitKib && trend.drift <= limitKib;
}

} // namespace zelvo::test
