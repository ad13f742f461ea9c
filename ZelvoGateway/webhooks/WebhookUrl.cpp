#include "ZelvoGateway/webhooks/WebhookUrl.h"

#include "ZelvoGateway/base/Failure.h"
#include "base/NetworkAddress.h"
#include "base/Text.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <charconv>

namespace zelvo::service {

namespace {

namespace ip = boost::asio::ip;

constexpr std::size_t maxUrl = 2048;

Failure badUrl(std::string message)
{
    return {.code = ErrorCode::invalidRequest, .message = std::move(message)};
}

bool isPort(std::string_view text)
{
    std::uint16_t port = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), port);
    return read.ec == std::errc() && read.ptr == text.data() + text.size() && port != 0;
}

bool isLocalName(std::string const& name)
{
    return name == "localhost" || name.ends_with(".localhost") || name.ends_with(".local") ||
           name.ends_with(".internal");
}

} // namespace

bool isWebhookAddress(ip::address const& address, WebhookRules const& rules)
{
    ip::address const wanted = unmapped(address);
    return rules.toOwnNetwork || (isPublicAddress(wanted) && !isNear(wanted, ownNetworks()));
}

std::string hostOfWebhook(std::string const& url)
{
    auto const parsed = boost::urls::parse_uri(url);
    return parsed ? std::string(parsed->host_address()) : std::string();
}

void assertWebhookUrl(std::string const& url, WebhookRules const& rules)
{
    auto const parsed = boost::urls::parse_uri(url);
    if (url.size() > maxUrl || !parsed || parsed->encoded_host().empty())
        throw badUrl("\"url\" must be a web address of at most 2048 bytes");
    if (parsed->has_userinfo() || parsed->has_fragment())
        throw badUrl("\"url\" must have no user name and no fragment");
    std::string const scheme = text::lowercased(std::string(parsed->scheme()));
    if (scheme != "https" && (scheme != "http" || !rules.toOwnNetwork))
        throw badUrl("\"url\" must begin with https://");
    if (parsed->has_port() && !isPort(parsed->port()))
        throw badUrl("\"url\" has no valid port");
    std::string const name = text::lowercased(std::string(parsed->host_address()));
    boost::system::error_code isName;
    ip::address const address = ip::make_address(name, isName);
    if (!rules.toOwnNetwork && (isName ? isLocalName(name) : !isWebhookAddress(address, rules)))
        throw badUrl("\"url\" must not be inside the gateway's network; see --allow-private-webhooks");
}

} // namespace zelvo::service
