#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/base/RateLimiter.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/machines/LocalMachineDirectory.h"
#include "ZelvoGateway/machines/MachineSession.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <chrono>
#include <cstdint>
#include <deque>

namespace zelvo::service {

/// What the sockets of a server's machines share.
struct MachineSocketParts {
    Settings const& settings;
    Store& store;
    LocalMachineDirectory& machines;
    MachineListener& listener;
    MemoryBudget& memory;
    Executor workers;
    Clock& clock;
    Metrics& metrics = Metrics::none();
};

/// The WebSocket of a machine. A read is always pending, so that pongs are noticed while replies are sent.
/// Thread: the server's.
class MachineSocket final : public MachineLink, public std::enable_shared_from_this<MachineSocket> {
public:
    using UpgradeRequest = boost::beast::http::request<boost::beast::http::empty_body>;

    MachineSocket(PeerStream stream, MachineSocketParts& parts);

    /// Answers the upgrade and serves the machine until its socket ends.
    Task<> serve(UpgradeRequest request, std::string machineId);

    void send(std::string text) override;
    void close(int code, std::string reason) override;
    Executor executor() { return socket.get_executor(); }

private:
    struct Incoming {
        std::string text;
        MemoryBudget::Lease memory; ///< for a large text only
    };

    Task<bool> accept(UpgradeRequest request);
    Task<> readUntilEnd(std::shared_ptr<MachineSession> session);
    Task<std::optional<Incoming>> readMessage(std::shared_ptr<MachineSession> session);
    Task<> slowDown(std::size_t bytes);
    bool isStalled();
    Task<> writeQueue();
    Task<> keepAlive();
    Task<> closeThenDrop(int code, std::string reason);
    bool takeRoom(MachineSession const& session, Incoming& incoming);
    void ping();
    void drop();

    MachineSocketParts& parts;
    boost::beast::websocket::stream<PeerStream> socket;
    asio::steady_timer pingTimer;
    std::optional<MemoryBudget> memory; // The machine's part of the budget; set once the machine is known.
    RateLimiter unasked;                // What the machine sends without being asked.
    std::uint64_t acknowledged = 0;     // Bytes, when it was last looked at.
    std::chrono::steady_clock::time_point progressed; // When that had grown, or nothing was to be sent.
    std::deque<std::string> outgoing;
    bool writing = false;
    bool pinging = false;
    bool heard = false; // Something arrived since the last ping.
    bool closing = false;
    bool dropped = false;
};

} // namespace zelvo::service
