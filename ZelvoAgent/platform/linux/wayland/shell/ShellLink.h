#pragma once

#include "platform/linux/dbus/BusMessages.h"

#include <functional>
#include <mutex>
#include <string>

namespace zelvo {

/// A method call to GNOME Shell. `arguments` appends them to the message.
struct ShellCall {
    std::string path = "/dev/zelvo/Shell";
    std::string interface = "dev.zelvo.Shell";
    std::string member;
    std::function<void(sd_bus_message*)> arguments = {};
    std::uint64_t patience = 500'000; ///< in microseconds
};

/// Its answer; `message` is null after a failure, and `error` is then its D-Bus name.
struct ShellReply {
    BusMessagePtr message;
    std::string error;
    std::string reason; ///< the text of the failure
};

/// A private connection to the session bus for questions to GNOME Shell that block. Our extension answers on
/// the shell's own connection, so no other process can imitate it. Thread: any; one call at a time, further
/// ones wait.
class ShellLink {
public:
    explicit ShellLink(std::function<BusPtr()> open = openSessionBus);

    /// Never throws. A lost connection is opened again by the next call.
    ShellReply call(ShellCall const& call);

private:
    std::function<BusPtr()> open;
    std::mutex mutex;
    BusPtr bus; // with `mutex`
};

} // namespace zelvo
