#pragma once

#include "ZelvoGateway/http/HttpMessage.h"
#include "base/Task.h"

#include <string_view>

namespace zelvo::service {

/// Takes a body piece by piece as it comes, where it is too large for memory. One that goes before finish()
/// was called leaves nothing behind. Thread: the server's. Errors: Failure.
/// Made by: RecordingIntake.
class BodySink {
public:
    virtual ~BodySink() = default;
    /// The next piece, which lives until this is done.
    virtual Task<> take(std::string_view piece) = 0;
    /// The body came whole.
    virtual Task<HttpResponse> finish() = 0;
};

} // namespace zelvo::service
