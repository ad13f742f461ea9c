#include "platform/portable/net/ProxyChoice.h"

#include "platform/WebSocket.h"
#include "platform/portable/net/PortText.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <algorithm>
#include <cstdlib>

namespace zelvo {

namespace {

namespace ip = boost::asio::ip;

constexpr std::uint16_t defaultProxyPort = 1080; // libcurl's

char lowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowered(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), lowerAscii);
    return lower;
}

std::string_view withoutDots(std::string_view name)
{
    while (name.ends_with('.'))
        name.remove_suffix(1);
    if (name.starts_with('.'))
        name.remove_prefix(1);
    return name;
}

bool isInNetwork(std::string_view entry, ip::address const& address)
{
    boost::system::error_code error;
    if (address.is_v4()) {
        auto const network = ip::make_network_v4(std::string(entry), error);
        return !error &&
               network.canonical() == ip::network_v4(address.to_v4(), network.prefix_length()).canonical();
    }
    auto const network = ip::make_network_v6(std::string(entry), error);
    return !error &&
           network.canonical() == ip::network_v6(address.to_v6(), network.prefix_length()).canonical();
}

bool namesHost(std::string_view entry, std::string const& host)
{
    if (entry == "*")
        return true;
    boost::system::error_code notAnAddress;
    auto const address = ip::make_address(host, notAnAddress);
    if (!notAnAddress) {
        if (entry.find('/') != std::string_view::npos)
            return isInNetwork(entry, address);
        if (entry.starts_with('[') && entry.ends_with(']'))
            entry = entry.substr(1, entry.size() - 2);
        boost::system::error_code other;
        return ip::make_address(std::string(entry), other) == address && !other;
    }
    std::string const domain = lowered(withoutDots(entry));
    std::string const name = lowered(withoutDots(host));
    if (domain.empty() || !name.ends_with(domain))
        return false;
    return name.size() == domain.size() || name[name.size() - domain.size() - 1] == '.';
}

/// Removes ":port" from an entry; `nullopt` if it has none. A bare IPv6 address has no port.
std::optional<std::uint16_t> takePort(std::string_view& entry)
{
    auto const colon = entry.rfind(':');
    if (colon == std::string_view::npos || (entry.find(':') != colon && entry[colon - 1] != ']'))
        return std::nullopt;
    auto const port = parsePort(entry.substr(colon + 1));
    if (!port)
        return std::nullopt;
    entry = entry.substr(0, colon);
    return port;
}

std::optional<std::string> firstOf(EnvironmentLookup const& lookup, std::initializer_list<char const*> names)
{
    for (char const* const name : names)
        if (auto value = lookup(name))
            return value;
    return std::nullopt;
}

Proxy parseProxy(std::string const& text)
{
    bool const hasScheme = text.find("://") != std::string::npos;
    std::string const full = hasScheme ? text : "http://" + text; // Must outlive the view of it.
    auto const url = boost::urls::parse_uri(full);
    auto const port = url ? parsePort(url->port()) : std::nullopt;
    if (!url || (!port && !url->port().empty()) || url->host_address().empty())
        throw NetworkFailure{NetworkFailure::Kind::other, "the proxy's address can't be read"};
    if (url->scheme_id() != boost::urls::scheme::http)
        throw NetworkFailure{NetworkFailure::Kind::other, "only HTTP proxies are supported"};
    Proxy proxy;
    proxy.host = url->host_address();
    proxy.port = port.value_or(defaultProxyPort);
    if (url->has_userinfo())
        proxy.userInfo = url->user() + ":" + url->password();
    return proxy;
}

} // namespace

std::optional<std::string> environmentVariable(std::string const& name)
{
    char const* const value = std::getenv(name.c_str());
    if (!value || !*value)
        return std::nullopt;
    return value;
}

bool isProxyExempt(std::string_view list, std::string_view host, std::uint16_t port)
{
    constexpr std::string_view separators = ", \t";
    std::string const name(host);
    while (!list.empty()) {
        auto const begin = std::min(list.find_first_not_of(separators), list.size());
        auto const end = std::min(list.find_first_of(separators, begin), list.size());
        std::string_view entry = list.substr(begin, end - begin);
        list.remove_prefix(end);
        if (entry.empty())
            continue;
        auto const onlyPort = takePort(entry);
        if ((!onlyPort || *onlyPort == port) && namesHost(entry, name))
            return true;
    }
    return false;
}

std::optional<Proxy>
proxyFor(bool secure, std::string host, std::uint16_t port, EnvironmentLookup const& lookup)
{
    auto const exempt = firstOf(lookup, {"no_proxy", "NO_PROXY"});
    if (exempt && isProxyExempt(*exempt, host, port))
        return std::nullopt;
    auto proxy = secure ? firstOf(lookup, {"https_proxy", "HTTPS_PROXY"}) : firstOf(lookup, {"http_proxy"});
    if (!proxy)
        proxy = firstOf(lookup, {"all_proxy", "ALL_PROXY"});
    if (!proxy)
        return std::nullopt;
    return parseProxy(*proxy);
}

} // namespace zelvo
