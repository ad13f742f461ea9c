#pragma once

#include "base/Clock.h"

#include <memory>

namespace zelvo::service {

/// The clock of a server; it wakes its sleepers on the server's thread. It stops while the computer sleeps,
/// as the machines' sockets do; what must go on uses the date. Thread: any.
class ServerClock final : public Clock {
public:
    explicit ServerClock(Executor server);
    ~ServerClock() override;

    Instant now() const override;
    Date date() const override;
    /// Stops the timer if nobody sleeps any more: a cancelled sleeper leaves it running, which would keep the
    /// server's loop alive. Thread: the server's.
    void rest();

protected:
    SleepQueue& sleepers() override;

private:
    struct Timer;
    std::shared_ptr<Timer> timer;
};

} // namespace zelvo::service
