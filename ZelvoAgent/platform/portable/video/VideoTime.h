#pragma once

#include "base/Clock.h"

#include <cstdint>

namespace zelvo {

/// The unit of time in a video: milliseconds and eighths of a second are whole numbers of it.
constexpr int videoTicksPerSecond = 90'000;

/// In video ticks; of two frames that are closer the second is moved.
constexpr std::int64_t shortestFrame = 2;
/// In video ticks, an hour; what stands still for longer is written once more. Containers keep a frame's
/// length in 31 bits, which are over after six hours and a half.
constexpr std::int64_t maxFrame = std::int64_t{3600} * videoTicksPerSecond;

/// Rounded to the nearest.
inline std::int64_t videoTicks(Duration time)
{
    constexpr std::int64_t unit = 100'000; // 9 ticks are that many nanoseconds.
    std::int64_t const whole = time.count() / unit;
    std::int64_t const rest = time.count() % unit;
    return whole * 9 + (rest * 9 + (rest < 0 ? -unit / 2 : unit / 2)) / unit;
}

} // namespace zelvo
