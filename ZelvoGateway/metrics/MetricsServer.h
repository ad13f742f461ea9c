#pragma once

#include "ZelvoGateway/http/HttpServer.h"
#include "ZelvoGateway/metrics/MetricsRoutes.h"

#include <string>

namespace zelvo::service {

/// Serves "/metrics" on a separate port, by plain HTTP: who may reach the port is decided by where it
/// listens. Thread: the server's.
class MetricsServer {
public:
    struct Parts {
        PrometheusMetrics& metrics;
        std::function<GatewayReadings()> readings;
        asio::io_context& io;
        OpenWork& work;
        Executor workers;
    };

    /// Listens. Throws std::runtime_error with a text for the person who started the program.
    MetricsServer(MetricsPlace const& place, Parts parts);

    /// "http://127.0.0.1:8738/metrics".
    std::string address() const { return http.localAddress() + "/metrics"; }
    void start() { http.start(); }
    void stop() { http.stop(); }

private:
    Limits limits{.connections = 16};
    TrustedProxies proxies{{}};
    MemoryBudget memory{limits.smallBody};
    MetricsRoutes metricsRoutes;
    Routes routes; // Scrapers ask by any name: nothing here is worth more than the port's own protection.
    HttpServer http;
};

} // namespace zelvo::service
