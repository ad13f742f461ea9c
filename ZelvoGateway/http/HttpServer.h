#pragma once

#include "ZelvoGateway/http/HttpSession.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <memory>
#include <set>
#include <string>

namespace zelvo::service {

/// Listens, and serves every connection in a session: with TLS once it has a certificate, else without.
/// Thread: the one that runs `io`.
class HttpServer {
public:
    HttpServer(asio::io_context& io, SessionParts parts);

    /// address   an IP address
    /// port      0 takes a free one
    /// Throws    std::runtime_error with a text for the person who started the program
    void listen(std::string const& address, std::uint16_t port);
    std::uint16_t port() const { return boundPort; }
    /// "http://127.0.0.1:8737", where this computer reaches the server; "https:" with TLS.
    std::string localAddress() const;
    /// The certificate for the connections that are accepted from now on. Never null.
    void setTls(std::shared_ptr<TlsContext> context) { tls = std::move(context); }

    /// Accepts connections until stop().
    void start();
    /// Closes the listening socket. The connections stay.
    void stopAccepting();
    /// Ends every connection: at once, or as soon as its request is answered. Also stops accepting.
    enum class Answers { dropped, sent };
    void stop(Answers answers = Answers::dropped);
    std::size_t connections() const { return sessions.size(); }
    bool isStopping() const { return parts.stopping; }

private:
    Task<> acceptAll();
    Task<> serveOne(PeerStream stream, RequestLimits::Lease ofAddress);
    bool admits(asio::ip::tcp::socket const& socket, RequestLimits::Lease& ofAddress);
    bool makePlace();
    Task<> turnAway(PeerStream stream);

    asio::io_context& io;
    SessionParts parts;
    asio::ip::tcp::acceptor acceptor;
    std::shared_ptr<TlsContext> tls; // Null for plain HTTP.
    std::set<std::shared_ptr<HttpSession>> sessions;
    std::size_t turnedAway = 0; // Connections that are being refused now.
    asio::ip::address listenAddress;
    std::uint16_t boundPort = 0;
};

} // namespace zelvo::service
