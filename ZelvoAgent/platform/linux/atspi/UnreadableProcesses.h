#pragma once

#include "base/LockedBox.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace zelvo {

/// The processes that could not be read, each once. Thread: any.
class UnreadableProcesses {
public:
    /// From now on applications publish their elements when they start, so a restart helps only older ones.
    void noteSwitchedOn();
    /// Whether to report the process: a restart would help it, and this is the first call for it.
    bool isNew(std::int32_t pid);
    /// Those that still run, in the order of their ids.
    std::vector<std::int32_t> running() const;

private:
    using Process = std::pair<std::int32_t, std::chrono::nanoseconds>; // id, start

    LockedBox<std::set<Process>> reported;
    LockedBox<std::optional<std::chrono::nanoseconds>> switchedOn;
};

} // namespace zelvo
