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

/// The person's word on whether a connection's recordings are shared with it: asks for it, tells the service
/// and keeps it. Thread: main.
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

    /// Asks whether recordings may go to a connection; true only when sharing is on now. One question a
    /// connection stands at a time. No answer leaves the connection undecided.
    Task<bool> ask(std::string connectionId);
    /// Tells the service, and keeps the choice when it agreed. Gives the new state. Choices go out one after
    /// another, so that the last one holds here and there.
    Task<bool> set(std::string connectionId, bool shared);
    /// Asks about every connection that may have recordings and was not decided on, all side by side.
    void askUndecided();

    /// The connections whose question stands.
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
