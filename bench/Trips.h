#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace zelvo {

/// The times of round trips, in microseconds.
class Trips {
public:
    template <class Work>
    void measure(Work const& work)
    {
        auto const start = std::chrono::steady_clock::now();
        work();
        std::chrono::duration<double, std::micro> const taken = std::chrono::steady_clock::now() - start;
        all.push_back(taken.count());
    }
    /// part   0.5 for the median
    double percentile(double part) const
    {
        if (all.empty())
            throw std::out_of_range("not measured"); // As RatioTable expects of what was filtered out.
        auto const place = static_cast<std::size_t>(part * static_cast<double>(all.size() - 1));
        std::vector<double> sorted = all;
        std::ranges::nth_element(sorted, sorted.begin() + static_cast<std::ptrdiff_t>(place));
        return sorted[place];
    }

private:
    std::vector<double> all;
};

} // namespace zelvo
