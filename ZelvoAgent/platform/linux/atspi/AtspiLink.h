#pragma once

#include "base/Clock.h"
#include "platform/linux/dbus/BusMessages.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// One connection to the accessibility bus or to the socket of one application, with any number of calls in
/// flight. It has no time-outs: callers decide how long to wait. Thread: one.
class AtspiLink {
public:
    /// Receives the reply, which may be an error; null if there will be none.
    using OnReply = std::function<void(sd_bus_message*)>;
    /// Dropping it discards a late reply.
    using Ticket = std::shared_ptr<void>;

    /// Neither blocks; null if the address is invalid.
    static std::unique_ptr<AtspiLink> toBus(std::string const& address);
    static std::unique_ptr<AtspiLink> toApplication(std::string const& address);

    /// direct  an application's own socket, where messages have no destination
    AtspiLink(BusPtr bus, bool direct) : bus(std::move(bus)), direct(direct) {}

    bool isOpen() const { return bus != nullptr; }
    bool isDirect() const { return direct; }
    /// The process at the other end, which for the bus is the bus itself. `nullopt` if the system does not
    /// say.
    std::optional<std::int32_t> peerProcess() const;

    /// A method call without arguments. Null if one of the names is malformed.
    BusMessagePtr newCall(std::string const& destination,
                          std::string const& path,
                          char const* interface,
                          char const* member) const;
    /// Null if it cannot be sent; `onReply` is then not called.
    Ticket send(sd_bus_message* call, OnReply onReply);

    /// Handles the messages that have arrived, replies in order, without waiting. False if there were none.
    bool process();
    /// Waits until a message arrives, or for at most `longest`.
    void wait(Duration maxTime);

private:
    void lose() { bus.reset(); }

    BusPtr bus; // Null once it is lost.
    bool direct;
};

} // namespace zelvo
