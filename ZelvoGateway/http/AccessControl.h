#pragma once

#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/http/HttpMessage.h"

#include <string>

namespace zelvo::service {

/// Decides who may call. The console is a remote control in a browser, so other sites must not be able to use
/// the gateway through the person's browser: a request for a foreign host name is refused, because any name
/// can be pointed at this address, and so is a request that another site's page sends. The console's requests
/// carry the API key in a cookie.
/// Thread: the server's. Errors: HttpError.
class AccessControl {
public:
    /// publicUrl   where browsers reach the gateway, if that is not where it listens; else empty
    AccessControl(ApiKey const& key, std::string const& publicUrl) : key(key), publicUrl(publicUrl) {}

    /// Refuses a foreign Host and a foreign Origin. For every request.
    void assertOwnSite(HttpRequest const& request) const;
    /// Refuses all but platforms, with the API key, and the console, with its cookie.
    void assertPlatform(HttpRequest const& request) const;
    /// Refuses all but the console.
    void assertConsole(HttpRequest const& request) const;

    bool hasApiKey(HttpRequest const& request) const;
    bool hasCookie(HttpRequest const& request) const;
    /// The "Set-Cookie" value that lets a browser in.
    std::string newCookie() const;
    /// The address by which the caller reached this gateway, "http://127.0.0.1:8737". Refuses a Host that is
    /// not a valid one.
    std::string addressFor(HttpRequest const& request) const;

private:
    void assertSentByOwnPage(HttpRequest const& request) const;

    ApiKey const& key;
    std::string const& publicUrl;
};

} // namespace zelvo::service
