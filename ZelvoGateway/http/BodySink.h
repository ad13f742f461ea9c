#pragma once

#include "ZelvoGateway/http/HttpMessage.h"
#include "base/Task.h"

#include <string_view>

namespace zelvo::service {

/// Takes a body that is too large for memory, in pieces. Destroying it before finish() must leave nothing
/// behind.
/// Thread: the server's. Errors: HttpError.
/// Made by: api/UploadBody.
class BodySink {
public:
    virtual ~BodySink() = default;
    /// Takes the next piece, which lives until this returns.
    virtual Task<> take(std::string_view piece) = 0;
    /// The body is complete; returns the answer.
    virtual Task<HttpResponse> finish() = 0;
};

} // namespace zelvo::service
