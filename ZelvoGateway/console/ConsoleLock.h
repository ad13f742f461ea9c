#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/http/AccessControl.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// Lets browsers in: the page behind a one-time link exchanges the link's code for a session of the console.
/// The code is in the fragment of the link, which browsers send to nobody.
/// Thread: the server's. Errors: HttpError.
class ConsoleLock {
public:
    ConsoleLock(Store& store, AccessControl const& access, AuditLog& audit)
        : store(store), access(access), audit(audit)
    {
    }

    /// Takes a one-time code, {"code"}, and begins a session for the page that sends it: {"session"}.
    HttpResponse begin(HttpRequest const& request);
    /// Ends the session of the page that asks for it.
    HttpResponse end(HttpRequest const& request);

private:
    Store& store;
    AccessControl const& access;
    AuditLog& audit;
};

/// Makes a one-time link to the console of the gateway at `address`, "http://127.0.0.1:8737".
std::string newConsoleLink(Store& store, std::string const& address, Duration lifetime);

} // namespace zelvo::service
