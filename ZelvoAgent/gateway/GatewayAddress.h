#pragma once

#include "platform/InformationDictionary.h"

#include <optional>
#include <string>
#include <string_view>

/// The gateway's addresses.
namespace zelvo::GatewayAddress {

inline constexpr std::string_view builtInGateway = "wss://gateway.zelvo.invalid";
inline constexpr std::string_view builtInHttpBase = "https://gateway.zelvo.invalid";

/// The HTTP form of a gateway address: wss becomes https, ws becomes http; one trailing slash is removed.
/// `nullopt` without a scheme or with another one.
std::optional<std::string> http(std::string_view gatewayUrl);
/// The HTTP form of the configured gateway, or else of the built-in one.
std::string defaultHttpBase(InformationDictionary const& information);
/// The configured gateway, or else the built-in one.
std::string configuredGateway(InformationDictionary const& information);
/// A base with a path component appended to its path, one slash between them; query and fragment follow.
std::string appending(std::string_view base, std::string_view path);
/// The host of a URL, without the brackets of an IPv6 literal; empty if it has none.
std::string host(std::string_view url);

} // namespace zelvo::GatewayAddress
