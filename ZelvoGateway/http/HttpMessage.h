#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/recordings/OpenFile.h"
#include "wire/Json.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelvo::service {

/// An HTTP request, free of the library that read it.
struct HttpRequest {
    std::string method;
    std::vector<std::string> path; ///< decoded segments: "/v1/machines/m" is {"v1", "machines", "m"}
    std::multimap<std::string, std::string> query;   ///< decoded
    std::multimap<std::string, std::string> headers; ///< names in lower case
    std::string localAddress;                        ///< the address that the client reached, without port
    std::string body;

    /// The header's value; empty when it is missing.
    std::string header(std::string const& name) const;
    std::string queryItem(std::string const& name) const;
};

struct HttpResponse {
    int status = 200;
    std::string contentType = "application/json";
    std::string body = {};
    std::vector<std::pair<std::string, std::string>> headers = {};
    MemoryBudget::Lease memory = {};   ///< held until the body was sent
    std::optional<FilePart> file = {}; ///< sent instead of the body
};

HttpResponse jsonResponse(int status, json::value const& value);

/// The body of a request, which must be a JSON object. Throws Failure.
json::object objectOf(std::string const& body);

/// Takes the target of a request apart; false when it is no path with an optional query.
bool readTarget(std::string_view target, HttpRequest& request);

} // namespace zelvo::service
