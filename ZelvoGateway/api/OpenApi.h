#pragma once

#include "ZelvoGateway/api/Endpoints.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// The OpenAPI 3.1 document of the routes that describe themselves.
json::object openApiDocument(std::vector<Route> const& routes, std::string const& version);

/// "/v1/openapi.json": the document, for everybody. Thread: the server's.
class OpenApi {
public:
    /// routes   every route of the gateway; it is read when the document is asked for
    OpenApi(AccessControl const& access, Routes const& routes, Limits const& limits, std::string version)
        : endpoints(access), all(routes), limits(limits), version(std::move(version))
    {
    }

    std::vector<Route> routes();

private:
    Task<HttpResponse> handleDocument(HttpRequest request, PathIds ids);

    Endpoints endpoints;
    Routes const& all;
    Limits const& limits;
    std::string version;
    std::string document; // Made with the first request.
};

} // namespace zelvo::service
