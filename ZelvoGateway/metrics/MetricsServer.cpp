#include "ZelvoGateway/metrics/MetricsServer.h"

namespace zelvo::service {

MetricsServer::MetricsServer(MetricsPlace const& place, Parts parts)
    : metricsRoutes(parts.metrics, std::move(parts.readings), limits.linkBody, parts.workers),
      http(parts.io,
           {.limits = limits,
            .routes = routes,
            .proxies = proxies,
            .memory = memory,
            .work = parts.work,
            .workers = parts.workers})
{
    routes.add(metricsRoutes.routes());
    http.listen(place.listen, place.port);
}

} // namespace zelvo::service
