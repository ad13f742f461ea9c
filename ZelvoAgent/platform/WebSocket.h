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

/// Why a socket ended.
struct NetworkFailure {
    enum class Kind { offline, lost, unreachable, hostNotFound, timedOut, cancelled, tls, other };
    Kind kind = Kind::other;
    std::string description; ///< the system's text
};

/// One WebSocket session. Connecting starts at construction; messages sent before the handshake wait for it.
/// A read is always pending, so that pings and pongs work while the owner is busy. Complete messages wait in
/// an inbox of at most 64 messages and 320 MiB; while it is full, reading stops. A text message that is not
/// UTF-8 ends the socket with close code 1007, one above 192 MiB with 1009.
/// Thread: any; resumes callers on their own executor.
/// Made by: platform/portable/net/BeastWebSocket, tests/fakes/FakeWebSocket.
class WebSocket {
public:
    virtual ~WebSocket() = default;

    /// Takes the next message from the inbox, waiting for one. Throws NetworkFailure once the socket has
    /// ended and the inbox is empty. One caller at a time.
    virtual Task<WebSocketMessage> receive() = 0;
    /// Completes when the system has the message. Messages are sent in the order of the calls. Throws
    /// NetworkFailure.
    virtual Task<> send(std::string text) = 0;
    /// Sends a ping. `onPong` is called once, on any thread; `ok` is true if the pong arrived before the
    /// socket ended.
    virtual void sendPing(std::function<void(bool ok)> onPong) = 0;
    /// Whether a full inbox stopped reading at some moment since the last ping: the pong may then wait
    /// unread.
    virtual bool readingWasHeld() const = 0;
    /// Ends the session: sends the close code if there is one, else drops the connection. A pending receive
    /// fails with `cancelled`. No effect on an ended socket.
    virtual void cancel(std::optional<int> closeCode = {}) = 0;

    /// Status of the response to the upgrade, 101 if it succeeded. Complete after the end.
    virtual std::optional<int> httpStatus() const = 0;
    /// The peer's close code and reason, if it sent a close frame.
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
