#pragma once

#include "base/Clock.h"

#include <cstdint>

namespace zelvo {

/// The unit of time in a video; milliseconds and eighths of a second are whole numbers of ticks.
constexpr int videoTicksPerSecond = 90'000;

/// In video ticks; a frame that follows sooner is delayed.
constexpr std::int64_t shortestFrame = 2;
/// In video ticks, an hour; longer still pictures are written again. Containers store a frame's length in 31
/// bits, which is six and a half hours.
constexpr std::int64_t maxFrame = std::int64_t{3600} * videoTicksPerSecond;

/// Rounded to the nearest.
inline std::int64_t videoTicks(Duration time)
{
    constexpr std::int64_t unit = 100'000; // The nanoseconds of 9 ticks.
    std::int64_t const whole = time.count() / unit;
    std::int64_t const rest = time.count() % unit;
    return whole * 9 + (rest * 9 + (rest < 0 ? -unit / 2 : unit / 2)) / unit;
}

} // namespace zelvo
