#pragma once

#include "ZelvoGateway/http/HttpError.h"

#include <string>
#include <utility>

namespace zelvo::service {

// Answers of the HTTP session itself.

inline HttpError tooBusy(std::string message)
{
    return {.status = 429,
            .code = ErrorCode::rateLimited,
            .message = std::move(message),
            .limit = Refusal::memory};
}

inline HttpError stopping()
{
    return {.status = 503,
            .code = ErrorCode::rateLimited,
            .message = "The gateway is stopping",
            .retryAfter = std::chrono::seconds(5)};
}

inline HttpError tooLarge()
{
    return {.status = 413,
            .code = ErrorCode::invalidRequest,
            .message = "The body is too large",
            .limit = Refusal::bodySize};
}

} // namespace zelvo::service
