#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "platform/linux/dbus/BusMessages.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace zelvo {

/// A method call. `arguments` appends them to the message.
struct BusCall {
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::function<void(sd_bus_message*)> arguments = {};
    Duration patience = 5s;
    bool mayStart = true; ///< the bus starts the service if it does not run
};

/// The call failed, or timed out. `name` is the D-Bus name of the error.
struct BusFailure : std::runtime_error {
    BusFailure(std::string name, std::string const& message)
        : std::runtime_error(name + ": " + message), name(std::move(name))
    {
    }
    std::string name;
};

/// A message bus that may be absent: watches are set up again with each new connection. After a failed or
/// lost connection it tries again after 1 s, 2 s, 4 s and so on up to an hour, and at each call.
/// Thread: any. All callbacks run on the agent executor, in the order of the bus's messages.
class BusConnection {
public:
    using Open = std::function<BusPtr()>;
    using MessageHandler = std::function<void(sd_bus_message*)>;

    /// agent  must run on an io_context
    BusConnection(Executor agent, Clock& clock, Open open);
    ~BusConnection();
    BusConnection(BusConnection const&) = delete;
    BusConnection& operator=(BusConnection const&) = delete;

    /// Connects, without waiting.
    void start();

    /// Calls a method. `onReply` reads the reply, on the agent executor and before any later message is
    /// handled. Throws BusFailure, at the latest when the call's patience ends. Resumes the caller on its own
    /// executor.
    Task<> call(BusCall call, MessageHandler onReply = {});

    /// The same without waiting: `onReply` receives the reply, `onFailure` is called if there is none.
    void ask(BusCall call, MessageHandler onReply, std::function<void()> onFailure = {});

    /// `onSignal` receives every signal that matches the rule. A sender in the rule must be in the form
    /// sender='NAME'; signals of others that claim to match are dropped, and so are those that arrive before
    /// the owner of NAME is known.
    void watchSignal(std::string rule, MessageHandler onSignal);
    /// `onOwner` receives the owner of a name, with each connection and at each change; empty if there is
    /// none or the bus is lost.
    void watchName(std::string name, std::function<void(std::string const& owner)> onOwner);
    /// `onChange` receives each new connection, ready for calls and objects, and null after each loss.
    void watchConnection(std::function<void(sd_bus*)> onChange);

private:
    class Bus;
    std::shared_ptr<Bus> bus;
};

} // namespace zelvo
