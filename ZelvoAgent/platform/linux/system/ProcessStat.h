#pragma once

#include "base/Clock.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace zelvo {

/// When a process started, measured from the machine's start in clock ticks (usually 10 ms); `nullopt`
/// without such a process. Reads /proc.
std::optional<std::chrono::nanoseconds> startOfProcess(std::int32_t pid);
/// The same clock now; it continues in suspend.
std::chrono::nanoseconds sinceBoot();
/// The date at which a process started. It stays the same until somebody sets the clock.
std::optional<Date> startDateOfProcess(std::int32_t pid);

/// What a process is doing.
struct ProcessActivity {
    bool isAtRest = false;            ///< its first thread neither runs nor waits for a processor or a disk
    std::chrono::milliseconds used{}; ///< processor time so far, to the system's clock ticks
};
/// `nullopt` without such a process. Reads /proc.
std::optional<ProcessActivity> activityOfProcess(std::int32_t pid);

} // namespace zelvo
