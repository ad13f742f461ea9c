#include "ZelvoGateway/Server.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr char const* addressFile = "address";
constexpr auto patienceAtEnd = std::chrono::seconds(5);

std::string inUrl(asio::ip::address const& address)
{
    return address.is_v6() ? "[" + address.to_string() + "]" : address.to_string();
}

asio::ip::address listenAddress(std::string const& text)
{
    boost::system::error_code error;
    auto const address = asio::ip::make_address(text, error);
    if (error)
        throw std::runtime_error("\"" + text + "\" is no address to listen on, such as 127.0.0.1 or ::");
    return address;
}

} // namespace

Server::Server(Settings wanted, Clock* clock)
    : settings(std::move(wanted)), folder(settings.dataFolder), key(ApiKey::loadOrMake(folder)),
      store(folder.file("gateway.sqlite")), memory(settings.limits.memory), clock(clock ? *clock : ownClock),
      api(store,
          machines,
          key,
          settings,
          this->clock,
          memory,
          workers.get_executor(),
          std::make_shared<RecordingFolder const>(folder.file("recordings"))),
      parts{.settings = settings,
            .store = store,
            .machines = machines,
            .api = api,
            .memory = memory,
            .workers = workers.get_executor()},
      acceptor(io)
{
    folder.lock();
    store.endInterruptedCommands(this->clock.date());
    api.begin();
    listen();
    folder.write(addressFile, address() + "\n");
}

Server::~Server()
{
    folder.remove(addressFile);
    workers.join();
    clock.dropSleepers();
}

void Server::listen()
{
    asio::ip::tcp::endpoint const endpoint(listenAddress(settings.listen), settings.port);
    try {
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
    } catch (boost::system::system_error const& error) {
        throw std::runtime_error("cannot listen on " + inUrl(endpoint.address()) + ":" +
                                 std::to_string(settings.port) + ": " + error.code().message());
    }
    boundPort = acceptor.local_endpoint().port();
}

std::string Server::address() const
{
    if (!settings.publicUrl.empty())
        return settings.publicUrl;
    auto host = listenAddress(settings.listen);
    if (host.is_unspecified())
        host = host.is_v6() ? asio::ip::address(asio::ip::address_v6::loopback())
                            : asio::ip::address(asio::ip::address_v4::loopback());
    return "http://" + inUrl(host) + ":" + std::to_string(boundPort);
}

std::string Server::newConsoleLink()
{
    return service::newConsoleLink(store, address(), settings.consoleLinkLifetime);
}

void Server::run()
{
    spawn(io.get_executor(), [this] { return acceptAll(); });
    // From inside the loop, where it starts at once: one that is cancelled before its start throws out of
    // run().
    asio::post(io, [this] {
        if (!parts.stopping)
            maintenance = spawn(io.get_executor(), [this] { return api.runMaintenance(); });
    });
    while (!parts.stopping && io.run_one() > 0) {
    }
    io.run_for(patienceAtEnd); // Until the last connection has ended.
}

Task<> Server::acceptAll()
{
    while (!parts.stopping) {
        auto [error, socket] = co_await acceptor.async_accept(asTuple);
        if (parts.stopping)
            co_return;
        if (error) { // Out of descriptors, mostly: others end soon.
            asio::steady_timer pause(io, std::chrono::milliseconds(100));
            co_await pause.async_wait(asTuple);
            continue;
        }
        if (sessions.size() >= settings.limits.connections)
            continue; // Closes it.
        auto const shared = std::make_shared<asio::ip::tcp::socket>(std::move(socket));
        spawn(io.get_executor(), [this, shared] { return serveOne(std::move(*shared)); });
    }
}

Task<> Server::serveOne(asio::ip::tcp::socket socket)
{
    auto const session = HttpSession::create(std::move(socket), parts);
    sessions.insert(session);
    try {
        co_await session->serve();
    } catch (...) {
        sessions.erase(session);
        throw;
    }
    sessions.erase(session);
}

void Server::stop()
{
    asio::post(io, [this] { stopHere(); });
}

void Server::stopHere()
{
    if (std::exchange(parts.stopping, true))
        return;
    boost::system::error_code ignored;
    acceptor.close(ignored);
    machines.closeAll();
    api.stop();
    maintenance.cancel();
    ownClock.rest();
    for (auto const& session : sessions)
        session->drop();
}

} // namespace zelvo::service
