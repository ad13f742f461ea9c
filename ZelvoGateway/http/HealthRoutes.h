#pragma once

#include "ZelvoGateway/http/Routes.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace zelvo::service {

/// What load balancers and service managers ask, without a key: "/healthz" answers 200 while the server's
/// loop runs, "/readyz" while requests can be served, and 503 otherwise. Neither says why. Both are answered
/// on open connections while the gateway stops. Thread: the server's.
class HealthRoutes {
public:
    HealthRoutes(std::function<bool()> isReady, std::size_t maxBody)
        : isReady(std::move(isReady)), maxBody(maxBody)
    {
    }

    std::vector<Route> routes() const;

private:
    std::function<bool()> isReady;
    std::size_t maxBody;
};

} // namespace zelvo::service
