#include "ZelvoGateway/Server.h"

#include "ZelvoGateway/ServerParts.h"

namespace zelvo::service {

Server::Server(Settings wanted, Clock* clock) : parts(std::make_unique<Parts>(std::move(wanted), clock)) {}

Server::~Server() = default;

std::uint16_t Server::port() const
{
    return parts->port();
}

std::string Server::address() const
{
    return parts->address();
}

std::string Server::newConsoleLink()
{
    return parts->newConsoleLink();
}

std::string Server::metricsAddress() const
{
    return parts->metricsAddress();
}

void Server::run(ServingWatch watch)
{
    parts->run(std::move(watch));
}

void Server::reload(std::optional<Settings> next, std::function<void(std::vector<std::string>)> done)
{
    parts->reload(std::move(next), std::move(done));
}

void Server::stop()
{
    parts->stop();
}

void Server::stopNow()
{
    parts->stopNow();
}

} // namespace zelvo::service
