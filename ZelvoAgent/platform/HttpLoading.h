#pragma once

#include "base/Clock.h"
#include "platform/WebSocket.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
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
    std::string body;      ///< at most 16 MiB; a longer one is a failure
    std::string peer = {}; ///< the IP address that answered; empty through a proxy
};

/// A file that becomes the body of a request, read from disk while it is sent.
struct HttpUpload {
    std::string url;
    std::string method = "PUT";
    HttpHeaders headers;
    std::filesystem::path file;
    std::int64_t bytes = 0;  ///< the file's size, sent as Content-Length
    Duration timeout = 600s; ///< without a byte in either direction; the whole call may take longer
    /// The `peer` of the gateway that chose `url`, or the gateway's host name if it answered through a proxy.
    /// The upload then goes to that address or to a public one outside of this machine's networks, through a
    /// proxy to that host only, and fails elsewhere, unless the gateway is on this machine. `nullopt` allows
    /// everything.
    std::optional<std::string> gatewayPeer = {};
    /// Reports how many bytes of the file are sent, about once a second and often more. Returning false ends
    /// the call, which fails with `cancelled`. Thread: any. May be empty.
    std::function<bool(std::int64_t sent)> onProgress;
};

/// A response's body that is written to a file, continuing what an earlier download left in it.
struct HttpDownload {
    std::string url;
    std::filesystem::path file;         ///< created with mode 0600 if it is missing
    std::int64_t maxBytes = 0;          ///< of the whole file; a longer one is a failure
    Duration timeout = 60s;             ///< without a byte
    Duration longest = Duration::max(); ///< for the whole call
    /// Reports how many bytes the file has, about once a second and often more. Returning false ends the
    /// call, which fails with `cancelled`. Thread: any. May be empty.
    std::function<bool(std::int64_t received)> onProgress;
};

/// Plain HTTP and HTTPS calls. Redirects are not followed. A response head longer than 1 MiB is a failure.
/// Thread: any; resumes the caller on its own executor.
/// Made by: platform/portable/net/CurlHttpLoading, tests/fakes/FakeHttpLoading.
class HttpLoading {
public:
    virtual ~HttpLoading() = default;
    /// Throws NetworkFailure if no complete response arrived.
    virtual Task<HttpResponse> load(HttpRequest request) = 0;
    /// The same with a file as the body. It also fails if the file can't be read or does not have the given
    /// size throughout, and if the server reports success before the whole file was sent.
    virtual Task<HttpResponse> upload(HttpUpload upload) = 0;
    /// Receives a file, asking only for the part that is missing. After status 200 or 206 the file is
    /// complete, as far as the server says; with any other status it is unchanged. After a failure it keeps
    /// what has arrived. The response has no body.
    virtual Task<HttpResponse> download(HttpDownload download) = 0;
    /// Ends all calls, running and future: they fail with `cancelled`, so that none delays the end of the
    /// process.
    virtual void endCalls() = 0;
};

} // namespace zelvo
