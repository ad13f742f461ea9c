#pragma once

#include "base/Task.h"
#include "platform/portable/net/HttpHead.h"
#include "platform/portable/net/Transport.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/error.hpp>
#include <boost/system/system_error.hpp>

#include <array>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace zelvo {

/// The byte stream below a WebSocket: TCP, or TLS over it. One type for both, so that the WebSocket code is
/// compiled once.
/// The head of the response to the upgrade is read here, and only the head: its status is known even if the
/// body of a refusal never ends. From then on reads and writes pass through. Thread: the executor's. Included
/// by BeastWebSocket.cpp only.
class TransportStream : public Transport {
public:
    using executor_type = Executor;
    using ErrorCode = boost::system::error_code;

    explicit TransportStream(Executor executor) : Transport(std::move(executor)) {}

    Executor get_executor() { return socket.get_executor(); }

    std::function<void(int status)> onStatus; ///< receives the status of the response to the upgrade
    std::function<void()> onTearDown;         ///< the session is over and the connection closes

    template <class Buffers, class Token>
    auto async_read_some(Buffers const& buffers, Token&& token)
    {
        auto start = [this](auto handler, auto const& into) {
            if (!head) {
                readHeadThenServe(into, std::move(handler));
                return;
            }
            if (served < received.size())
                return serve(into, std::move(handler));
            if (tls)
                tls->async_read_some(into, std::move(handler));
            else
                socket.async_read_some(into, std::move(handler));
        };
        return asio::async_initiate<Token, void(ErrorCode, std::size_t)>(start, token, buffers);
    }

    template <class Buffers, class Token>
    auto async_write_some(Buffers const& buffers, Token&& token)
    {
        auto start = [this](auto handler, auto const& from) {
            if (tls)
                tls->async_write_some(from, std::move(handler));
            else
                socket.async_write_some(from, std::move(handler));
        };
        return asio::async_initiate<Token, void(ErrorCode, std::size_t)>(start, token, buffers);
    }

    /// Beast's hooks for the end of a session.
    template <class Handler>
    friend void async_teardown(boost::beast::role_type, TransportStream& stream, Handler&& handler)
    {
        auto onEnd = [handler = std::forward<Handler>(handler)](std::exception_ptr) mutable {
            std::move(handler)(ErrorCode{});
        };
        asio::co_spawn(stream.get_executor(), stream.tearDown(), std::move(onEnd));
    }
    friend void beast_close_socket(TransportStream& stream) { stream.close(); }

private:
    template <class Buffers, class Handler>
    void readHeadThenServe(Buffers into, Handler handler)
    {
        auto onHead = [this, into, handler = std::move(handler)](std::exception_ptr,
                                                                 ErrorCode error) mutable {
            if (error)
                std::move(handler)(error, std::size_t{0});
            else
                std::move(handler)(error, copyOut(into));
        };
        asio::co_spawn(get_executor(), readHead(), std::move(onHead));
    }

    template <class Buffers, class Handler>
    void serve(Buffers const& into, Handler handler)
    {
        std::size_t const count = copyOut(into);
        asio::post(get_executor(), [handler = std::move(handler), count]() mutable {
            std::move(handler)(ErrorCode{}, count);
        });
    }

    template <class Buffers>
    std::size_t copyOut(Buffers const& into)
    {
        // Serve the head alone: the bytes after it are frames and must not be parsed as part of the head.
        std::size_t const end = served < *head ? *head : received.size();
        std::size_t const count =
            asio::buffer_copy(into, asio::buffer(received.data() + served, end - served));
        served += count;
        if (served == received.size()) {
            received.clear();
            received.shrink_to_fit();
            served = 0;
            head = 0;
        }
        return count;
    }

    Task<ErrorCode> readHead()
    {
        std::array<char, 2048> block;
        std::optional<std::size_t> length;
        while (!(length = headLength(received))) {
            if (received.size() > maxHeadBytes)
                co_return boost::beast::websocket::error::bad_http_version;
            ErrorCode error;
            auto token = asio::redirect_error(asio::use_awaitable, error);
            std::size_t count = 0;
            if (tls)
                count = co_await tls->async_read_some(asio::buffer(block), token);
            else
                count = co_await socket.async_read_some(asio::buffer(block), token);
            if (error)
                co_return error;
            received.append(block.data(), count);
        }
        auto const status = statusOfHead(received);
        if (!status)
            co_return boost::beast::websocket::error::bad_http_version;
        onStatus(*status);
        if (*status != 101)
            co_return boost::beast::websocket::error::upgrade_declined;
        head = length;
        co_return ErrorCode{};
    }

    /// Closes gracefully and drains what the peer still sends: closing with unread bytes would reset the
    /// connection, and the peer would lose our close frame. The owner of onTearDown limits the time with
    /// close().
    Task<> tearDown()
    {
        onTearDown();
        ErrorCode error;
        if (tls)
            co_await tls->async_shutdown(asio::redirect_error(asio::use_awaitable, error));
        socket.shutdown(Socket::shutdown_send, error);
        std::array<char, 4096> scrap;
        for (error = {}; !error;)
            co_await socket.async_read_some(asio::buffer(scrap),
                                            asio::redirect_error(asio::use_awaitable, error));
        close();
    }

    std::optional<std::size_t> head; ///< length of the response head, once it is complete
    std::string received;            ///< the head and what arrived with it, until all is served
    std::size_t served = 0;
};

} // namespace zelvo
