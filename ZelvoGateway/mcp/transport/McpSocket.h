#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/OpenWork.h"
#include "ZelvoGateway/mcp/McpConnection.h"
#include "ZelvoGateway/mcp/transport/McpOutbox.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "base/AsyncCondition.h"
#include "base/Task.h"

#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo::service {

/// What a socket needs of the server.
struct McpSocketParts {
    OpenWork& work; ///< once it closes, what arrives is dropped
    Executor workers;
    MemoryBudget memory;               ///< the key's part of the budget
    std::function<bool()> mayGoOn;     ///< asked before each message
    std::shared_ptr<void const> place; ///< held as long as the socket is there
};

/// One session over a WebSocket: each message in either direction is one JSON-RPC document. An empty message
/// says that no other follows; the socket then closes once everything is answered. `zelvo-gateway mcp` joins
/// a gateway in this way.
/// Thread: the server's.
class McpSocket final : public McpReplies, public std::enable_shared_from_this<McpSocket> {
public:
    using UpgradeRequest = boost::beast::http::request<boost::beast::http::empty_body>;

    McpSocket(PeerStream stream, std::shared_ptr<McpConnection> connection, McpSocketParts parts);

    /// Answers the upgrade and serves the client until the socket ends.
    Task<> serve(UpgradeRequest request);
    /// Cancels what is open and closes the socket.
    void close(boost::beast::websocket::close_code code, std::string reason);

    void send(McpMessage message) override;
    void finish() override;

private:
    struct Incoming {
        std::string text;
        MemoryBudget::Lease memory; ///< of a long text
    };

    Task<bool> accept(UpgradeRequest request);
    Task<> readUntilEnd();
    void receive(JsonRpcDocument document);
    Task<bool> waitForRoom();
    Task<std::optional<Incoming>> readMessage();
    Task<> writeQueue();
    Task<> closeThenDrop(boost::beast::websocket::close_code code, std::string reason);
    bool isDone() const;
    void closeIfDone();
    void drop();

    boost::beast::websocket::stream<PeerStream> socket;
    std::shared_ptr<McpConnection> connection;
    McpSocketParts parts;
    McpOutbox outbox;
    OpenWork::Lease work; // While something is to be answered.
    AsyncCondition room;  // In the outbox; also notified when the socket ends.
    bool isWriting = false;
    bool isLast = false; // The client sends no other message.
    bool isClosing = false;
    bool isDropped = false;
};

} // namespace zelvo::service
