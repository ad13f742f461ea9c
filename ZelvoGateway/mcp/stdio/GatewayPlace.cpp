#include "ZelvoGateway/mcp/stdio/GatewayPlace.h"

#include "ZelvoGateway/base/DataFolder.h"

#include <boost/url/encode.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/rfc/unreserved_chars.hpp>
#include <boost/url/url_view.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr char const* keyVariable = "ZELVO_API_KEY";

std::optional<std::string> textOf(std::filesystem::path const& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::string keyOfFile(std::filesystem::path const& path)
{
    auto const text = textOf(path);
    if (!text)
        throw std::runtime_error("cannot read the key file " + path.string());
    auto key = keyIn(*text);
    if (!key)
        throw std::runtime_error(path.string() + " holds no key");
    return *std::move(key);
}

std::string keyOf(GatewayChoice const& choice)
{
    if (!choice.keyFile.empty())
        return keyOfFile(choice.keyFile);
    if (char const* const variable = std::getenv(keyVariable); variable && *variable) {
        auto key = keyIn(variable);
        if (!key)
            throw std::runtime_error(std::string(keyVariable) + " holds no key");
        return *std::move(key);
    }
    if (!choice.url.empty())
        throw std::runtime_error(std::string("a key is needed for --gateway: in ") + keyVariable +
                                 ", or in a file that --key-file names");
    return keyOfFile(std::filesystem::path(choice.dataFolder) / "api-key");
}

std::string urlOf(GatewayChoice const& choice)
{
    if (!choice.url.empty())
        return choice.url;
    auto text = textOf(std::filesystem::path(choice.dataFolder) / "local-address");
    // A gateway that was killed leaves its address, which another user's server can take.
    if (!text || !DataFolder::isServed(choice.dataFolder))
        throw std::runtime_error("no gateway is running on " + choice.dataFolder);
    while (text->ends_with('\n'))
        text->pop_back();
    return *std::move(text);
}

/// By which a gateway on this computer is known: its names need not include that of a local address.
std::string certificateOf(GatewayChoice const& choice)
{
    auto text = textOf(std::filesystem::path(choice.dataFolder) / "tls-certificate.pem");
    if (!text)
        throw std::runtime_error("no gateway is running on " + choice.dataFolder);
    return *std::move(text);
}

std::string targetOf(GatewayChoice const& choice)
{
    std::string target = "/mcp";
    if (!choice.connection.empty())
        target += "/" + boost::urls::encode(choice.connection, boost::urls::unreserved_chars);
    if (!choice.switches.empty())
        target += "?" + choice.switches;
    if (!boost::urls::parse_origin_form(target))
        throw std::runtime_error("\"" + choice.switches + "\" cannot stand in an address");
    return target;
}

} // namespace

std::string GatewayPlace::address() const
{
    bool const isV6 = host.find(':') != std::string::npos;
    return (isSecure ? "https://" : "http://") + (isV6 ? "[" + host + "]" : host) + ":" + port;
}

GatewayPlace placeOf(GatewayChoice const& choice)
{
    std::string const text = urlOf(choice);
    auto const url = boost::urls::parse_uri(text);
    bool const isWeb = url && (url->scheme() == "http" || url->scheme() == "https");
    if (!isWeb || url->encoded_host().empty() || url->has_userinfo())
        throw std::runtime_error("the gateway's address must be like http://127.0.0.1:8737, not \"" + text +
                                 "\"");
    GatewayPlace place;
    place.isSecure = url->scheme() == "https";
    if (place.isSecure && choice.url.empty())
        place.certificate = certificateOf(choice);
    place.host =
        url->host_type() == boost::urls::host_type::ipv6 ? url->host_ipv6_address().to_string() : url->host();
    place.port = url->has_port() && !url->port().empty() ? std::string(url->port())
                 : place.isSecure                        ? "443"
                                                         : "80";
    place.target = targetOf(choice);
    place.key = keyOf(choice);
    return place;
}

std::optional<std::string> keyIn(std::string const& text)
{
    constexpr std::string_view header = "Authorization: Bearer ";
    std::string_view key = text;
    if (key.starts_with(header))
        key.remove_prefix(header.size());
    while (!key.empty() && std::isspace(static_cast<unsigned char>(key.back())))
        key.remove_suffix(1);
    bool const isUsable = !key.empty() && std::ranges::all_of(key, [](unsigned char sign) {
        return sign > ' ' && sign < 0x7f; // It is sent in a header.
    });
    return isUsable ? std::optional(std::string(key)) : std::nullopt;
}

} // namespace zelvo::service
