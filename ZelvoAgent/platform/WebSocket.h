#pragma once

#include "base/Clock.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

struct WebSocketRequest {
    std::string url;                                          ///< ws or wss, with path
    std::vector<std::pair<std::string, std::string>> headers; ///< sent with the upgrade
    Duration timeout = 60s;                                   ///< for connecting and the handshake together
};

struct WebSocketMessage {
    enum class Kind { text, binary };
    Kind kind = Kind::text;
    std::string payload;
};

/// Why a socket came to its end.
struct NetworkFailure {
    enum class Kind { offline, lost, unreachable, hostNotFound, timedOut, cancelled, tls, other };
    Kind kind = Kind::other;
    std::string description; ///< the system's words
};

/// One WebSocket session. Connecting starts when it is made, and what is sent meanwhile waits for the
/// handshake.
///
/// A read is always pending, so that pings and pongs live while the owner is busy; complete messages wait in
/// an inbox of at most 64 messages and 320 MiB. While the inbox is full reading stops. A text message that is
/// not UTF-8 ends the socket with close code 1007, one above 192 MiB with 1009. Thread: any; resumes callers
/// on their own executor. Made by: platform/portable/net/BeastWebSocket, tests/fakes/FakeWebSocket.
class WebSocket {
public:
    virtual ~WebSocket() = default;

    /// Takes the next message from the inbox, waiting for one. Throws NetworkFailure once the socket has
    /// ended and the inbox is empty. One caller at a time.
    virtual Task<WebSocketMessage> receive() = 0;
    /// Completes when the message was handed to the system. Messages go out in the order of the calls. Throws
    /// NetworkFailure.
    virtual Task<> send(std::string text) = 0;
    /// Sends a ping; `onPong` is called once, on any thread, with whether its pong came before the socket
    /// ended.
    virtual void sendPing(std::function<void(bool ok)> onPong) = 0;
    /// True when reading was stopped by a full inbox at some moment since the last ping was sent: the pong
    /// may then wait unread.
    virtual bool readingWasHeld() const = 0;
    /// Ends the session: with a close code the peer is told, without one the connection is just dropped. A
    /// pending receive fails with `cancelled`. Harmless on an ended socket.
    virtual void cancel(std::optional<int> closeCode = {}) = 0;

    /// What is known after the end. The status of the answer to the upgrade, 101 when it went through.
    virtual std::optional<int> httpStatus() const = 0;
    /// The peer's close code and reason, when it sent a close frame.
    virtual std::optional<int> closeCode() const = 0;
    virtual std::optional<std::string> closeReason() const = 0;
};

/// Opens sockets.
class WebSocketOpener {
public:
    virtual ~WebSocketOpener() = default;
    virtual std::shared_ptr<WebSocket> open(WebSocketRequest request) = 0;
};

} // namespace zelvo
