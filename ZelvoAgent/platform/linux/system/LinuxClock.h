#pragma once

#include "base/Clock.h"

#include <memory>

namespace zelvo {

/// The continuous time is CLOCK_BOOTTIME, which continues in suspend. One timer descriptor, watched on the
/// agent's io_context, wakes all sleepers; it is armed only while somebody sleeps. Thread: any. Sleepers that
/// remain when the clock is destroyed are never resumed.
class LinuxClock final : public Clock {
public:
    /// agent must belong to an io_context. Throws std::system_error if the system grants no timer.
    explicit LinuxClock(Executor agent);
    ~LinuxClock() override;

    Instant now() const override;
    Date date() const override;

protected:
    SleepQueue& sleepers() override;

private:
    struct Timer;
    std::shared_ptr<Timer> timer;
};

} // namespace zelvo
