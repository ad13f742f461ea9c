#include "ZelvoGateway/metrics/MetricsRoutes.h"

#include "base/Hop.h"

namespace zelvo::service {

std::vector<Route> MetricsRoutes::routes()
{
    std::vector<Route> all;
    for (std::string_view const method : {"GET", "HEAD"})
        all.push_back({.method = method,
                       .pattern = {"metrics"},
                       .maxBody = maxBody,
                       .assertAccess = {},
                       .answer = [this](HttpRequest, PathIds) { return answer(); },
                       .isServedAtTheEnd = true});
    return all;
}

Task<HttpResponse> MetricsRoutes::answer()
{
    metrics.take(readings());
    HttpResponse response{.contentType = "text/plain; version=0.0.4; charset=utf-8"};
    response.body = co_await on(workers, [this] { return metrics.text(); });
    co_return response;
}

} // namespace zelvo::service
