#pragma once

#include "base/Contexts.h"
#include "confirm/ConfirmationPresenter.h"
#include "drivers/HiddenAppsStore.h"
#include "gateway/Keychain.h"
#include "platform/Platform.h"
#include "recording/RecordingRetention.h"
#include "recording/RecordingSharing.h"
#include "recording/RecordingState.h"
#include "recording/RecordingUploader.h"
#include "recording/SessionRecorder.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvo {

/// Everything about recordings, put together: what makes them, shares them and removes them in time.
/// Thread: main. Lives as long as the process.
class AgentRecording {
public:
    struct Services {
        Contexts contexts;
        Platform& platform;
        RecordingSettings& settings;
        AgentState& state;
        HiddenAppsStore& hiddenApps;
        Keychain& keychain;
        std::string httpBase; ///< the HTTP form of the gateway's address
        std::string appVersion;
        std::function<Task<ConfirmationDecision>(ConfirmationPresenter::Choice, std::int64_t timeoutMs)>
            askChoice;
    };

    explicit AgentRecording(Services wired);
    AgentRecording(AgentRecording const&) = delete;
    AgentRecording& operator=(AgentRecording const&) = delete;

    /// Removes recordings that are too old, which blocks for a moment, sends on what waits to be sent, and
    /// from now on does both every ten minutes.
    void start();
    /// Tries what waits to be sent, in the background.
    void drain();
    /// Closes the recording that runs, in the background.
    void finish();

    SessionRecording& recorder() { return *sessions; }
    RecordingState& state() { return shown; }
    RecordingSharing& sharing() { return shares; }

private:
    SessionRecorder::Services recorderServices();
    Task<> runMaintenance();

    Services services;
    RecordingRetention retention;
    RecordingUploader uploads;
    RecordingSharing shares;
    std::shared_ptr<SessionRecorder> sessions;
    RecordingState shown;
    TaskHandle maintenance;
};

} // namespace zelvo
