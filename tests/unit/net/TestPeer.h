#pragma once

#include "base/Task.h"
#include "platform/WebSocket.h"
#include "unit/net/TestCertificates.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// The server's end of one connection, controlled step by step by a test.
class TestPeer {
public:
    virtual ~TestPeer() = default;

    /// Does the server's half of the TLS handshake; no effect on plain connections.
    virtual Task<> secure() = 0;
    /// Reads the upgrade request and accepts it.
    virtual Task<> upgrade() = 0;
    /// Reads the head of a request and answers with these bytes.
    virtual Task<> answer(std::string bytes) = 0;
    /// The next message; `nullopt` if the connection has ended.
    virtual Task<std::optional<WebSocketMessage>> read() = 0;
    virtual Task<> write(WebSocketMessage message) = 0;
    /// Writes one message in several frames.
    virtual Task<> writeFragments(std::vector<std::string> parts) = 0;
    virtual Task<> ping(std::string payload) = 0;
    virtual Task<> close(std::uint16_t code, std::string reason) = 0;
    /// Writes bytes below the WebSocket layer.
    virtual Task<> writeRaw(std::string bytes) = 0;
    /// Reads some bytes below the WebSocket layer; empty at the end.
    virtual Task<std::string> readRaw() = 0;
    /// Drops the connection with a reset.
    virtual void reset() = 0;
    /// The close code from the client; 0 if there is none.
    virtual std::uint16_t closeCode() const = 0;

    std::string requestHead;        ///< set by upgrade() and answer()
    std::string serverName;         ///< the server name (SNI) in the client's TLS hello
    std::vector<std::string> pings; ///< payloads that arrived during reads
    std::vector<std::string> pongs;
};

/// Listens on a free port of the loopback interface.
class TestServer {
public:
    /// With certificates the connections use TLS.
    TestServer(Executor executor, TestCertificates const* certificates = nullptr);
    ~TestServer();

    std::uint16_t port() const;
    /// "ws://127.0.0.1:PORT/machines/connect", or wss.
    std::string url(std::string const& host = "127.0.0.1") const;
    std::string httpUrl(std::string const& host = "127.0.0.1") const;
    /// Accepts a connection, before TLS handshake and upgrade.
    Task<std::shared_ptr<TestPeer>> accept();
    /// Accepts a connection that is ready for messages.
    Task<std::shared_ptr<TestPeer>> acceptUpgraded();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
