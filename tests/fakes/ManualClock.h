#pragma once

#include "base/Clock.h"

#include <boost/asio/io_context.hpp>

namespace zelvo {

/// A clock that moves only when a test advances it. With an io_context, advance() runs the woken tasks before
/// it returns.
class ManualClock final : public Clock {
public:
    explicit ManualClock(asio::io_context* io = nullptr) : io(io) {}

    Instant now() const override { return time; }
    Date date() const override
    {
        return start + std::chrono::duration_cast<std::chrono::microseconds>(time - Instant{});
    }

    /// Advances time and stops at each due time on the way, so that periodic sleepers wake in order.
    void advance(Duration duration)
    {
        Instant const target = time + duration;
        settle();
        while (auto const next = queue.earliest()) {
            if (*next > target)
                break;
            time = std::max(time, *next);
            queue.wakeDue(time);
            settle();
        }
        time = target;
        settle();
    }

    /// Advances time without waking anybody, for a test that runs inside a task.
    void jump(Duration duration) { time += duration; }

    std::size_t sleeperCount() const { return queue.size(); }

    Date start = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));

protected:
    SleepQueue& sleepers() override { return queue; }

private:
    void settle()
    {
        if (!io)
            return;
        io->restart();
        io->poll();
    }

    asio::io_context* io;
    Instant time{};
    SleepQueue queue;
};

} // namespace zelvo
