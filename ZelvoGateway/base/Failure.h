#pragma once

#include "wire/ErrorCode.h"
#include "wire/Json.h"

#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Why a call was refused. It is thrown, and becomes the body of a failed HTTP call in one place,
/// Api::answer.
struct Failure {
    ErrorCode code = ErrorCode::internalError;
    std::string message;
    std::optional<json::object> details = {};
    std::string requestId = {};     ///< of the frame to the machine; made when empty
    std::optional<int> status = {}; ///< instead of the status of the code
};

/// What callers are told of a failure that is nobody's business: it goes to standard error.
Failure internalFailure(std::exception const& error);
/// The HTTP status that goes with a code.
int httpStatus(ErrorCode code);

} // namespace zelvo::service
