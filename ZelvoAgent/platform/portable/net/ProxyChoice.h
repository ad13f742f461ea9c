#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// An HTTP proxy for CONNECT tunnels.
struct Proxy {
    std::string host; ///< an IPv6 address without brackets
    std::uint16_t port = 0;
    std::string userInfo; ///< "user:password", decoded; empty if there is none
    bool operator==(Proxy const&) const = default;
};

/// The value of an environment variable; `nullopt` if it is unset or empty.
using EnvironmentLookup = std::function<std::optional<std::string>(std::string const& name)>;
std::optional<std::string> environmentVariable(std::string const& name);

/// The proxy for a connection, by libcurl's rules: `http_proxy` for plain connections, `https_proxy` for
/// secure ones, else `all_proxy`; no proxy if `no_proxy` matches the host. Upper case counts too, except
/// HTTP_PROXY, which a client of a CGI server could set. Throws NetworkFailure, without the variable's value
/// in its text, if the proxy is no HTTP proxy or has no host.
std::optional<Proxy>
proxyFor(bool secure, std::string host, std::uint16_t port, EnvironmentLookup const& lookup);

/// Whether a `no_proxy` list matches the host: "*", a name or its domain with or without a leading dot, an
/// address, or a network such as "10.0.0.0/8"; with ":port" only for that port.
bool isProxyExempt(std::string_view list, std::string_view host, std::uint16_t port);

} // namespace zelvo
