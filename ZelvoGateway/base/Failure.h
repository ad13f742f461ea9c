#pragma once

#include "ZelvoGateway/base/Refusal.h"
#include "wire/ErrorCode.h"
#include "wire/Json.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// Why a service refuses. Services throw it; only api, console and mcp say it over HTTP.
struct Failure {
    /// What a caller may have to know beyond the code.
    enum class Kind {
        usual,
        tooLarge,   ///< of a body or a file
        wrongState, ///< what it is asked of has begun, or has ended
        incomplete, ///< an upload is missing or short
    };

    ErrorCode code = ErrorCode::internalError;
    std::string message;
    std::optional<json::object> details = {};
    std::string requestId = {}; ///< of the frame that was sent to the machine; empty if none was
    Kind kind = Kind::usual;
    bool wasNotStarted = false;        ///< the machine got the frame, but did nothing
    std::optional<Refusal> limit = {}; ///< that was reached
};

} // namespace zelvo::service
