#include "ZelvoGateway/http/RequestCaller.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/NetworkAddress.h"

#include <vector>

namespace zelvo::service {

namespace {

std::vector<std::string_view> linesOf(HttpRequest const& request, char const* name)
{
    std::vector<std::string_view> lines;
    auto const [begin, end] = request.headers.equal_range(name); // In the order of the request.
    for (auto line = begin; line != end; ++line)
        lines.emplace_back(line->second);
    return lines;
}

} // namespace

boost::asio::ip::address peerAddressOf(boost::asio::ip::tcp::socket const& socket)
{
    boost::system::error_code ignored;
    return unmapped(socket.remote_endpoint(ignored).address());
}

std::string localAddressOf(boost::asio::ip::tcp::socket const& socket)
{
    boost::system::error_code ignored;
    return unmapped(socket.local_endpoint(ignored).address()).to_string();
}

ForwardedCaller
callerBehind(boost::asio::ip::address const& proxy, HttpRequest const& head, TrustedProxies const& proxies)
{
    try {
        return proxies.callerOf(proxy, {.forwarded = linesOf(head, "forwarded"),
                                        .forwardedFor = linesOf(head, "x-forwarded-for"),
                                        .forwardedProto = linesOf(head, "x-forwarded-proto")});
    } catch (ForwardedError const& error) {
        throw badRequest(error.what());
    }
}

} // namespace zelvo::service
