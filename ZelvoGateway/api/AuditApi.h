#pragma once

#include "ZelvoGateway/api/Endpoints.h"
#include "ZelvoGateway/audit/AuditLog.h"

#include <vector>

namespace zelvo::service {

/// "/v1/audit-events": who did what, and when. Thread: the server's.
class AuditApi {
public:
    AuditApi(AccessControl const& access, AuditLog& audit, Limits const& limits)
        : endpoints(access), access(access), audit(audit), limits(limits)
    {
    }

    std::vector<Route> routes();

private:
    /// {"data", "nextBefore"?}, newest first. The query may hold "connectionId", "machineId", "before" and
    /// "limit".
    Task<HttpResponse> handleList(HttpRequest request, PathIds ids);

    Endpoints endpoints;
    AccessControl const& access;
    AuditLog& audit;
    Limits const& limits;
};

} // namespace zelvo::service
