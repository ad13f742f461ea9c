#include "ZelvoGateway/http/HttpServer.h"

#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/http/RequestCaller.h"
#include "ZelvoGateway/http/RequestReader.h"
#include "ZelvoGateway/http/ResponseWriter.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t maxTurnedAway = 64; // At a time; further ones are closed without an answer.

std::string inUrl(asio::ip::address const& address)
{
    return address.is_v6() ? "[" + address.to_string() + "]" : address.to_string();
}

asio::ip::address addressFrom(std::string const& text)
{
    boost::system::error_code error;
    auto const address = asio::ip::make_address(text, error);
    if (error)
        throw std::runtime_error("\"" + text + "\" is no address to listen on, such as 127.0.0.1 or ::");
    return address;
}

} // namespace

HttpServer::HttpServer(asio::io_context& io, SessionParts parts)
    : io(io), parts(std::move(parts)), acceptor(io)
{
}

void HttpServer::listen(std::string const& address, std::uint16_t port)
{
    listenAddress = addressFrom(address);
    asio::ip::tcp::endpoint const endpoint(listenAddress, port);
    try {
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
    } catch (boost::system::system_error const& error) {
        throw std::runtime_error("cannot listen on " + inUrl(listenAddress) + ":" + std::to_string(port) +
                                 ": " + error.code().message());
    }
    boundPort = acceptor.local_endpoint().port();
}

std::string HttpServer::localAddress() const
{
    asio::ip::address host = listenAddress;
    if (host.is_unspecified())
        host = host.is_v6() ? asio::ip::address(asio::ip::address_v6::loopback())
                            : asio::ip::address(asio::ip::address_v4::loopback());
    return (tls ? "https://" : "http://") + inUrl(host) + ":" + std::to_string(boundPort);
}

void HttpServer::start()
{
    spawn(io.get_executor(), [this] { return acceptAll(); });
}

Task<> HttpServer::acceptAll()
{
    while (acceptor.is_open()) {
        auto [error, socket] = co_await acceptor.async_accept(asTuple);
        if (!acceptor.is_open())
            co_return;
        if (error) { // Mostly because there are no descriptors left; other connections end soon.
            asio::steady_timer pause(io, std::chrono::milliseconds(100));
            co_await pause.async_wait(asTuple);
            continue;
        }
        RequestLimits::Lease ofAddress;
        if (!admits(socket, ofAddress))
            continue; // Closes it.
        bool const hasPlace = sessions.size() < parts.limits.connections || makePlace();
        if (!hasPlace)
            parts.metrics.refused(Refusal::connections);
        if (!hasPlace && turnedAway >= maxTurnedAway)
            continue; // Closes it.
        auto const shared = std::make_shared<PeerStream>(std::move(socket), tls);
        spawn(io.get_executor(), [this, shared, hasPlace, ofAddress] {
            return hasPlace ? serveOne(std::move(*shared), ofAddress) : turnAway(std::move(*shared));
        });
    }
}

/// A crowd of one address is closed without an answer, which costs almost nothing. Callers behind a trusted
/// proxy are judged by their requests.
bool HttpServer::admits(asio::ip::tcp::socket const& socket, RequestLimits::Lease& ofAddress)
{
    asio::ip::address const peer = peerAddressOf(socket);
    if (!parts.requestLimits || parts.proxies.contains(peer))
        return true;
    try {
        ofAddress = parts.requestLimits->admit(peer);
        return true;
    } catch (HttpError const& refusal) {
        parts.metrics.refused(refusal.limit.value_or(Refusal::addressRate));
        return false;
    }
}

/// Answers without reading the request, since every place is taken.
Task<> HttpServer::turnAway(PeerStream stream)
{
    ++turnedAway;
    std::shared_ptr<void> const end(nullptr, [this](void*) { --turnedAway; });
    if (co_await stream.begin(parts.limits.handshake))
        co_return;
    boost::beast::flat_buffer buffer;
    HttpResponse response = errorResponse({.status = 503,
                                           .code = ErrorCode::rateLimited,
                                           .message = "Too many connections are open",
                                           .requestId = newId("req"),
                                           .retryAfter = std::chrono::seconds(5)});
    ResponseWriter writer(stream, parts.workers);
    co_await writer.write(std::move(response), false, true);
    RequestReader reader(stream, buffer, parts.limits);
    co_await reader.drain(&parts.stopping);
}

/// Ends the connection that has waited for longest. Slow callers, however many, so lock nobody out who sends
/// a request at once. False if every connection serves a caller that may call.
bool HttpServer::makePlace()
{
    std::shared_ptr<HttpSession> oldest;
    for (auto const& session : sessions)
        if (auto const since = session->waitsSince(); since && (!oldest || *since < *oldest->waitsSince()))
            oldest = session;
    if (!oldest)
        return false;
    parts.metrics.refused(Refusal::idleConnection);
    oldest->drop();
    return true;
}

Task<> HttpServer::serveOne(PeerStream stream, RequestLimits::Lease ofAddress)
{
    auto const session = HttpSession::create(std::move(stream), parts, std::move(ofAddress));
    sessions.insert(session);
    try {
        co_await session->serve();
    } catch (...) {
        sessions.erase(session);
        throw;
    }
    sessions.erase(session);
}

void HttpServer::stopAccepting()
{
    boost::system::error_code ignored;
    acceptor.close(ignored);
}

void HttpServer::stop(Answers answers)
{
    stopAccepting();
    parts.stopping = true;
    for (auto const& session : sessions)
        if (answers == Answers::dropped || !session->isServing())
            session->drop();
}

} // namespace zelvo::service
