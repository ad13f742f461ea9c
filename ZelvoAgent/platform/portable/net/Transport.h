#pragma once

#include "base/Task.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/system/error_code.hpp>

#include <memory>

namespace zelvo {

/// The connection below a WebSocket: TCP, or TLS over it. Thread: the executor's.
struct Transport {
    using Socket = asio::ip::tcp::socket;

    explicit Transport(Executor executor) : socket(executor) {}
    Transport(Transport const&) = delete;
    Transport& operator=(Transport const&) = delete;

    /// Drops the connection; pending operations fail with operation_aborted.
    void close()
    {
        boost::system::error_code ignored;
        socket.close(ignored);
    }

    Socket socket;
    std::shared_ptr<asio::ssl::context> tlsContext;
    std::unique_ptr<asio::ssl::stream<Socket&>> tls; ///< null for plain TCP
};

} // namespace zelvo
