#pragma once

#include "base/Task.h"
#include "platform/linux/dbus/BusMessages.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <functional>
#include <memory>

namespace zelvo {

/// One sd-bus connection, driven by the agent's io_context through its descriptor. sd-bus's time-outs are not
/// used; callers keep their own deadlines. Thread: agent.
class BusLink : public std::enable_shared_from_this<BusLink> {
public:
    struct Events {
        std::function<void()> onReady; ///< accepted by the bus; before any of its messages is handled
        std::function<void()> onLost;  ///< called once; the link is unusable from then on
    };

    BusLink(Executor agent, BusPtr bus, Events events);

    void start();
    void stop();
    bool isReady() const { return ready; }
    sd_bus* raw() const { return bus.get(); }
    /// Call it after sending: what the socket did not accept is sent as soon as it can.
    void flush();

private:
    using Wait = asio::posix::stream_descriptor::wait_type;

    void pump();
    void arm();
    void await(Wait type, bool& isAwaited);
    void noteReadiness();
    void lose();

    Executor agent;
    BusPtr bus;
    asio::posix::stream_descriptor descriptor;
    Events events;
    bool ready = false;
    bool awaitsRead = false;
    bool awaitsWrite = false;
};

} // namespace zelvo
