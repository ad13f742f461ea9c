#pragma once

#include "ZelvoGateway/http/AccessControl.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Clock.h"

#include <string>

namespace zelvo::service {

/// Lets browsers in: a one-time link gives a browser the cookie that the console needs.
/// Thread: the server's.
class ConsoleLock {
public:
    ConsoleLock(Store& store, AccessControl const& access) : store(store), access(access) {}

    /// Takes a one-time code. The response sets the cookie and leads on to the console, or explains how to
    /// get another link.
    HttpResponse open(HttpRequest const& request);

private:
    Store& store;
    AccessControl const& access;
};

/// Makes a one-time link to the console of the gateway at `address`, "http://127.0.0.1:8737".
std::string newConsoleLink(Store& store, std::string const& address, Duration lifetime);

} // namespace zelvo::service
