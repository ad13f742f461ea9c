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
    bool mayStart = true; ///< a service that does not run yet is started for it, where the bus knows how
};

/// A call that was answered by an error, or by nobody in time. `name` is the D-Bus name of the error.
struct BusFailure : std::runtime_error {
    BusFailure(std::string name, std::string const& message)
        : std::runtime_error(name + ": " + message), name(std::move(name))
    {
    }
    std::string name;
};

/// A message bus, whether it is there or not: watches are kept and set up again with each connection. A bus
/// that is missing or was lost is tried again after 1 s, 2 s, 4 s and so on up to an hour, and at each call.
/// Thread: any. All that is called back runs on the agent executor, in the order of the bus's messages.
class BusConnection {
public:
    using Open = std::function<BusPtr()>;
    using MessageHandler = std::function<void(sd_bus_message*)>;

    /// agent must stand on an io_context.
    BusConnection(Executor agent, Clock& clock, Open open);
    ~BusConnection();
    BusConnection(BusConnection const&) = delete;
    BusConnection& operator=(BusConnection const&) = delete;

    /// Connects, without waiting.
    void start();

    /// Calls a method. `onReply` reads the answer, on the agent executor and before any later message is
    /// looked at. Throws BusFailure, at the latest when the call's patience is over. Resumes the caller on
    /// its own executor.
    Task<> call(BusCall call, MessageHandler onReply = {});

    /// The same for one who waits for nothing: `onReply` sees the answer, `onFailure` that there is none.
    void ask(BusCall call, MessageHandler onReply, std::function<void()> onFailure = {});

    /// `onSignal` sees every signal that a match rule describes.
    void watchSignal(std::string rule, MessageHandler onSignal);
    /// `onOwner` is told who owns a name, empty for nobody, with each connection and at each change; and
    /// nobody when the bus is lost.
    void watchName(std::string name, std::function<void(std::string const& owner)> onOwner);
    /// `onChange` is told each connection, ready for calls and objects, and null for each loss.
    void watchConnection(std::function<void(sd_bus*)> onChange);

private:
    class Bus;
    std::shared_ptr<Bus> bus;
};

} // namespace zelvo
