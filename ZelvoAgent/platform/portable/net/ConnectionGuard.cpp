#include "platform/portable/net/ConnectionGuard.h"

#include "base/Text.h"

namespace zelvo {

namespace {

namespace ip = boost::asio::ip;

/// A name or address of a URL in one form.
std::string plainHost(std::string const& host)
{
    std::string name = text::lowercased(host);
    while (name.ends_with('.'))
        name.pop_back();
    if (name.starts_with('[') && name.ends_with(']'))
        name = name.substr(1, name.size() - 2);
    return name;
}

} // namespace

ConnectionGuard::ConnectionGuard(std::string const& gatewayAddress, Networks networks)
    : gatewayHost(plainHost(gatewayAddress)), networks(networks)
{
    boost::system::error_code error;
    ip::address const address = ip::make_address(gatewayAddress, error);
    if (!error)
        gateway = unmapped(address);
}

bool ConnectionGuard::allows(ip::address const& address) const
{
    ip::address const wanted = unmapped(address);
    if (gateway && (gateway->is_loopback() || *gateway == wanted))
        return true;
    return isPublicAddress(wanted) && !isNear(wanted, networks());
}

bool ConnectionGuard::allows(sockaddr const& address) const
{
    auto const known = addressOf(address);
    return known && allows(*known);
}

bool ConnectionGuard::allowsHost(std::string const& host) const
{
    return !gatewayHost.empty() && plainHost(host) == gatewayHost;
}

} // namespace zelvo
