#pragma once

#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/store/Store.h"

#include <string>

namespace zelvo::service {

/// Who may come in. The console is a remote control in a browser, so other sites must not be able to use it
/// through the person's browser: names that are not ours are refused (a foreign name may have been pointed at
/// this address), and so is what another site's page sends. The console itself needs the API key as a cookie,
/// which a one-time link sets. Thread: the server's. Errors: Failure.
class ConsoleAccess {
public:
    ConsoleAccess(Store& store, ApiKey const& key, Settings const& settings)
        : store(store), key(key), settings(settings)
    {
    }

    /// Refuses a foreign Host and a foreign Origin. For every request.
    void assertOwnSite(HttpRequest const& request) const;
    /// "http://127.0.0.1:8737": the address by which the caller reached this gateway. Throws Failure when its
    /// Host is none that an address can be made of.
    std::string addressFor(HttpRequest const& request) const;
    bool hasApiKey(HttpRequest const& request) const;
    bool hasCookie(HttpRequest const& request) const;
    /// Refuses a request with the cookie that a page of ours did not send.
    void assertSentByOwnPage(HttpRequest const& request) const;

    /// Takes a one-time code: the response sets the cookie and leads on to the console, or says how to get
    /// another link.
    HttpResponse open(HttpRequest const& request);

private:
    Store& store;
    ApiKey const& key;
    Settings const& settings;
};

/// Makes a one-time link to the console of the gateway at `address`, "http://127.0.0.1:8737".
std::string newConsoleLink(Store& store, std::string const& address, Duration lifetime);

} // namespace zelvo::service
