#pragma once

#include "base/Clock.h"

#include <memory>

namespace zelvo::service {

/// The clock of a server: its sleepers are woken on the server's thread. It stands still while the computer
/// sleeps; so do the machines' sockets, and what must not goes by the date. Thread: any.
class ServerClock final : public Clock {
public:
    explicit ServerClock(Executor server);
    ~ServerClock() override;

    Instant now() const override;
    Date date() const override;
    /// Keeps the server's thread no longer than its sleepers do: those that were cancelled leave the timer
    /// running. Thread: the server's.
    void rest();

protected:
    SleepQueue& sleepers() override;

private:
    struct Timer;
    std::shared_ptr<Timer> timer;
};

} // namespace zelvo::service
