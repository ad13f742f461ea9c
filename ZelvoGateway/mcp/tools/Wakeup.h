#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <boost/asio/steady_timer.hpp>

#include <memory>
#include <vector>

namespace zelvo::service {

/// Lets tasks wait until something is reported, or until a time. A task that is cancelled stops waiting.
/// Thread: that of its executor. It may end while tasks wait; they wait on until their time.
class Wakeup {
public:
    Wakeup(Executor executor, Clock& clock) : executor(std::move(executor)), clock(clock) {}
    Wakeup(Wakeup const&) = delete;
    Wakeup& operator=(Wakeup const&) = delete;
    ~Wakeup() = default;

    /// Returns at the next wakeAll(), or at `until`. The caller checks which it was. Throws operation_aborted
    /// if cancelled.
    Task<> wait(Instant until);
    void wakeAll();

private:
    using Timer = std::shared_ptr<asio::steady_timer>;

    Executor executor;
    Clock& clock;
    std::vector<Timer> waiting;
};

} // namespace zelvo::service
