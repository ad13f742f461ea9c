#pragma once

#include "base/Clock.h"

#include <mutex>

namespace zelvo::service {

/// A clock that stands still until a test advances it, for a server on another thread. Thread: any.
class SteppedClock final : public Clock {
public:
    Instant now() const override
    {
        std::scoped_lock guard(lock);
        return time;
    }
    Date date() const override
    {
        return start + std::chrono::duration_cast<std::chrono::microseconds>(now() - Instant{});
    }

    /// Advances the time and wakes the sleepers that are due; they run on their own threads.
    void advance(Duration duration)
    {
        {
            std::scoped_lock guard(lock);
            time += duration;
        }
        queue.wakeDue(now());
    }

    bool isSleptOn() const { return queue.size() > 0; }

    Date const start = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));

protected:
    SleepQueue& sleepers() override { return queue; }

private:
    mutable std::mutex lock;
    Instant time{}; // lock
    SleepQueue queue;
};

} // namespace zelvo::service
