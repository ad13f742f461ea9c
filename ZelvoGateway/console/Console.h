#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/console/ConsoleKeys.h"
#include "ZelvoGateway/console/ConsoleLock.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/http/Routes.h"

#include <vector>

namespace zelvo::service {

/// The console: its pages, their files, and the list of machines that they show. Thread: the server's.
class Console {
public:
    Console(AccessControl const& access,
            Store& store,
            ConnectionService& connections,
            KeyService& keys,
            AuditLog& audit,
            Limits const& limits)
        : access(access), lock(store, access, audit), connections(connections), keys(keys), limits(limits)
    {
    }

    std::vector<Route> routes();

private:
    /// Every machine with its name and its connections.
    HttpResponse machines();

    AccessControl const& access;
    ConsoleLock lock;
    ConnectionService& connections;
    ConsoleKeys keys;
    Limits const& limits;
};

} // namespace zelvo::service
