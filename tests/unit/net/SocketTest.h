#pragma once

#include "platform/portable/net/BeastWebSocket.h"
#include "unit/net/NetTest.h"
#include "unit/net/TestPeer.h"

#include <memory>
#include <utility>

namespace zelvo {

inline WebSocketMessage textMessage(std::string payload)
{
    return {WebSocketMessage::Kind::text, std::move(payload)};
}

/// A test with one plain server, and functions to open sockets to it.
class SocketTest : public NetTest {
protected:
    struct Link {
        std::shared_ptr<WebSocket> client;
        std::shared_ptr<TestPeer> peer;
    };

    std::shared_ptr<WebSocket> open(WebSocketRequest request) { return opener.open(std::move(request)); }
    std::shared_ptr<WebSocket> openTo(TestServer const& to, Duration timeout = 20s)
    {
        WebSocketRequest request;
        request.url = to.url();
        request.timeout = timeout;
        return open(std::move(request));
    }

    /// A socket whose handshake is complete on both sides.
    Link link()
    {
        auto client = openTo(server);
        auto peer = wait(server.acceptUpgraded());
        until([&] { return client->httpStatus() == 101; });
        return {client, peer};
    }

    TestServer server{io.get_executor()};
    BeastWebSocketOpener opener{contexts()};
};

} // namespace zelvo
