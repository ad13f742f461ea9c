#include "ZelvoGateway/http/AccessControl.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/Text.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <cctype>

namespace zelvo::service {

namespace {

constexpr std::string_view cookieName = "zelvo_console";

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

std::string authorityOf(std::string const& url)
{
    auto const parsed = boost::urls::parse_uri(url);
    return parsed ? text::lowercased(std::string(parsed->encoded_host_and_port())) : std::string();
}

std::string cookieValue(std::string_view header)
{
    while (!header.empty()) {
        std::size_t const end = std::min(header.find(';'), header.size());
        std::string_view cookie = header.substr(0, end);
        while (cookie.starts_with(' '))
            cookie.remove_prefix(1);
        if (cookie.starts_with(cookieName) && cookie.substr(cookieName.size()).starts_with('='))
            return std::string(cookie.substr(cookieName.size() + 1));
        header.remove_prefix(std::min(end + 1, header.size()));
    }
    return {};
}

} // namespace

void AccessControl::assertOwnSite(HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    std::string const name = hostName(host);
    bool const ours = isLoopbackName(name) || (!name.empty() && name == request.localAddress) ||
                      (!publicUrl.empty() && host == authorityOf(publicUrl));
    if (!ours || request.headers.count("host") != 1)
        throw HttpError{.status = 403,
                        .code = ErrorCode::forbidden,
                        .message = "This gateway does not answer to that host name; see --public-url"};
    if (request.headers.contains("origin") && authorityOf(request.header("origin")) != host)
        throw HttpError{
            .status = 403, .code = ErrorCode::forbidden, .message = "Other sites may not use this gateway"};
}

std::string AccessControl::addressFor(HttpRequest const& request) const
{
    std::string const host = text::lowercased(request.header("host"));
    if (!publicUrl.empty() && host == authorityOf(publicUrl))
        return publicUrl;
    std::string const address = "http://" + host;
    auto const parsed = boost::urls::parse_uri(address);
    if (!parsed || parsed->has_userinfo() || parsed->encoded_authority() != host)
        throw HttpError{.status = 403, .code = ErrorCode::forbidden, .message = "This Host is no host"};
    return address;
}

bool AccessControl::hasApiKey(HttpRequest const& request) const
{
    std::string const authorization = request.header("authorization");
    constexpr std::string_view scheme = "bearer ";
    return authorization.size() > scheme.size() &&
           text::equalIgnoringCase(authorization.substr(0, scheme.size()), scheme) &&
           key.matches(std::string_view(authorization).substr(scheme.size()));
}

bool AccessControl::hasCookie(HttpRequest const& request) const
{
    return key.matches(cookieValue(request.header("cookie")));
}

/// Refuses a request with the cookie that a page of ours did not send.
void AccessControl::assertSentByOwnPage(HttpRequest const& request) const
{
    // Browsers send the cookie to every port of this host and count all of them as the same site, so SameSite
    // alone is not enough.
    std::string const site = request.header("sec-fetch-site");
    bool const foreignPage = !site.empty() && site != "same-origin" && site != "none";
    bool const changes = request.method != "GET" && request.method != "HEAD";
    if (foreignPage || (changes && !request.headers.contains("origin")))
        throw HttpError{.status = 403,
                        .code = ErrorCode::forbidden,
                        .message = "Only the console's own page may do this"};
}

void AccessControl::assertPlatform(HttpRequest const& request) const
{
    if (!hasApiKey(request))
        assertConsole(request);
}

void AccessControl::assertConsole(HttpRequest const& request) const
{
    if (!hasCookie(request))
        throw HttpError{
            .status = 401, .code = ErrorCode::unauthorized, .message = "The API key is missing or wrong"};
    assertSentByOwnPage(request);
}

std::string AccessControl::newCookie() const
{
    bool const secure = publicUrl.starts_with("https://");
    return std::string(cookieName) + "=" + key.value() + "; Path=/; HttpOnly; SameSite=Strict" +
           (secure ? "; Secure" : "");
}

} // namespace zelvo::service
