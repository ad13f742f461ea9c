#pragma once

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelvo::service {

/// A client of "/mcp" over a WebSocket that reads and writes only when the test says so.
class McpSocketClient {
public:
    McpSocketClient(std::uint16_t port, std::string const& key, std::string const& target = "/mcp")
    {
        namespace asio = boost::asio;
        auto& tcp = socket.next_layer();
        tcp.open(asio::ip::tcp::v4());
        // So that the peer soon notices that nobody reads.
        tcp.set_option(asio::socket_base::receive_buffer_size(smallBuffer));
        tcp.set_option(asio::socket_base::send_buffer_size(smallBuffer));
        tcp.connect({asio::ip::address_v4::loopback(), port});
        socket.read_message_max(0);
        socket.set_option(boost::beast::websocket::stream_base::decorator(
            [key](boost::beast::websocket::request_type& head) {
                head.set("Authorization", "Bearer " + key);
            }));
        socket.handshake("127.0.0.1:" + std::to_string(port), target);
    }

    /// False if the peer does not take the text within the time, or is gone. A text that was begun stays
    /// begun: finish it with resumeWriting() before the next one.
    bool write(std::string text, std::chrono::milliseconds patience = std::chrono::seconds(10))
    {
        outgoing = std::move(text);
        isWritten = false;
        socket.async_write(boost::asio::buffer(outgoing),
                           [this](boost::system::error_code error, std::size_t) { isWritten = !error; });
        return resumeWriting(patience);
    }
    bool resumeWriting(std::chrono::milliseconds patience = std::chrono::seconds(10))
    {
        runUntil(patience, [this] { return isWritten; });
        return isWritten;
    }

    /// The next message; empty if none arrives within ten seconds.
    std::string read()
    {
        bool isRead = false;
        boost::beast::flat_buffer buffer;
        socket.async_read(buffer, [&](boost::system::error_code error, std::size_t) {
            isRead = true;
            hasEnded = hasEnded || error;
        });
        runUntil(std::chrono::seconds(10), [&] { return isRead; });
        if (!isRead) {
            boost::system::error_code ignored;
            socket.next_layer().close(ignored);
            runUntil(std::chrono::seconds(10), [&] { return isRead; });
        }
        return boost::beast::buffers_to_string(buffer.data());
    }

    /// The code with which the peer closed; 0 if it did not.
    int closeCode() const { return socket.reason().code; }

    bool hasEnded = false;

private:
    static constexpr int smallBuffer = 64 * 1024;

    template <class Condition>
    void runUntil(std::chrono::milliseconds patience, Condition const& isTrue)
    {
        auto const end = std::chrono::steady_clock::now() + patience;
        io.restart();
        while (!isTrue() && std::chrono::steady_clock::now() < end)
            if (io.run_one_until(end) == 0)
                return;
    }

    boost::asio::io_context io;
    boost::beast::websocket::stream<boost::asio::ip::tcp::socket> socket{io};
    std::string outgoing;
    bool isWritten = true;
};

} // namespace zelvo::service
