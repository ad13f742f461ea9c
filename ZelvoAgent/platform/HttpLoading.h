#pragma once

#include "base/Clock.h"
#include "platform/WebSocket.h"

#include <string>
#include <utility>
#include <vector>

namespace zelvo {

struct HttpRequest {
    std::string url;
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    Duration timeout = 60s; ///< without a byte in either direction
};

struct HttpResponse {
    int status = 0;
    std::string body; ///< at most 16 MiB; a longer one is a failure
};

/// Plain HTTP and HTTPS calls. Redirects are not followed.
/// Thread: any; resumes the caller on its own executor.
/// Made by: platform/linux/net/CurlHttpLoading, tests/fakes/FakeHttpLoading.
class HttpLoading {
public:
    virtual ~HttpLoading() = default;
    /// Throws NetworkFailure when no complete answer came.
    virtual Task<HttpResponse> load(HttpRequest request) = 0;
    /// Ends the calls under way, which fail with `cancelled`, so that none holds up the end of the process.
    virtual void endCalls() = 0;
};

} // namespace zelvo
