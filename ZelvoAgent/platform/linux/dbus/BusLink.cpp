#include "platform/linux/dbus/BusLink.h"

#include <boost/asio/post.hpp>

#include <fcntl.h>
#include <poll.h>

namespace zelvo {

namespace {

constexpr int maxMessagesAtOnce = 64; // Then other work of the thread runs.

} // namespace

BusLink::BusLink(Executor agent, BusPtr bus, Events events)
    : agent(agent), bus(std::move(bus)), descriptor(agent), events(std::move(events))
{
}

void BusLink::start()
{
    // A duplicate descriptor of the socket: sd-bus closes the original itself.
    int const socket = ::fcntl(sd_bus_get_fd(bus.get()), F_DUPFD_CLOEXEC, 0);
    if (socket < 0)
        return lose();
    descriptor.assign(socket);
    noteReadiness();
    pump();
}

void BusLink::stop()
{
    boost::system::error_code ignored;
    descriptor.close(ignored);
    bus.reset();
    events = {};
}

void BusLink::flush()
{
    // Posted: a loss noticed here must not be handled inside the sender's call.
    asio::post(agent, [weak = weak_from_this()] {
        auto const self = weak.lock();
        if (self && self->bus)
            self->pump();
    });
}

void BusLink::pump()
{
    auto const kept = shared_from_this(); // A handler may end the link.
    int handled = 1;
    for (int taken = 0; taken < maxMessagesAtOnce && handled > 0 && bus; ++taken) {
        std::unique_ptr<sd_bus, ReleaseWith<sd_bus_unref>> const inUse(sd_bus_ref(bus.get()));
        handled = sd_bus_process(inUse.get(), nullptr);
        noteReadiness();
    }
    if (!bus)
        return;
    if (handled < 0 || sd_bus_is_open(bus.get()) <= 0)
        return lose();
    if (handled > 0)
        asio::post(agent, [kept] { kept->bus ? kept->pump() : void(); });
    else
        arm();
}

void BusLink::noteReadiness()
{
    if (ready || !bus || sd_bus_is_ready(bus.get()) <= 0)
        return;
    ready = true;
    if (events.onReady)
        events.onReady();
}

void BusLink::arm()
{
    int const wanted = sd_bus_get_events(bus.get());
    if (wanted < 0)
        return lose();
    if ((wanted & POLLIN) != 0)
        await(Wait::wait_read, awaitsRead);
    if ((wanted & POLLOUT) != 0)
        await(Wait::wait_write, awaitsWrite);
}

void BusLink::await(Wait type, bool& isAwaited)
{
    if (std::exchange(isAwaited, true))
        return;
    descriptor.async_wait(type, [weak = weak_from_this(), &isAwaited](boost::system::error_code error) {
        auto const self = weak.lock();
        if (!self)
            return;
        isAwaited = false;
        if (!error && self->bus)
            self->pump();
    });
}

void BusLink::lose()
{
    auto const onLost = events.onLost;
    stop();
    if (onLost)
        onLost();
}

} // namespace zelvo
