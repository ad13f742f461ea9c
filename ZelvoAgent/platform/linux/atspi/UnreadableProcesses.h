#pragma once

#include "base/LockedBox.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

namespace zelvo {

/// The processes that could not be read, each remembered once. Thread: any.
class UnreadableProcesses {
public:
    /// From now on applications publish their elements when they start: only older ones are helped by a new
    /// start.
    void noteSwitchedOn();
    /// Is it a process to be told of, and for the first time?
    bool isNew(std::int32_t pid);

private:
    using Process = std::pair<std::int32_t, std::chrono::nanoseconds>; // id, start

    LockedBox<std::set<Process>> reported;
    LockedBox<std::optional<std::chrono::nanoseconds>> switchedOn;
};

} // namespace zelvo
