#include "HttpLine.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <optional>
#include <stdexcept>

namespace zelvo {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

constexpr std::uint64_t maxAnswer = std::uint64_t{64} << 20; // bytes

} // namespace

struct HttpLine::State {
    asio::io_context io{1};
    tcp::socket socket{io};
    boost::beast::flat_buffer buffer;
    http::request<http::string_body> request;
    std::optional<http::response_parser<http::string_body>> response;
};

HttpLine::HttpLine(std::uint16_t port, std::string path, std::vector<std::string> const& headers)
    : state(std::make_unique<State>())
{
    state->socket.connect({asio::ip::address_v4::loopback(), port});
    state->socket.set_option(tcp::no_delay(true));
    state->request = {http::verb::post, path, 11};
    state->request.set(http::field::host, "127.0.0.1:" + std::to_string(port));
    state->request.set(http::field::content_type, "application/json");
    for (std::string const& line : headers) {
        std::size_t const colon = line.find(": ");
        state->request.set(line.substr(0, colon), line.substr(colon + 2));
    }
}

HttpLine::~HttpLine() = default;

std::string const& HttpLine::post(std::string const& body)
{
    state->request.body() = body;
    state->request.prepare_payload();
    http::write(state->socket, state->request);
    state->response.emplace().body_limit(maxAnswer);
    http::read(state->socket, state->buffer, *state->response);
    auto const& answer = state->response->get();
    if (answer.result() != http::status::ok)
        throw std::runtime_error("the gateway answered " + answer.body().substr(0, 1000));
    return answer.body();
}

} // namespace zelvo
