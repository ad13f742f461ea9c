#pragma once

#include "base/SleepQueue.h"
#include "base/Task.h"

#include <chrono>

namespace zelvo {

/// A wall-clock date, and a length of time.
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;
using Duration = std::chrono::nanoseconds;

using namespace std::chrono_literals;

/// The time of day, and the continuous time that every wait uses. Continuous time also advances while the
/// machine sleeps. Thread: any. Made by: platform/linux/system/LinuxClock, tests/fakes/ManualClock.
class Clock {
public:
    virtual ~Clock() = default;
    /// Continuous time since an arbitrary start.
    virtual Instant now() const = 0;
    virtual Date date() const = 0;

    /// Waits until the continuous time reaches `due`; does not wait if it is already past. Throws
    /// operation_aborted if cancelled.
    Task<> sleepUntil(Instant due);
    Task<> sleep(Duration duration);
    /// Like sleep(), but a cancelled wait ends early instead of throwing.
    Task<> sleepThroughCancel(Duration duration);

    /// Destroys the sleeping tasks while everything they reference is still alive. Call at the end of the
    /// process, when no thread runs tasks any more.
    void dropSleepers() { sleepers().drop(); }

protected:
    virtual SleepQueue& sleepers() = 0;
};

} // namespace zelvo
