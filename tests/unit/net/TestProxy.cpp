#include "unit/net/TestProxy.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

namespace zelvo {

namespace {

using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;

Task<> relay(std::shared_ptr<tcp::socket> from, std::shared_ptr<tcp::socket> to)
{
    std::string block(65536, '\0');
    ErrorCode error;
    while (!error) {
        auto const count = co_await from->async_read_some(asio::buffer(block),
                                                          asio::redirect_error(asio::use_awaitable, error));
        if (!error)
            co_await asio::async_write(*to, asio::buffer(block.data(), count),
                                       asio::redirect_error(asio::use_awaitable, error));
    }
    ErrorCode ignored;
    to->shutdown(tcp::socket::shutdown_send, ignored);
}

} // namespace

struct TestProxy::State : std::enable_shared_from_this<State> {
    State(Executor executor, std::uint16_t target)
        : acceptor(executor, tcp::endpoint(asio::ip::address_v4::loopback(), 0)), target(target)
    {
    }

    static Task<> serve(std::shared_ptr<State> self)
    {
        ErrorCode error;
        while (true) {
            tcp::socket client =
                co_await self->acceptor.async_accept(asio::redirect_error(asio::use_awaitable, error));
            if (error)
                co_return;
            auto kept = std::make_shared<tcp::socket>(std::move(client));
            asio::co_spawn(self->acceptor.get_executor(), tunnel(self, kept), asio::detached);
        }
    }

    static Task<> tunnel(std::shared_ptr<State> self, std::shared_ptr<tcp::socket> client)
    {
        std::string head;
        co_await asio::async_read_until(*client, asio::dynamic_buffer(head), "\r\n\r\n", asio::use_awaitable);
        self->heads.push_back(head);
        if (!self->refusal.empty()) {
            co_await asio::async_write(*client, asio::buffer(self->refusal), asio::use_awaitable);
            co_return;
        }
        auto server = std::make_shared<tcp::socket>(client->get_executor());
        tcp::endpoint const endpoint(asio::ip::address_v4::loopback(), self->target);
        co_await server->async_connect(endpoint, asio::use_awaitable);
        std::string const answer = "HTTP/1.1 200 Connection established\r\nVia: test\r\n\r\n";
        co_await asio::async_write(*client, asio::buffer(answer), asio::use_awaitable);
        asio::co_spawn(client->get_executor(), relay(client, server), asio::detached);
        co_await relay(server, client);
    }

    tcp::acceptor acceptor;
    std::uint16_t target;
    std::vector<std::string> heads;
    std::string refusal;
};

TestProxy::TestProxy(Executor executor, std::uint16_t target)
    : state(std::make_shared<State>(executor, target))
{
    asio::co_spawn(executor, State::serve(state), asio::detached);
}

TestProxy::~TestProxy()
{
    ErrorCode ignored;
    state->acceptor.close(ignored);
}

std::string TestProxy::url(std::string const& userInfo) const
{
    return "http://" + userInfo + (userInfo.empty() ? "" : "@") +
           "127.0.0.1:" + std::to_string(state->acceptor.local_endpoint().port());
}

std::vector<std::string> const& TestProxy::heads() const
{
    return state->heads;
}

void TestProxy::refuseWith(std::string answer)
{
    state->refusal = std::move(answer);
}

} // namespace zelvo
