#pragma once

#include "ZelvoGateway/http/Routes.h"
#include "ZelvoGateway/metrics/PrometheusMetrics.h"
#include "base/Task.h"

#include <functional>
#include <vector>

namespace zelvo::service {

/// "/metrics", for a port that only those reach who may read it: it asks for no key. The readings are taken
/// on the server's thread, and the text is written on the workers. Thread: the server's.
class MetricsRoutes {
public:
    MetricsRoutes(PrometheusMetrics& metrics,
                  std::function<GatewayReadings()> readings,
                  std::size_t maxBody,
                  Executor workers)
        : metrics(metrics), readings(std::move(readings)), maxBody(maxBody), workers(std::move(workers))
    {
    }

    std::vector<Route> routes();

private:
    Task<HttpResponse> answer();

    PrometheusMetrics& metrics;
    std::function<GatewayReadings()> readings;
    std::size_t maxBody;
    Executor workers;
};

} // namespace zelvo::service
