#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "base/Clock.h"

#include <exception>
#include <optional>
#include <string>

namespace zelvo::service {

/// Why a request is refused, in the terms of HTTP. Whoever handles requests throws it; the session answers
/// with errorResponse().
struct HttpError {
    int status = 500;
    ErrorCode code = ErrorCode::internalError;
    std::string message;
    std::optional<json::object> details = {};
    std::string requestId = {};        ///< of the frame that a machine got; else the request's own
    Duration retryAfter = {};          ///< when another try makes sense, if that is known
    std::string reason = {};           ///< for the log of the gateway, never for a caller
    bool wasNotStarted = false;        ///< the machine that got the frame did nothing
    bool isReplayed = false;           ///< it is the answer to an earlier, equal request
    std::optional<Refusal> limit = {}; ///< that was reached
};

/// 400, for a request that makes no sense.
HttpError badRequest(std::string message);
/// 500, with a text that gives nothing away.
HttpError internalError(std::exception const& error);
/// What a service's failure is in HTTP. Only api, console and mcp use it.
HttpError httpErrorOf(Failure const& failure);

/// The status of an error that has this code.
int statusOf(ErrorCode code);

/// The APIError record. error.requestId must be set; it is also the header "X-Request-Id".
HttpResponse errorResponse(HttpError const& error);

constexpr char const* requestIdHeader = "X-Request-Id";
constexpr char const* replayHeader = "Idempotent-Replayed"; ///< "true"

} // namespace zelvo::service
