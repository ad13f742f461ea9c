#pragma once

#include "base/Clock.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace zelvo {

/// When a process started, since the start of the machine, cut to the system's clock ticks (10 ms as a rule);
/// nothing without such a process. Reads /proc.
std::optional<std::chrono::nanoseconds> startOfProcess(std::int32_t pid);
/// The same clock now; it goes on in suspend.
std::chrono::nanoseconds sinceBoot();
/// When a process started, by the calendar. It stays the same until somebody sets the clock.
std::optional<Date> startDateOfProcess(std::int32_t pid);

/// What a process is about.
struct ProcessActivity {
    bool isAtRest = false;            ///< its first thread neither runs nor waits for a processor or a disk
    std::chrono::milliseconds used{}; ///< processor time so far, to the system's clock ticks
};
/// Nothing without such a process. Reads /proc.
std::optional<ProcessActivity> activityOfProcess(std::int32_t pid);

} // namespace zelvo
