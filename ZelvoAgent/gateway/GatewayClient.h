#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/WebSocket.h"
#include "state/GatewayConnectionState.h"
#include "wire/RpcFrame.h"
#include "wire/RpcReply.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Keeps the one WebSocket session to the gateway. It opens the session, detects a dead one and retries with
/// backoff. It gives up after a rejected token or a required update. The handler gets one frame at a time;
/// the next frame is taken only after the reply has been passed to the socket. A minute after the last
/// message it says that memory can be given back. Thread: any, unless a member says otherwise; the state
/// lives on a dedicated strand. Create with create(), because its loops hold weak pointers to it.
class GatewayClient : public std::enable_shared_from_this<GatewayClient> {
public:
    using Handler = std::function<Task<std::optional<RpcReply>>(RpcFrame)>;
    using HeartbeatReader = std::function<Task<std::optional<json::object>>()>;

    struct Services {
        Contexts contexts;
        Clock& clock;
        WebSocketOpener& sockets;
        HeartbeatReader heartbeat; ///< builds the heartbeat's params
        std::function<void(GatewayConnectionState)>
            onState;                    ///< called on the client's strand at every change
        std::function<double()> jitter; ///< a factor from 1.0 to 1.3
        std::function<void()> onRest;   ///< called on a worker after a minute without work; may be empty
    };

    static std::shared_ptr<GatewayClient>
    create(std::string gatewayUrl, std::string appVersion, Services services);
    /// A factor drawn uniformly from 1.0 to 1.3, so that machines that lost the gateway at the same time do
    /// not reconnect at the same time.
    static double randomJitter();

    /// Sets token and handler and opens a new socket, whatever the client's state.
    Task<> connect(std::string machineToken, Handler handler);
    Task<> stop();
    /// Replaces the socket at once; does nothing if the client is stopped, has no token or has given up.
    Task<> reconnectNow();
    /// Sends an event; the event is lost if there is no socket.
    Task<> sendEvent(std::string name, std::optional<std::string> connectionId, json::object data);
    Task<GatewayConnectionState> currentState();

private:
    using SocketPtr = std::shared_ptr<WebSocket>;

    GatewayClient(std::string gatewayUrl, std::string appVersion, Services services);

    void openSocket();
    void teardown();
    void setState(GatewayConnectionState next);
    bool isCurrent(std::int64_t number) const { return number == generation && !stopped; }
    void markConnected(std::int64_t number);
    void handleFailure(WebSocket const& socket, NetworkFailure const& error, std::int64_t number);
    void scheduleReconnect(std::string reason, std::int64_t number);
    Task<> receiveLoop(SocketPtr socket, std::int64_t number);
    Task<> handleText(std::string text);
    Task<> send(json::object object);
    Task<std::string> serialised(json::object object);
    void noteWork();
    static Task<> restLoop(std::weak_ptr<GatewayClient> weak, Clock* clock);
    Duration restLeft();
    static Task<> heartbeatLoop(std::weak_ptr<GatewayClient> weak, Clock* clock);
    static Task<> pingLoop(std::weak_ptr<GatewayClient> weak, Clock* clock, std::int64_t number);
    enum class Pong { came, missed, unknown };
    Task<Pong> ping(std::int64_t number);

    std::string const gatewayUrl;
    std::string const appVersion;
    Services const services;
    Executor const strand;

    // All fields below: strand.
    SocketPtr task;
    Handler handler;
    std::optional<std::string> machineToken;
    std::int64_t generation = 0; ///< the socket's number; tasks of an older socket do nothing
    TaskHandle heartbeatTask;
    TaskHandle pingTask;
    TaskHandle reconnectTask;
    std::int64_t reconnectAttempt = 0; ///< consecutive failures since the last message or pong
    Instant lastWork;
    bool waitsForRest = false;
    bool stopped = true;
    GatewayConnectionState state;
};

} // namespace zelvo
