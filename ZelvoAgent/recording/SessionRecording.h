#pragma once

#include "base/Task.h"

#include <optional>
#include <string>

namespace zelvo {

/// Receives the agents' activity, so that it can be recorded. Thread: any.
class SessionRecording {
public:
    virtual ~SessionRecording() = default;
    virtual Task<> agentActed(std::optional<std::string> connectionId, std::string platformName) = 0;
    virtual Task<> agentLooked() = 0;
    /// True while a recording's file is open. Does not wait.
    virtual bool hasOpenFile() const = 0;
    /// Closes the recording.
    /// quitting  true at the end of the process
    virtual Task<> finishNow(bool quitting) = 0;
    /// Resumes when no recording is being written.
    virtual Task<> untilClosed() = 0;
};

} // namespace zelvo
