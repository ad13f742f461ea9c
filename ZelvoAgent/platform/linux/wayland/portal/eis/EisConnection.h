#pragma once

#include "base/AsyncCondition.h"
#include "base/Clock.h"
#include "platform/linux/wayland/portal/eis/EisDevice.h"
#include "platform/portable/files/UniqueFd.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace zelvo {

/// A connection to the compositor's EIS that makes events: it binds all seats and follows their devices.
/// Thread: agent.
class EisConnection : public std::enable_shared_from_this<EisConnection> {
public:
    static constexpr Duration patience = 1s; ///< with devices and answers

    /// Null if libei refuses the socket. clock  outlives this
    static std::shared_ptr<EisConnection> open(Executor agent, Clock& clock, UniqueFd socket);
    EisConnection(EisConnection const&) = delete;
    EisConnection& operator=(EisConnection const&) = delete;
    ~EisConnection();

    /// False for good once the compositor ended it. Thread: any.
    bool isOpen() const { return isLive; }
    /// Those that take events now.
    std::vector<std::shared_ptr<EisDevice>> usable(ei_device_capability capability) const;
    /// Waits until there is one.
    Task<std::vector<std::shared_ptr<EisDevice>>> await(ei_device_capability capability);
    /// Handles what has arrived, also the end that a failed write caused.
    void step();
    /// Waits until the compositor has handled all events. False if it does not answer, or if libei cannot
    /// ask.
    Task<bool> pass();
    /// Releases what is held and ends the connection.
    void close();

private:
    EisConnection(Executor agent, Clock& clock, EiPtr context, UniqueFd socket, UniqueFd events);
    void read();
    void handle(ei_event* event);
    void bind(ei_seat* seat);
    void end();
    void abandon();
    EisDevice* find(ei_device const* device);
    Task<> until(std::function<bool()> isTrue);

    static constexpr std::size_t mostDevices = 64;

    Executor const agent;
    Clock& clock;
    EiPtr context;
    UniqueFd socket; ///< a copy
    asio::posix::stream_descriptor descriptor;
    std::vector<std::shared_ptr<EisDevice>> devices; ///< in the order in which they appeared
    bool isGreeted = false;
    std::uint64_t lastPong = 0;
    AsyncCondition changed;
    std::atomic<bool> isLive = true;
};

} // namespace zelvo
