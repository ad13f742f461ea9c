#pragma once

#include "ZelvoGateway/net/TlsLayer.h"
#include "base/Clock.h"
#include "base/Task.h"

#include <boost/asio/async_result.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/core/tcp_stream.hpp>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace zelvo::service {

/// The byte stream of a connection: TCP, or TLS over it. One type for both, so that what uses it never asks
/// which it is. Has the time limits of boost::beast::tcp_stream, which also hold for TLS.
/// A stream that is closed must live until its pending operations have ended.
/// Thread: its executor's.
class PeerStream {
public:
    using executor_type = boost::beast::tcp_stream::executor_type;
    using ErrorCode = boost::system::error_code;

    /// Plain TCP, not connected.
    explicit PeerStream(executor_type executor);
    /// tls   for the server's side of a TLS connection; null for plain TCP
    explicit PeerStream(asio::ip::tcp::socket socket, std::shared_ptr<TlsContext> tls = nullptr);
    PeerStream(PeerStream&& other) noexcept;
    PeerStream(PeerStream const&) = delete;
    PeerStream& operator=(PeerStream const&) = delete;
    ~PeerStream();

    executor_type get_executor() { return tcp->get_executor(); }
    asio::ip::tcp::socket& socket() { return tcp->socket(); }
    boost::beast::tcp_stream& plain() { return *tcp; }
    bool hasTls() const { return tls != nullptr; }

    /// The server's side of the TLS handshake; does nothing on plain TCP.
    Task<ErrorCode> begin(Duration limit);
    /// Begins TLS as a client on a connected stream.
    /// host   that the client asks for, and that the context's verification may check; empty for none
    Task<ErrorCode> beginAsClient(std::shared_ptr<TlsContext> context, std::string host);
    /// Goes on without TLS, for a peer that did not speak it.
    void leaveTls() { tls.reset(); }
    /// Sends what ends the stream. Afterwards it gives the peer's remaining bytes as they come, to be
    /// dropped.
    Task<> finishSending(Duration limit);

    void expires_after(Duration limit) { tcp->expires_after(limit); }
    void expires_at(std::chrono::steady_clock::time_point time) { tcp->expires_at(time); }
    void expires_never() { tcp->expires_never(); }
    void cancel() { tcp->cancel(); }
    /// Drops the connection.
    void close();

    template <class Buffers, class Token>
    auto async_read_some(Buffers const& buffers, Token&& token)
    {
        auto start = [this](auto handler, auto const& into) {
            if (tls)
                tls->readSome(firstOf<asio::mutable_buffer>(into), std::move(handler));
            else
                tcp->async_read_some(into, std::move(handler));
        };
        return asio::async_initiate<Token, void(ErrorCode, std::size_t)>(start, token, buffers);
    }

    template <class Buffers, class Token>
    auto async_write_some(Buffers const& buffers, Token&& token)
    {
        auto start = [this](auto handler, auto const& from) {
            if (tls)
                tls->writeSome(recordOf(from), std::move(handler));
            else
                tcp->async_write_some(from, std::move(handler));
        };
        return asio::async_initiate<Token, void(ErrorCode, std::size_t)>(start, token, buffers);
    }

    /// Beast's hooks for the end of a WebSocket.
    template <class Handler>
    friend void async_teardown(boost::beast::role_type role, PeerStream& stream, Handler&& handler)
    {
        stream.tearDown(role, std::forward<Handler>(handler));
    }
    friend void beast_close_socket(PeerStream& stream) { stream.close(); }

private:
    template <class Buffer, class Buffers>
    static Buffer firstOf(Buffers const& buffers)
    {
        auto const end = asio::buffer_sequence_end(buffers);
        for (auto each = asio::buffer_sequence_begin(buffers); each != end; ++each)
            if (Buffer const buffer(*each); buffer.size() > 0)
                return buffer;
        return {};
    }

    /// The first bytes of a message in one piece, so that a short head shares a record with what follows.
    template <class Buffers>
    asio::const_buffer recordOf(Buffers const& buffers)
    {
        auto const first = firstOf<asio::const_buffer>(buffers);
        std::size_t const all = asio::buffer_size(buffers);
        if (first.size() == all || first.size() >= TlsLayer::maxRecord)
            return first;
        asio::mutable_buffer const staged = tls->staging(std::min(all, TlsLayer::maxRecord));
        asio::buffer_copy(staged, buffers);
        return staged;
    }

    void tearDown(boost::beast::role_type role, asio::any_completion_handler<void(ErrorCode)> done);

    std::unique_ptr<boost::beast::tcp_stream> tcp; // Where TLS finds it, also after a move.
    std::unique_ptr<TlsLayer> tls;                 // Null for plain TCP.
};

} // namespace zelvo::service
