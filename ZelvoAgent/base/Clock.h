#pragma once

#include "base/SleepQueue.h"
#include "base/Task.h"

#include <chrono>

namespace zelvo {

/// A wall-clock date, and a length of time.
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;
using Duration = std::chrono::nanoseconds;

using namespace std::chrono_literals;

/// The time of day, and the continuous time that every wait goes through: it goes on while the machine
/// sleeps. Thread: any. Made by: platform/linux/LinuxClock, tests/fakes/ManualClock.
class Clock {
public:
    virtual ~Clock() = default;
    /// Continuous time since an arbitrary start.
    virtual Instant now() const = 0;
    virtual Date date() const = 0;

    /// Waits until the continuous time has reached `due`; at once when it has. Throws operation_aborted when
    /// cancelled.
    Task<> sleepUntil(Instant due);
    Task<> sleep(Duration duration);
    /// The same, but a cancelled wait simply ends early.
    Task<> sleepThroughCancel(Duration duration);

    /// At the end of the process, once no thread runs tasks any more: takes apart the tasks that wait here,
    /// while what they use still stands.
    void dropSleepers() { sleepers().drop(); }

protected:
    virtual SleepQueue& sleepers() = 0;
};

} // namespace zelvo
