#pragma once

#include "ZelvoGateway/base/ByteSource.h"
#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/http/BodyStream.h"
#include "wire/Json.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelvo::service {

/// An HTTP request, without types of the library that read it.
struct HttpRequest {
    std::string method;
    std::vector<std::string> path; ///< decoded segments: "/v1/machines/m" is {"v1", "machines", "m"}
    std::multimap<std::string, std::string> query;   ///< decoded
    std::multimap<std::string, std::string> headers; ///< names in lower case
    std::string localAddress;                        ///< the address that the client reached, without port
    std::string remoteAddress;                       ///< the caller's, without port
    bool isSecure = false;                           ///< the caller used TLS
    std::string body;

    /// The header's value; empty if it is missing.
    std::string header(std::string const& name) const;
    std::string queryItem(std::string const& name) const;
};

struct HttpResponse {
    int status = 200;
    std::string contentType = "application/json"; ///< empty for an answer without a body
    std::string body = {};
    std::vector<std::pair<std::string, std::string>> headers = {};
    MemoryBudget::Lease memory = {};              ///< held until the body is sent
    std::optional<ByteSourcePart> source = {};    ///< sent instead of `body`
    std::shared_ptr<BodyStream> stream = nullptr; ///< sent instead of `body`
};

HttpResponse jsonResponse(int status, json::value const& value);

/// The body of a request, which must be a JSON object. Throws HttpError.
json::object objectOf(std::string const& body);

/// Splits the target of a request into `path` and `query`; false if it is not a path with an optional query.
bool readTarget(std::string_view target, HttpRequest& request);

} // namespace zelvo::service
