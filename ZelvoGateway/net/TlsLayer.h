#pragma once

#include "base/Task.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/system/error_code.hpp>

#include <cstddef>
#include <memory>
#include <string>

namespace boost::asio::ssl {
class context;
}

namespace zelvo::service {

using TlsContext = boost::asio::ssl::context;

/// TLS over a TCP stream, without its templates: these are compiled in one file only. One read and one write
/// at a time. Thread: the stream's.
class TlsLayer {
public:
    using ErrorCode = boost::system::error_code;
    using Handler = asio::any_completion_handler<void(ErrorCode, std::size_t)>;
    static constexpr std::size_t maxRecord = 16384;

    enum class Side { server, client };

    /// tcp   must outlive it
    TlsLayer(boost::beast::tcp_stream& tcp, std::shared_ptr<TlsContext> context);
    TlsLayer(TlsLayer const&) = delete;
    TlsLayer& operator=(TlsLayer const&) = delete;
    ~TlsLayer();

    /// host   that a client asks for; empty for none
    Task<ErrorCode> handshake(Side side, std::string host = {});
    /// Sends the end of the stream, and waits for the peer's or anything else from it.
    Task<> shutDown();

    /// The handler is called on the stream's executor.
    void readSome(asio::mutable_buffer into, Handler handler);
    void writeSome(asio::const_buffer from, Handler handler);
    /// Room for the bytes of the next write, valid until the following call.
    asio::mutable_buffer staging(std::size_t bytes);

private:
    struct Stream;
    std::unique_ptr<Stream> stream;
};

/// Whether a handshake failed because the peer speaks HTTP without TLS.
bool isPlainHttp(boost::system::error_code const& error);

} // namespace zelvo::service
