#pragma once

#include "base/Clock.h"
#include "platform/WebSocket.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
    std::string url;
    std::string method = "GET";
    HttpHeaders headers;
    std::string body;
    Duration timeout = 60s;             ///< without a byte in either direction
    Duration longest = Duration::max(); ///< for the whole call
};

struct HttpResponse {
    int status = 0;
    std::string body; ///< at most 16 MiB; a longer one is a failure
};

/// A file that becomes the body of a request, read from disk as it goes.
struct HttpUpload {
    std::string url;
    std::string method = "PUT";
    HttpHeaders headers;
    std::filesystem::path file;
    std::int64_t bytes = 0;  ///< what the file holds, and the server is told
    Duration timeout = 600s; ///< for the whole call
    /// Is told how many bytes of the file have gone out, about once a second and often more; false ends the
    /// call, which fails with `cancelled`. Thread: any. May be empty.
    std::function<bool(std::int64_t sent)> onProgress;
};

/// Plain HTTP and HTTPS calls. Redirects are not followed. An answer whose head is longer than 1 MiB is a
/// failure.
/// Thread: any; resumes the caller on its own executor.
/// Made by: platform/portable/net/CurlHttpLoading, tests/fakes/FakeHttpLoading.
class HttpLoading {
public:
    virtual ~HttpLoading() = default;
    /// Throws NetworkFailure when no complete answer came.
    virtual Task<HttpResponse> load(HttpRequest request) = 0;
    /// The same with a file as the body. A file that can't be read, or that is not of the told size from the
    /// first byte to the last, is a failure too, and so is a success that is answered before the whole file
    /// went out.
    virtual Task<HttpResponse> upload(HttpUpload upload) = 0;
    /// Ends the calls under way and whatever is called later: they fail with `cancelled`, so that none holds
    /// up the end of the process.
    virtual void endCalls() = 0;
};

} // namespace zelvo
