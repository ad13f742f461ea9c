#pragma once

#include "ZelvoGateway/mcp/JsonRpcReader.h"
#include "ZelvoGateway/mcp/McpClient.h"
#include "ZelvoGateway/mcp/McpTool.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zelvo::service {

/// A number that is unique in its session.
using McpExchangeNumber = std::uint64_t;
using McpCallNumber = std::uint64_t;

/// A message to the client.
struct McpMessage {
    McpExchangeNumber exchange = 0;        ///< the document of the client that it belongs to
    json::value body;                      ///< an object, or the list of a batch's replies
    std::optional<JsonRpcCode> error = {}; ///< if it is one error reply
};

/// A call of a tool that is to be carried out. Its arguments fit the tool's schema.
struct McpCall {
    McpCallNumber number = 0;
    std::string tool;
    json::object arguments;
    std::string client;         ///< its name for people; may be empty
    bool wantsProgress = false; ///< else progress is not sent
};

/// What is to be done after an input, in this order: cancel, carry out, send, and close the finished
/// exchanges.
struct McpOutput {
    McpExchangeNumber exchange = 0; ///< that a received document began; 0 for other inputs
    std::vector<McpCallNumber> cancelled;
    std::vector<McpCall> calls;
    std::vector<McpMessage> messages;
    std::vector<McpExchangeNumber> finished; ///< nothing more is sent for them
};

/// How a call ended: with an answer, or with a fault of the gateway itself.
using McpOutcome = std::variant<McpToolResult, JsonRpcError>;

/// The server's side of the Model Context Protocol with one client, without any I/O: messages and outcomes of
/// calls go in, messages and calls come out. Each request decides whether it is served by the rules of a
/// version with a handshake or of one without. A transport keeps one session for a connection (stdio) or for
/// a session of HTTP, and makes one for each HTTP request without a handshake.
/// Thread: one.
class McpSession {
public:
    static constexpr std::size_t maxCalls = 32; ///< at a time

    /// server   must outlive the session
    explicit McpSession(McpServer const& server) : server(server) {}

    McpOutput receive(JsonRpcDocument document);
    /// Ends a call. Nothing happens if it was cancelled or has ended.
    McpOutput complete(McpCallNumber call, McpOutcome outcome);
    /// Reports that a call goes on.
    /// value   grows from report to report; one that does not is left out
    McpOutput progress(McpCallNumber call, double value, std::string message);
    /// The client no longer waits for the replies of an exchange.
    McpOutput abandon(McpExchangeNumber exchange);
    /// Cancels what is open. Later inputs do nothing.
    McpOutput end();

    /// The version of the handshake, if there was one.
    std::optional<McpVersion> handshakeVersion() const;
    std::size_t openCalls() const { return calls.size(); }

private:
    struct Exchange {
        bool isBatch = false;
        json::array replies = {}; ///< of a batch, until all are there
        std::size_t openCalls = 0;
    };
    struct OpenCall {
        JsonRpcId request;
        McpExchangeNumber exchange = 0;
        McpVersion version = newestLegacyVersion;
        std::optional<JsonRpcId> progressToken;
        std::optional<double> progress = {};
    };
    using Calls = std::map<McpCallNumber, OpenCall>;
    using Exchanges = std::map<McpExchangeNumber, Exchange>;

    void accept(JsonRpcMessage message, Exchanges::iterator exchange, McpOutput& output);
    void answer(JsonRpcRequest request, Exchanges::iterator exchange, McpOutput& output);
    std::optional<json::object>
    resultOf(JsonRpcRequest& request, Exchanges::iterator exchange, McpOutput& output);
    json::object initialize(JsonRpcRequest const& request, Exchange const& exchange);
    McpClient clientOf(JsonRpcRequest const& request, Exchange const& exchange) const;
    std::optional<json::object>
    beginCall(JsonRpcRequest& request, McpClient client, Exchanges::iterator exchange, McpOutput& output);
    void cancel(JsonRpcNotification const& notification, McpOutput& output);

    void reply(Exchanges::iterator exchange,
               json::object message,
               std::optional<JsonRpcCode> error,
               McpOutput& output);
    void fail(Exchanges::iterator exchange,
              std::optional<JsonRpcId> const& request,
              JsonRpcError error,
              McpOutput& output);
    void finishIfDone(Exchanges::iterator exchange, McpOutput& output);
    Exchanges::iterator close(Calls::iterator call);

    McpServer const& server;
    std::optional<McpClient> client; ///< of the handshake
    Calls calls;
    Exchanges exchanges;
    std::uint64_t lastNumber = 0;
    bool hasEnded = false;
};

} // namespace zelvo::service
