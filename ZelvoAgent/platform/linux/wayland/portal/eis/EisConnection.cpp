#include "platform/linux/wayland/portal/eis/EisConnection.h"

#include "base/DelayedCall.h"
#include "platform/linux/wayland/portal/EisGreeting.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

namespace zelvo {

std::shared_ptr<EisConnection> EisConnection::open(Executor agent, Clock& clock, UniqueFd socket)
{
    EiPtr context(ei_new_sender(nullptr));
    if (!context || !socket)
        return nullptr;
    // Its messages may name keys, so none of them is printed.
    ei_log_set_handler(context.get(), [](ei*, ei_log_priority, char const*, ei_log_context*) {});
    ei_configure_name(context.get(), "Zelvo");
    ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
    // libei closes its own ones.
    UniqueFd ours(::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
    UniqueFd events(::fcntl(ei_get_fd(context.get()), F_DUPFD_CLOEXEC, 0));
    if (!ours || !events || ei_setup_backend_fd(context.get(), socket.release()) != 0)
        return nullptr;
    std::shared_ptr<EisConnection> made(
        new EisConnection(std::move(agent), clock, std::move(context), std::move(ours), std::move(events)));
    made->read();
    return made;
}

EisConnection::EisConnection(Executor agent, Clock& clock, EiPtr context, UniqueFd socket, UniqueFd events)
    : agent(agent), clock(clock), context(std::move(context)), socket(std::move(socket)),
      descriptor(agent, events.release())
{
}

EisConnection::~EisConnection()
{
    if (!isGreeted)
        abandon();
}

/// Keeps a context for good, because libei 1.3.901 crashes when one is freed before the greeting is over.
void EisConnection::abandon()
{
    static std::vector<EiPtr>* const abandoned = new std::vector<EiPtr>; // Never freed, for that reason.
    ::shutdown(socket.get(), SHUT_RDWR);
    abandoned->push_back(std::move(context));
}

void EisConnection::read()
{
    step();
    if (descriptor.is_open())
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                              [self = shared_from_this()](boost::system::error_code failure) {
                                  if (!failure)
                                      self->read();
                              });
}

void EisConnection::step()
{
    if (!isLive)
        return;
    if (auto const greeting = isGreeted ? EisGreeting::over : peekEisGreeting(socket.get());
        greeting != EisGreeting::invalid) {
        ei_dispatch(context.get());
        isGreeted = greeting == EisGreeting::over;
    } else {
        end();
    }
    while (EiEventPtr const event{isLive ? ei_get_event(context.get()) : nullptr})
        handle(event.get());
    changed.notifyAll([] {});
}

void EisConnection::handle(ei_event* event)
{
    ei_device* const device = ei_event_get_device(event);
    EisDevice* const known = find(device);
    switch (ei_event_get_type(event)) {
    case EI_EVENT_CONNECT:
        isGreeted = true; // Its end may have arrived between a look at the greeting and reading it.
        return;
    case EI_EVENT_SEAT_ADDED:
        return bind(ei_event_get_seat(event));
    case EI_EVENT_DEVICE_ADDED:
        if (devices.size() < mostDevices)
            devices.push_back(std::make_shared<EisDevice>(device));
        return;
    case EI_EVENT_DEVICE_RESUMED:
        return known ? known->resume() : void();
    case EI_EVENT_DEVICE_PAUSED:
        return known ? known->pause() : void();
    case EI_EVENT_DEVICE_REMOVED:
        if (known)
            known->remove(); // Whoever still holds it must not use it any more.
        std::erase_if(devices, [known](auto const& one) { return one.get() == known; });
        return;
    case EI_EVENT_DISCONNECT:
        return end();
#ifdef ZELVO_EI_HAS_PING
    case EI_EVENT_PONG:
        lastPong = ei_ping_get_id(ei_event_pong_get_ping(event));
        return;
#endif
    default:
        return;
    }
}

void EisConnection::bind(ei_seat* seat)
{
    ei_seat_bind_capabilities(seat, EI_DEVICE_CAP_POINTER_ABSOLUTE, EI_DEVICE_CAP_KEYBOARD,
                              EI_DEVICE_CAP_SCROLL, EI_DEVICE_CAP_BUTTON, nullptr);
}

EisDevice* EisConnection::find(ei_device const* device)
{
    auto const found =
        std::ranges::find_if(devices, [device](auto const& one) { return device && one->is(device); });
    return found == devices.end() ? nullptr : found->get();
}

std::vector<std::shared_ptr<EisDevice>> EisConnection::usable(ei_device_capability capability) const
{
    std::vector<std::shared_ptr<EisDevice>> found;
    std::ranges::copy_if(devices, std::back_inserter(found),
                         [&](auto const& one) { return one->isUsable() && one->has(capability); });
    return found;
}

Task<std::vector<std::shared_ptr<EisDevice>>> EisConnection::await(ei_device_capability capability)
{
    co_await until([this, capability] { return !isLive || !usable(capability).empty(); });
    co_return usable(capability);
}

Task<bool> EisConnection::pass()
{
#ifdef ZELVO_EI_HAS_PING
    if (!isLive || !isGreeted)
        co_return false;
    std::unique_ptr<struct ei_ping, ReleaseWith<ei_ping_unref>> const ping(ei_new_ping(context.get()));
    std::uint64_t const id = ei_ping_get_id(ping.get());
    ei_ping(ping.get());
    step();
    co_await until([this, id] { return !isLive || lastPong == id; });
    co_return isLive&& lastPong == id;
#else
    co_return false;
#endif
}

/// Gives up at the end of its patience.
Task<> EisConnection::until(std::function<bool()> isTrue)
{
    if (isTrue())
        co_return;
    auto const self = shared_from_this();
    auto const isOver = std::make_shared<bool>(false);
    DelayedCall deadline(agent, clock);
    deadline.in(patience, [self, isOver] { self->changed.notifyAll([&] { *isOver = true; }); });
    auto const isDone = [&] { return *isOver || isTrue(); };
    while (!isDone())
        co_await changed.wait(isDone);
}

void EisConnection::close()
{
    if (!isLive)
        return;
    for (auto const& device : devices)
        if (device->isUsable())
            device->release();
    end();
    changed.notifyAll([] {});
}

void EisConnection::end()
{
    isLive = false;
    for (auto const& device : devices)
        device->remove();
    devices.clear();
    boost::system::error_code ignored;
    descriptor.close(ignored);
}

} // namespace zelvo
