#pragma once

#include "base/Task.h"
#include "platform/portable/net/ProxyChoice.h"
#include "platform/portable/net/Transport.h"
#include "platform/portable/net/WebSocketAddress.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/system/error_code.hpp>

#include <cstdint>
#include <functional>
#include <string>

namespace zelvo {

/// Connects a transport: name lookup, each address of the host in turn, the proxy, TLS.
/// Thread: the transport's executor.
class TransportConnector {
public:
    /// transport     must outlive it
    /// workers       where certificates are read
    /// throwIfEnded  throws once the connection is no longer wanted; called after each wait
    TransportConnector(Transport& transport, Executor workers, std::function<void()> throwIfEnded);

    /// Throws NetworkFailure, boost::system::system_error, or what `throwIfEnded` throws.
    Task<> connect(WebSocketAddress address);
    /// Ends the name lookup. To end later steps, close the transport.
    void cancel();

private:
    using ErrorCode = boost::system::error_code;
    using tcp = asio::ip::tcp;

    Task<> connectTcp(std::string host, std::uint16_t port);
    Task<ErrorCode> tryAddress(tcp::endpoint endpoint, bool isLast);
    Task<> tunnel(Proxy proxy, WebSocketAddress address);
    Task<std::string> readAnswer();
    Task<> startTls(std::string host);

    Transport& transport;
    Executor workers;
    std::function<void()> throwIfEnded;
    tcp::resolver resolver;
    asio::steady_timer attemptLimit;
};

} // namespace zelvo
