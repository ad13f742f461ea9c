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

/// One recording in the making, as its recorder sees it. Used once. Thread: any.
class RecordingOutput {
public:
    virtual ~RecordingOutput() = default;
    virtual std::optional<std::string> const& connectionId() const = 0;
    /// From the next picture on. What fails leaves the old filter.
    virtual Task<> updateFilter(std::set<std::string> excludedBundleIds) = 0;
    /// Does not wait. at: the moment that the recording stops at, at most now
    virtual void pause(Instant at) = 0;
    /// Does not wait.
    virtual void resume() = 0;
    /// Without the pauses.
    virtual Task<double> recordedSeconds() = 0;
    /// Closes the recording; nothing when there is none. Never fails.
    virtual Task<std::optional<FinishedRecording>> finish() = 0;
};

/// Opens a recording. Throws AgentError, ScreenFailure or VideoFailure.
using StartRecording = std::function<Task<std::shared_ptr<RecordingOutput>>(RecordingStart start)>;

} // namespace zelvo
