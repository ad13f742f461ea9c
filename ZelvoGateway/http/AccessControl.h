#pragma once

#include "ZelvoGateway/base/KeyRing.h"
#include "ZelvoGateway/http/AttemptLimiter.h"
#include "ZelvoGateway/http/ConsoleSessions.h"
#include "ZelvoGateway/http/HttpMessage.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// Decides who may call. The console is a remote control in a browser, so other sites must not be able to use
/// the gateway through the person's browser: a request for a foreign host name is refused, because any name
/// can be pointed at this address, and so is a request that another site's page sends. The console's requests
/// carry the secret of a session in the header "X-Zelvo-Console", which only a page of this very origin can
/// send: cookies do not tell ports apart, so this gateway uses none. Which headers of a proxy count is
/// decided before, by TrustedProxies; those that name a host never do. Thread: the server's. Errors:
/// HttpError.
class AccessControl {
public:
    /// publicUrl   where browsers reach the gateway, if that is not where it listens; else empty
    AccessControl(KeyRing& keys,
                  std::string const& publicUrl,
                  ConsoleSessions& sessions,
                  AttemptLimiter& wrongKeys)
        : keys(keys), publicUrl(publicUrl), sessions(sessions), wrongKeys(wrongKeys)
    {
    }

    /// Refuses a foreign Host and a foreign Origin. For every request.
    void assertOwnSite(HttpRequest const& request) const;
    /// Refuses all but platforms, with an API key, and the console, with a session. Answers 429 to an address
    /// that has tried too many wrong keys.
    void assertPlatform(HttpRequest const& request) const;
    /// Refuses all but the console.
    void assertConsole(HttpRequest const& request) const;

    /// Who sends a request that assertPlatform() admits. Throws HttpError: 401 for any other.
    Caller callerOf(HttpRequest const& request) const;
    /// The secret by which the caller is known: its API key, or that of its session.
    static std::string credentialOf(HttpRequest const& request);
    /// Whether the request brings an API key, right or wrong; a browser's brings none.
    static bool hasKey(HttpRequest const& request);
    /// Whether the caller has an API key or a session of the console.
    bool isPlatform(HttpRequest const& request) const;
    /// Refuses what a page of another origin sends, and changes that no page sends.
    void assertOwnPage(HttpRequest const& request) const;
    /// Refuses a page of "localhost": browsers look for that name at [::1] first, where a server of another
    /// user may listen on this port, and would get the session's secret.
    void assertMayBeginSession(HttpRequest const& request) const;
    /// Where a page that was opened at "localhost" is at home; nullopt if it was not.
    std::optional<std::string> homeOfLocalPage(HttpRequest const& request) const;
    /// Begins a session of the console for the page that sends this request, and returns its secret.
    std::string beginSession(HttpRequest const& request) const;
    /// Ends the session that the request belongs to, if any.
    void endSession(HttpRequest const& request) const;
    /// Whether the request asks by the public name, and that is an address with TLS on port 443. With another
    /// port, and for names of this computer, other servers on other ports may share the name.
    bool isAtSecureName(HttpRequest const& request) const;
    /// The address by which the caller reached this gateway, "http://127.0.0.1:8737". Refuses a Host that is
    /// not a valid one.
    std::string addressFor(HttpRequest const& request) const;

private:
    bool isOwnOrigin(std::string const& origin, HttpRequest const& request) const;
    std::optional<Caller> platformOf(HttpRequest const& request) const;

    KeyRing& keys;
    std::string const& publicUrl;
    ConsoleSessions& sessions;
    AttemptLimiter& wrongKeys;
};

} // namespace zelvo::service
