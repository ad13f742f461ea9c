#include "gateway/support/HttpClient.h"

#include "base/Text.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zelvo::service {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr int longestStart = 10; // Seconds until an answer begins, on a computer that has other things to do.

asio::ip::tcp::endpoint loopback(std::uint16_t port)
{
    return {asio::ip::address_v4::loopback(), port};
}

} // namespace

json::value Answer::json() const
{
    auto const value = parseJson(body);
    if (!value)
        throw std::runtime_error("no JSON with status " + std::to_string(status) + ": " +
                                 body.substr(0, 200));
    return *value;
}

std::string Answer::errorCode() const
{
    json::value const value = parseJson(body).value_or(json::value());
    json::object const* const error = value.is_object() ? read::object(value.get_object(), "error") : nullptr;
    return error ? read::text(*error, "code").value_or("") : "";
}

Answer request(std::uint16_t port,
               std::string const& method,
               std::string const& target,
               std::string const& body,
               Headers headers)
{
    asio::io_context io;
    asio::ip::tcp::socket socket(io);
    socket.connect(loopback(port));
    http::request<http::string_body> message;
    message.version(11);
    message.method_string(method);
    message.target(target);
    message.set(http::field::host, "127.0.0.1:" + std::to_string(port));
    message.set(http::field::connection, "close");
    for (auto const& [name, value] : headers)
        message.set(name, value);
    message.body() = body;
    message.prepare_payload();
    boost::system::error_code error;
    http::write(socket, message, error); // A refusal may come before everything was sent.
    boost::beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(boost::none);
    parser.skip(method == "HEAD");
    http::read(socket, buffer, parser, error);
    Answer answer;
    if (!parser.is_header_done())
        return answer;
    answer.status = static_cast<int>(parser.get().result_int());
    answer.body = parser.get().body();
    for (auto const& field : parser.get())
        answer.headers[text::lowercased(std::string(field.name_string()))] = std::string(field.value());
    return answer;
}

RawConnection::RawConnection(std::uint16_t port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot connect");
}

RawConnection::~RawConnection()
{
    ::close(socket);
}

bool RawConnection::send(std::string const& bytes) const
{
    for (std::size_t done = 0; done < bytes.size();) {
        ssize_t const count = ::send(socket, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

std::string RawConnection::readSome() const
{
    char piece[65536];
    ssize_t const count = ::recv(socket, piece, sizeof piece, 0);
    return std::string(piece, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
}

std::string RawConnection::readToEnd(int patience)
{
    std::string all;
    for (;;) {
        pollfd ready{.fd = socket, .events = POLLIN, .revents = 0};
        int const seconds = all.empty() ? std::max(patience, longestStart) : patience;
        if (::poll(&ready, 1, seconds * 1000) <= 0)
            return all;
        char piece[65536];
        ssize_t const count = ::recv(socket, piece, sizeof piece, 0);
        if (count <= 0)
            return all;
        all.append(piece, static_cast<std::size_t>(count));
    }
}

bool RawConnection::closes(int seconds)
{
    for (;;) {
        pollfd ready{.fd = socket, .events = POLLIN, .revents = 0};
        if (::poll(&ready, 1, seconds * 1000) <= 0)
            return false;
        char piece[65536];
        if (::recv(socket, piece, sizeof piece, 0) <= 0)
            return true;
    }
}

} // namespace zelvo::service
