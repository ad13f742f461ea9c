#pragma once

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "base/Hop.h"

#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

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
    Log::error(*problem);
    throw Failure{.code = ErrorCode::recordingsUnavailable, .message = message};
}

/// Removes the files of recordings. Returns those that can't be removed now; the log says why.
inline std::set<std::string> removeEach(RecordingFiles const& files, std::vector<std::string> const& ids)
{
    std::set<std::string> left;
    for (std::string const& id : ids) {
        try {
            files.remove(id);
        } catch (RecordingFilesError const& error) {
            Log::error(error.what());
            left.insert(id);
        }
    }
    return left;
}

} // namespace zelvo::service
