#pragma once

#include <span>
#include <vector>

namespace zelvo::test {

struct MemorySample {
    double seconds = 0; ///< since the start
    double kib = 0;
};

/// How the memory of a process develops. The time is cut into equal windows, and each counts by its median,
/// so that a picture or a tree that is being made does not matter.
struct MemoryTrend {
    std::vector<double> windows; ///< medians in KiB, in the order of time
    /// The last window over the first, in KiB.
    double rise = 0;
    /// The median slope between any two windows, times the length, in KiB. It sees a line that a dip at the
    /// end hides from `rise`.
    double drift = 0;
};

/// Samples between the two times, which are seconds. Throws std::runtime_error if a window has no sample.
MemoryTrend memoryTrend(std::span<MemorySample const> samples, double from, double until);

/// True if it grows by no more than that, neither from the first window to the last nor by its slope.
bool isFlat(MemoryTrend const& trend, double limitKib);

} // namespace zelvo::test
