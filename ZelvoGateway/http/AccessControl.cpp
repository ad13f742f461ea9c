#include "ZelvoGateway/http/AccessControl.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/Text.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <cctype>

namespace zelvo::service {

namespace {

constexpr char const* sessionHeader = "x-zelvo-console";

HttpError noCaller()
{
    return {.status = 401, .code = ErrorCode::unauthorized, .message = "The API key is missing or wrong"};
}

/// The name in "name:port", "[::1]:port" in lower case and without brackets.
std::string hostName(std::string_view authority)
{
    if (authority.starts_with('[')) {
        std::size_t const end = authority.find(']');
        return end == std::string_view::npos ? "" : text::lowercased(authority.substr(1, end - 1));
    }
    return text::lowercased(authority.substr(0, authority.find(':')));
}

bool isLoopbackName(std::string const& name)
{
    return name == "localhost" || name == "127.0.0.1" || name == "::1";
}

/// A name that browsers look for on the loopback addresses.
bool isLocalName(std::string const& name)
{
    return name == "localhost" || name.ends_with(".localhost");
}

/// An IP address as a URL has it.
std::string inUrl(std::string const& address)
{
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

/// Whether a URL has no port, or the one that its scheme has anyway.
bool hasUsualPort(boost::urls::url_view const& url)
{
    return url.port().empty() || url.port() == (url.scheme_id() == boost::urls::scheme::http ? "80" : "443");
}

/// "https://name:port" in lower case, without the scheme's own port; empty if it is no origin of a page.
std::string originOf(std::string_view url)
{
    auto const parsed = boost::urls::parse_uri(url);
    if (!parsed || parsed->encoded_host().empty() || parsed->has_userinfo())
        return {};
    std::string const scheme = text::lowercased(std::string(parsed->scheme()));
    if (scheme != "http" && scheme != "https")
        return {};
    return scheme + "://" + text::lowercased(std::string(parsed->encoded_host())) +
           (hasUsualPort(*parsed) ? std::string() : ":" + std::string(parsed->port()));
}

std::string schemeOf(HttpRequest const& request)
{
    return request.isSecure ? "https://" : "http://";
}

bool isPublicHost(std::string const& host, std::string const& publicUrl)
{
    if (publicUrl.empty())
        return false;
    std::string const scheme = publicUrl.substr(0, publicUrl.find(':'));
    return originOf(scheme + "://" + host) == originOf(publicUrl);
}

/// The key in "Authorization: Bearer KEY"; nullopt without that header.
std::optional<std::string> keyIn(HttpRequest const& request)
{
    constexpr std::string_view scheme = "bearer ";
    std::string const authorization = request.header("authorization");
    if (authorization.size() <= scheme.size() ||
        !text::equalIgnoringCase(authorization.substr(0, scheme.size()), scheme))
        return std::nullopt;
    return authorization.substr(scheme.size());
}

} // namespace

void AccessControl::assertOwnSite(HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    std::string const name = hostName(host);
    bool const ours = isLoopbackName(name) || (!name.empty() && name == request.localAddress) ||
                      isPublicHost(host, publicUrl);
    if (!ours || request.headers.count("host") != 1)
        throw HttpError{.status = 403,
                        .code = ErrorCode::forbidden,
                        .message = "This gateway does not answer to that host name; see --public-url"};
    auto const [first, last] = request.headers.equal_range("origin");
    for (auto origin = first; origin != last; ++origin)
        if (!isOwnOrigin(originOf(origin->second), request))
            throw HttpError{.status = 403,
                            .code = ErrorCode::forbidden,
                            .message = "Other sites may not use this gateway"};
}

/// Whether a page of that origin is one of ours. Under the public name that is the public address alone, with
/// its scheme: a page that came without TLS may be anybody's. A proxy may also ask by our local name.
bool AccessControl::isOwnOrigin(std::string const& origin, HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    bool const isPublic = !publicUrl.empty() && origin == originOf(publicUrl);
    return !origin.empty() &&
           (isPublic || (!isPublicHost(host, publicUrl) && origin == originOf(schemeOf(request) + host)));
}

bool AccessControl::isAtSecureName(HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    return isPublicHost(host, publicUrl) && originOf(publicUrl).starts_with("https:") &&
           !isLocalName(hostName(host)) && hasUsualPort(boost::urls::url_view(publicUrl));
}

std::string AccessControl::addressFor(HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    if (isPublicHost(host, publicUrl))
        return publicUrl;
    std::string const address = schemeOf(request) + host;
    auto const parsed = boost::urls::parse_uri(address);
    if (!parsed || parsed->has_userinfo() || parsed->encoded_authority() != host)
        throw HttpError{.status = 403, .code = ErrorCode::forbidden, .message = "This Host is no host"};
    return address;
}

std::optional<Caller> AccessControl::platformOf(HttpRequest const& request) const
{
    auto const key = keyIn(request);
    return key ? keys.callerWith(*key) : std::nullopt;
}

bool AccessControl::hasKey(HttpRequest const& request)
{
    return keyIn(request).has_value();
}

Caller AccessControl::callerOf(HttpRequest const& request) const
{
    if (auto caller = platformOf(request))
        return *std::move(caller);
    if (sessions.originOf(request.header(sessionHeader)))
        return Caller::console();
    throw noCaller();
}

std::string AccessControl::credentialOf(HttpRequest const& request)
{
    auto const key = keyIn(request);
    return key ? *key : request.header(sessionHeader);
}

bool AccessControl::isPlatform(HttpRequest const& request) const
{
    return platformOf(request) || sessions.originOf(request.header(sessionHeader));
}

void AccessControl::assertOwnPage(HttpRequest const& request) const
{
    std::string const site = request.header("sec-fetch-site");
    bool const foreignPage = !site.empty() && site != "same-origin";
    bool const changes = request.method != "GET" && request.method != "HEAD";
    if (foreignPage || (changes && !request.headers.contains("origin")))
        throw HttpError{.status = 403,
                        .code = ErrorCode::forbidden,
                        .message = "Only the console's own page may do this"};
}

void AccessControl::assertPlatform(HttpRequest const& request) const
{
    if (platformOf(request))
        return;
    auto const wait = keyIn(request) ? wrongKeys.count(request.remoteAddress) : std::nullopt;
    if (wait)
        throw HttpError{.status = 429,
                        .code = ErrorCode::rateLimited,
                        .message = "Too many wrong API keys came from this address",
                        .retryAfter = *wait,
                        .limit = Refusal::wrongKeys};
    assertConsole(request);
}

void AccessControl::assertConsole(HttpRequest const& request) const
{
    auto const origin = sessions.originOf(request.header(sessionHeader));
    if (!origin)
        throw noCaller();
    assertOwnPage(request);
    // Browsers send no Origin with a GET to the page's own origin.
    std::string const sent = originOf(request.header("origin"));
    if (!isOwnOrigin(*origin, request) || (!sent.empty() && sent != *origin))
        throw HttpError{.status = 403,
                        .code = ErrorCode::forbidden,
                        .message = "This session belongs to another address of the gateway"};
}

void AccessControl::assertMayBeginSession(HttpRequest const& request) const
{
    if (auto const home = homeOfLocalPage(request))
        throw HttpError{.status = 403,
                        .code = ErrorCode::forbidden,
                        .message = "Open the console at " + *home + ", not at localhost"};
}

std::optional<std::string> AccessControl::homeOfLocalPage(HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    bool const isPublic = isPublicHost(host, publicUrl) && originOf(publicUrl).starts_with("https:");
    if (!isLocalName(hostName(host)) || isPublic || request.isSecure)
        return std::nullopt;
    std::size_t const port = host.find(':');
    return "http://" + inUrl(request.localAddress) + (port == std::string::npos ? "" : host.substr(port));
}

std::string AccessControl::beginSession(HttpRequest const& request) const
{
    return sessions.begin(originOf(request.header("origin")));
}

void AccessControl::endSession(HttpRequest const& request) const
{
    sessions.end(request.header(sessionHeader));
}

} // namespace zelvo::service
