#include "ZelvoGateway/base/ServerClock.h"

#include "ZelvoGateway/base/Dates.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/steady_timer.hpp>

namespace zelvo::service {

namespace {

Instant steadyTime()
{
    return Instant(std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace

struct ServerClock::Timer : std::enable_shared_from_this<Timer> {
    explicit Timer(Executor const& executor) : server(executor), wake(executor), queue([this] { changed(); })
    {
    }

    void changed()
    {
        asio::dispatch(server, [weak = weak_from_this()] {
            if (auto const self = weak.lock())
                self->arm();
        });
    }

    void arm()
    {
        wake.cancel();
        auto const next = queue.earliest();
        if (!next)
            return;
        wake.expires_at(std::chrono::steady_clock::time_point(next->time_since_epoch()));
        wake.async_wait([weak = weak_from_this()](boost::system::error_code error) {
            auto const self = weak.lock();
            if (error || !self)
                return;
            self->queue.wakeDue(steadyTime());
            self->arm();
        });
    }

    Executor server;
    asio::steady_timer wake; // server
    SleepQueue queue;
};

ServerClock::ServerClock(Executor server) : timer(std::make_shared<Timer>(server)) {}

ServerClock::~ServerClock()
{
    timer->wake.cancel();
}

Instant ServerClock::now() const
{
    return steadyTime();
}

Date ServerClock::date() const
{
    return today();
}

void ServerClock::rest()
{
    timer->arm();
}

SleepQueue& ServerClock::sleepers()
{
    return timer->queue;
}

} // namespace zelvo::service
