#include "gateway/GatewayAddress.h"

#include "base/Text.h"

#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo::GatewayAddress {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 4> schemes = {
    {{"wss", "https"}, {"ws", "http"}, {"https", "https"}, {"http", "http"}}};

} // namespace

std::optional<std::string> http(std::string_view gatewayUrl)
{
    auto const parsed = boost::urls::parse_uri_reference(gatewayUrl);
    if (!parsed || !parsed->has_scheme())
        return std::nullopt;
    std::string const scheme = text::lowercased(std::string_view(parsed->scheme()));
    for (auto const& [from, to] : schemes) {
        if (from != scheme)
            continue;
        boost::urls::url url(*parsed);
        url.set_scheme(to);
        std::string path(std::string_view(url.encoded_path()));
        if (path.ends_with('/')) {
            path.pop_back();
            url.set_encoded_path(path);
        }
        return std::string(std::string_view(url.buffer()));
    }
    return std::nullopt;
}

std::string defaultHttpBase(InformationDictionary const& information)
{
    return http(configuredGateway(information)).value_or(std::string(builtInHttpBase));
}

std::string configuredGateway(InformationDictionary const& information)
{
    auto const configured = information.text("ZelvoGatewayURL");
    if (configured && !configured->empty() && boost::urls::parse_uri_reference(*configured))
        return *configured;
    return std::string(builtInGateway);
}

std::string appending(std::string_view base, std::string_view path)
{
    std::size_t const end = std::min(base.find_first_of("?#"), base.size());
    std::string_view const rest = base.substr(end);
    base = base.substr(0, end);
    while (base.ends_with('/'))
        base.remove_suffix(1);
    return std::string(base) + "/" + std::string(path) + std::string(rest);
}

std::string host(std::string_view url)
{
    auto const parsed = boost::urls::parse_uri_reference(url);
    return parsed ? std::string(parsed->host_address()) : std::string();
}

} // namespace zelvo::GatewayAddress
