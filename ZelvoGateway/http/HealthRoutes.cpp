#include "ZelvoGateway/http/HealthRoutes.h"

namespace zelvo::service {

namespace {

constexpr char const* retryAfter = "5"; // Seconds.

Task<HttpResponse> answerFor(bool good)
{
    HttpResponse response{
        .status = good ? 200 : 503, .contentType = "text/plain", .body = good ? "ok\n" : "not ready\n"};
    if (!good)
        response.headers.emplace_back("Retry-After", retryAfter);
    co_return response;
}

} // namespace

std::vector<Route> HealthRoutes::routes() const
{
    std::vector<Route> all;
    for (std::string_view const method : {"GET", "HEAD"}) {
        all.push_back({.method = method,
                       .pattern = {"healthz"},
                       .maxBody = maxBody,
                       .assertAccess = {},
                       .answer = [](HttpRequest, PathIds) { return answerFor(true); },
                       .isServedAtTheEnd = true});
        all.push_back({.method = method,
                       .pattern = {"readyz"},
                       .maxBody = maxBody,
                       .assertAccess = {},
                       .answer = [isReady = isReady](HttpRequest, PathIds) { return answerFor(isReady()); },
                       .isServedAtTheEnd = true});
    }
    return all;
}

} // namespace zelvo::service
