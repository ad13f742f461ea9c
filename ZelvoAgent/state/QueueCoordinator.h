#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "confirm/ConfirmationPresenter.h"
#include "platform/UserNotifications.h"
#include "state/AgentState.h"
#include "state/QueueOfferInbox.h"
#include "state/QueuePolicy.h"

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// Decides about commands that the gateway queued while this machine was away: by the person's policy, or by
/// asking. The gateway then sends the accepted commands as ordinary frames. Thread: main.
class QueueCoordinator {
public:
    struct Services {
        Executor main;
        Clock& clock;
        UserDefaults& defaults;
        UserNotifications& notifications;
        AgentState& state;
        QueueOfferInbox& inbox;
        /// ConfirmationPresenter::askChoice.
        std::function<Task<ConfirmationDecision>(ConfirmationPresenter::Choice, std::int64_t timeoutMs)>
            askChoice;
        /// Sends the decision to the gateway; AgentRuntime::sendQueueDecision.
        std::function<void(std::string connectionId, QueueDecision decision)> sendDecision;
    };

    explicit QueueCoordinator(Services services);

    /// Starts to take offers from the inbox.
    void start();
    void receive(QueuedCommandsOffer offer);

    QueuePolicy policy() const { return current; }
    /// A panel that is already open is not affected.
    void setPolicy(QueuePolicy next);
    boost::signals2::signal<void()> policyChanged;

private:
    void notify(QueuedCommandsOffer const& offer);
    void ask(QueuedCommandsOffer offer);
    void send(QueuedCommandsOffer const& offer, QueueDecision decision);
    void log(QueuedCommandsOffer const& offer, std::string summary);
    std::int64_t timeoutMs(QueuedCommandsOffer const& offer) const;

    Services services;
    QueuePolicy current;
};

} // namespace zelvo
