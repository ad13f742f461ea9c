#pragma once

#include "ZelvoGateway/http/HttpSession.h"
#include "ZelvoGateway/machines/MachineSession.h"

#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <deque>

namespace zelvo::service {

/// The WebSocket of a machine. A read is always pending, so that pongs are seen while replies are on their
/// way. Thread: the server's.
class MachineSocket final : public MachineLink, public std::enable_shared_from_this<MachineSocket> {
public:
    using UpgradeRequest = boost::beast::http::request<boost::beast::http::empty_body>;

    MachineSocket(boost::beast::tcp_stream stream, ServerParts& parts);

    /// Answers the upgrade and serves the machine until the socket's end.
    Task<> serve(UpgradeRequest request, std::string machineId);

    void send(std::string text) override;
    void close(int code, std::string reason) override;
    Executor executor() override { return socket.get_executor(); }

private:
    struct Incoming {
        std::string text;
        MemoryBudget::Lease memory; ///< for a large text
    };

    Task<bool> accept(UpgradeRequest request);
    Task<> readUntilEnd(std::shared_ptr<MachineSession> session);
    Task<std::optional<Incoming>> readMessage(std::shared_ptr<MachineSession> session);
    Task<> writeQueue();
    Task<> keepAlive();
    Task<> closeThenDrop(int code, std::string reason);
    bool takeRoom(MachineSession const& session, Incoming& incoming);
    void ping();
    void drop();

    ServerParts& parts;
    boost::beast::websocket::stream<boost::beast::tcp_stream> socket;
    asio::steady_timer pingTimer;
    std::deque<std::string> outgoing;
    bool writing = false;
    bool pinging = false;
    bool heard = false; // Anything came since the last ping.
    bool closing = false;
    bool dropped = false;
};

} // namespace zelvo::service
