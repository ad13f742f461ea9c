#pragma once

#include "base/AsyncMutex.h"
#include "base/Task.h"
#include "confirm/ConfirmationPresenter.h"
#include "state/AgentState.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>

namespace zelvo {

/// The person's choice whether a connection's recordings are shared with it. Asks for the choice, sends it to
/// the service and stores it. Thread: main.
class RecordingSharing {
public:
    struct Services {
        Executor main;
        AgentState& state;
        /// ConfirmationPresenter::askChoice.
        std::function<Task<ConfirmationDecision>(ConfirmationPresenter::Choice, std::int64_t timeoutMs)>
            askChoice;
        /// RecordingUploader::sendSharing.
        std::function<Task<bool>(std::string connectionId, bool shared)> sendSharing;
    };

    explicit RecordingSharing(Services services) : services(std::move(services)) {}
    RecordingSharing(RecordingSharing const&) = delete;
    RecordingSharing& operator=(RecordingSharing const&) = delete;

    /// Asks whether recordings may be shared with a connection; true only if sharing is on now. Returns false
    /// at once if a question for this connection is already open. Without an answer the connection stays
    /// undecided.
    Task<bool> ask(std::string connectionId);
    /// Sends the choice to the service and stores it if the service accepts. Returns the new state; false on
    /// failure. Choices are sent one at a time, so that program and service both end with the last one.
    Task<bool> set(std::string connectionId, bool shared);
    /// Asks about every connection with the `record` scope and no choice yet, all at the same time.
    void askUndecided();

    /// The connections with an open question.
    std::set<std::string> const& asking() const { return open; }

private:
    Task<bool> putQuestion(std::string connectionId, std::string platformName);
    Task<bool> sendChoice(std::string connectionId, bool shared);
    void logSet(std::string const& connectionId, bool shared);
    void logFailure();

    Services services;
    std::set<std::string> open;
    AsyncMutex sending; ///< choices are sent one after another
};

} // namespace zelvo
