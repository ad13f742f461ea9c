#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "recording/FinishedRecording.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelvo {

struct RecordingStart {
    std::filesystem::path file;
    std::optional<std::string> connectionId;
    std::string platformName;
    std::set<std::string> excludedBundleIds;
};

/// One running recording. Used once. Thread: any.
class RecordingOutput {
public:
    virtual ~RecordingOutput() = default;
    virtual std::optional<std::string> const& connectionId() const = 0;
    /// Applies from the next picture on. On failure the old filter stays in force.
    virtual Task<> updateFilter(std::set<std::string> excludedBundleIds) = 0;
    /// Does not wait.
    /// at  the time at which the recording pauses, not later than now
    virtual void pause(Instant at) = 0;
    /// Does not wait.
    virtual void resume() = 0;
    /// The recording's length in seconds, without pauses.
    virtual Task<double> recordedSeconds() = 0;
    /// Closes the recording; `nullopt` if no file was made. Never throws.
    virtual Task<std::optional<FinishedRecording>> finish() = 0;
};

/// Opens a recording. Throws AgentError, ScreenFailure or VideoFailure.
using StartRecording = std::function<Task<std::shared_ptr<RecordingOutput>>(RecordingStart start)>;

} // namespace zelvo
