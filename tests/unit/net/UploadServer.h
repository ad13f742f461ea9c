#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

namespace zelvo {

/// A server for one upload, on a dedicated thread and with a fixed buffer. A test controls the connection
/// step by step.
class UploadServer {
public:
    using tcp = boost::asio::ip::tcp;

    /// The server's end of the connection. All calls block.
    class Guest {
    public:
        explicit Guest(tcp::socket socket) : socket(std::move(socket)) {}

        /// Reads to the end of the head, and maybe the first bytes of the body.
        void readHead()
        {
            while (head.find("\r\n\r\n") == std::string::npos)
                head += std::string(readSome());
            std::size_t const end = head.find("\r\n\r\n") + 4;
            keep(std::string_view(head).substr(end));
            head.resize(end);
        }
        /// Reads one byte, after which the client is certainly connected.
        void readByte()
        {
            boost::system::error_code error;
            boost::asio::read(socket, boost::asio::buffer(block, 1), error);
        }
        /// Reads until the body has this many bytes, or the client closes the connection.
        void readBody(std::int64_t bytes)
        {
            while (bodyBytes < bytes && !isOver)
                keep(readSome());
        }
        /// Reads until the client closes the connection.
        void readToEnd() { readBody(INT64_MAX); }
        void write(std::string_view bytes)
        {
            boost::system::error_code error;
            boost::asio::write(socket, boost::asio::buffer(bytes), error);
            isOver = isOver || error;
        }
        void close() { socket.close(); }
        void reset()
        {
            socket.set_option(boost::asio::socket_base::linger(true, 0));
            socket.close();
        }

        std::string head;
        std::string firstBytes; ///< of the body, at most 64
        std::string lastBytes;  ///< of the body, at most 64
        std::int64_t bodyBytes = 0;
        bool isOver = false;

    private:
        std::string_view readSome()
        {
            boost::system::error_code error;
            std::size_t const count = socket.read_some(boost::asio::buffer(block), error);
            isOver = isOver || error;
            if (error && head.find("\r\n\r\n") == std::string::npos)
                throw std::runtime_error("the client went before its head was there");
            return {block.data(), count};
        }
        void keep(std::string_view bytes)
        {
            constexpr std::size_t kept = 64;
            bodyBytes += static_cast<std::int64_t>(bytes.size());
            firstBytes += bytes.substr(0, kept - std::min(kept, firstBytes.size()));
            lastBytes += bytes.substr(bytes.size() - std::min(kept, bytes.size()));
            if (lastBytes.size() > kept)
                lastBytes.erase(0, lastBytes.size() - kept);
        }

        tcp::socket socket;
        std::array<char, 65536> block{};
    };

    /// serve  handles the one connection
    explicit UploadServer(std::function<void(Guest&)> serve)
        : acceptor(io, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)),
          thread([this, serve = std::move(serve)] {
              Guest guest(acceptor.accept());
              serve(guest);
              head = guest.head;
              firstBytes = guest.firstBytes;
              lastBytes = guest.lastBytes;
              bodyBytes = guest.bodyBytes;
          })
    {
    }
    ~UploadServer() { join(); }
    UploadServer(UploadServer const&) = delete;
    UploadServer& operator=(UploadServer const&) = delete;

    std::string url() const
    {
        return "http://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port()) + "/put/it?here=1";
    }
    /// Waits until `serve` has returned; the results below are valid only after that.
    void join()
    {
        if (thread.joinable())
            thread.join();
    }

    std::string head;
    std::string firstBytes;
    std::string lastBytes;
    std::int64_t bodyBytes = 0;

private:
    boost::asio::io_context io;
    tcp::acceptor acceptor;
    std::thread thread;
};

} // namespace zelvo
