#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "base/Hop.h"

#include <iostream>
#include <optional>
#include <string>
#include <type_traits>

namespace zelvo::service {

/// Runs work on files of recordings on the workers, and returns its result. The reason of a failure is for
/// the person who runs the gateway, in the log; the caller gets a Failure with this message.
template <class Work, class Result = std::invoke_result_t<Work&>>
Task<Result> fileWork(Executor workers, Work work, std::string message)
{
    std::optional<std::string> problem;
    try {
        co_return co_await on(workers, work);
    } catch (RecordingFilesError const& error) {
        problem = error.what();
    }
    std::cerr << "zelvo-gateway: " + *problem + "\n" << std::flush;
    throw Failure{.code = ErrorCode::recordingsUnavailable, .message = message};
}

} // namespace zelvo::service
