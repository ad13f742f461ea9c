#include "ZelvoGateway/api/AuditApi.h"

#include "ZelvoGateway/api/Lists.h"
#include "wire/records/ServiceHistory.h"

namespace zelvo::service {

namespace {

records::AuditEvent recordOf(StoredAuditEvent const& event)
{
    return {.actor = event.actor,
            .apiKey = event.key,
            .at = event.createdAt,
            .connectionId = event.connectionId,
            .details = event.details,
            .id = event.id,
            .machineId = event.machineId,
            .type = event.type};
}

} // namespace

std::vector<Route> AuditApi::routes()
{
    Describe const list = Describe("listAuditEvents", "Lists who did what, newest first")
                              .listed({{"connectionId", "Only events of this connection"},
                                       {"machineId", "Only events of this machine"}})
                              .gives<records::AuditEventList>("A page");
    return {endpoints.platform("GET", {"v1", "audit-events"}, limits.smallBody, *this, &AuditApi::handleList,
                               list)};
}

Task<HttpResponse> AuditApi::handleList(HttpRequest request, PathIds)
{
    auto const page = audit.list(access.callerOf(request), pageQueryIn(request));
    co_return listResponse<records::AuditEventList>(page, recordOf);
}

} // namespace zelvo::service
