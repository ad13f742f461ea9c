#pragma once

#include "base/Clock.h"
#include "platform/linux/dbus/BusMessages.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// One connection to the accessibility bus, or to the socket of one application, with any number of calls in
/// flight. It keeps no time: who asks decides how long to wait. Thread: one.
class AtspiLink {
public:
    /// Sees the reply, which may be an error; null when there will be none.
    using OnReply = std::function<void(sd_bus_message*)>;
    /// Letting go of it makes a late reply go unseen.
    using Ticket = std::shared_ptr<void>;

    /// Neither blocks; null when the address is not one.
    static std::unique_ptr<AtspiLink> toBus(std::string const& address);
    static std::unique_ptr<AtspiLink> toApplication(std::string const& address);

    /// direct: an application's own socket, on which messages have no destination
    AtspiLink(BusPtr bus, bool direct) : bus(std::move(bus)), direct(direct) {}

    bool isOpen() const { return bus != nullptr; }
    bool isDirect() const { return direct; }

    /// A call of a method, for its arguments to be appended. Null when a name in it is ill-formed.
    BusMessagePtr newCall(std::string const& destination,
                          std::string const& path,
                          char const* interface,
                          char const* member) const;
    /// Null when it cannot be sent; then `onReply` is not called.
    Ticket send(sd_bus_message* call, OnReply onReply);

    /// Takes what has come, replies in their order, without waiting. False when nothing had.
    bool process();
    /// Waits until something comes, or for that long.
    void wait(Duration maxTime);

private:
    void lose() { bus.reset(); }

    BusPtr bus; // Null once it is lost.
    bool direct;
};

} // namespace zelvo
