#include "ZelvoGateway/control/RedirectUrl.h"

#include "base/Text.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <string>

namespace zelvo::service {

namespace {

constexpr std::size_t maxUrl = 2048; // Browsers differ above that.

bool isLoopback(boost::urls::url_view const& url)
{
    if (url.host_type() == boost::urls::host_type::ipv4)
        return url.host_ipv4_address().is_loopback();
    if (url.host_type() == boost::urls::host_type::ipv6)
        return url.host_ipv6_address().is_loopback();
    return text::equalIgnoringCase(std::string(url.encoded_host()), "localhost");
}

} // namespace

bool isRedirectUrl(std::string_view url)
{
    if (url.size() > maxUrl)
        return false;
    auto const parsed = boost::urls::parse_uri(url);
    if (!parsed || parsed->encoded_host().empty() || parsed->has_userinfo())
        return false;
    std::string const scheme = text::lowercased(std::string(parsed->scheme()));
    return scheme == "https" || (scheme == "http" && isLoopback(*parsed));
}

} // namespace zelvo::service
