#pragma once

#include "platform/InformationDictionary.h"

#include <optional>
#include <string>
#include <string_view>

/// Where the gateway is.
namespace zelvo::GatewayAddress {

inline constexpr std::string_view builtInGateway = "wss://gateway.zelvo.invalid";
inline constexpr std::string_view builtInHttpBase = "https://gateway.zelvo.invalid";

/// The HTTP form of a gateway address: wss becomes https, ws becomes http; one trailing slash is dropped.
/// Nothing without a scheme or with another one.
std::optional<std::string> http(std::string_view gatewayUrl);
/// The HTTP form of the configured gateway, else the built-in one.
std::string defaultHttpBase(InformationDictionary const& information);
/// The configured gateway, else the built-in one.
std::string configuredGateway(InformationDictionary const& information);
/// A base with a path component behind it, one slash between them.
std::string appending(std::string_view base, std::string_view path);
/// The host of an address, without the brackets of an IPv6 literal; empty when it has none.
std::string host(std::string_view url);

} // namespace zelvo::GatewayAddress
