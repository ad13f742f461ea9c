#pragma once

#include "base/Contexts.h"
#include "platform/WebSocket.h"

namespace zelvo {

/// Opens ws and wss sockets. Certificates are checked against the system's store (or SSL_CERT_FILE and
/// SSL_CERT_DIR) and the host's name; TLS 1.2 at least. The proxy variables apply to both (ProxyChoice.h).
/// Redirects are not followed. Thread: any. The sockets run on `contexts.agent`, which must be one thread,
/// and read certificates on the workers.
class BeastWebSocketOpener final : public WebSocketOpener {
public:
    explicit BeastWebSocketOpener(Contexts contexts);
    std::shared_ptr<WebSocket> open(WebSocketRequest request) override;

private:
    Contexts contexts;
};

} // namespace zelvo
