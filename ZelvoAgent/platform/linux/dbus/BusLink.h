#pragma once

#include "base/Task.h"
#include "platform/linux/dbus/BusMessages.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <functional>
#include <memory>

namespace zelvo {

/// One sd-bus connection, driven by the agent's io_context: it is looked at when its descriptor says so and
/// never else. sd-bus's own time-outs are not used; who calls keeps a deadline. Thread: agent.
class BusLink : public std::enable_shared_from_this<BusLink> {
public:
    struct Events {
        std::function<void()> onReady; ///< the bus has said hello; before any message of its is looked at
        std::function<void()> onLost;  ///< once; the link is of no use any more
    };

    BusLink(Executor agent, BusPtr bus, Events events);

    void start();
    void stop();
    bool isReady() const { return ready; }
    sd_bus* raw() const { return bus.get(); }
    /// To be called after something was sent: what the socket did not take is sent when it can.
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
