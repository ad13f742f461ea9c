#pragma once

#include "base/Clock.h"

#include <memory>

namespace zelvo {

/// The continuous time is CLOCK_BOOTTIME, which goes on in suspend. One timer descriptor, watched on the
/// agent's io_context, wakes all sleepers; it is set only while somebody sleeps. Thread: any. Sleepers that
/// are left when the clock goes are never resumed.
class LinuxClock final : public Clock {
public:
    /// agent must stand on an io_context. Throws std::system_error when the system grants no timer.
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
