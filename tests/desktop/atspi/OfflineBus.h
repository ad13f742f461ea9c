#pragma once

#include "platform/linux/dbus/BusMessages.h"

#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

namespace zelvo::test {

/// A bus without a peer, on which a test creates messages and reads them again. Thread: one.
class OfflineBus {
public:
    OfflineBus()
    {
        int ends[2] = {-1, -1};
        sd_bus* raw = nullptr;
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0 ||
            sd_bus_new(&raw) < 0)
            throw std::runtime_error("socketpair");
        other = ends[1];
        bus.reset(raw);
        if (sd_bus_set_fd(raw, ends[0], ends[0]) < 0 || sd_bus_start(raw) < 0)
            throw std::runtime_error("sd_bus_start");
    }
    ~OfflineBus() { ::close(other); }
    OfflineBus(OfflineBus const&) = delete;
    OfflineBus& operator=(OfflineBus const&) = delete;

    /// A message with the content that `append` adds, ready to read.
    BusMessagePtr message(std::function<void(sd_bus_message*)> const& append) const
    {
        sd_bus_message* raw = nullptr;
        if (sd_bus_message_new_signal(bus.get(), &raw, "/a", "a.b", "C") < 0)
            throw std::runtime_error("sd_bus_message_new_signal");
        BusMessagePtr made(raw);
        append(raw);
        return sd_bus_message_seal(raw, 1, 0) < 0 ? nullptr : std::move(made);
    }

private:
    BusPtr bus;
    int other = -1;
};

} // namespace zelvo::test
