#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "confirm/ConfirmationPresenter.h"
#include "platform/UserNotifications.h"
#include "state/AgentState.h"
#include "state/QueueOfferInbox.h"
#include "state/QueuePolicy.h"
#include "wire/AgentMode.h"

#include <boost/signals2/signal.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Decides about commands that the gateway queued while this machine was away: by the person's policy, or by
/// asking. The gateway then sends the accepted commands as ordinary frames. One offer is asked about at a
/// time. Of each connection only the newest other offer waits: it has all commands that still wait. In mode
/// "connected" an offer of a connection that is not granted is ignored. Thread: main.
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
        std::function<AgentMode()> mode = [] { return AgentMode::connected; };
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
    bool isFromKnown(QueuedCommandsOffer& offer) const;
    void notify(QueuedCommandsOffer const& offer);
    void enqueue(QueuedCommandsOffer offer);
    Task<> askOneByOne();
    Task<> ask(QueuedCommandsOffer offer);
    void send(QueuedCommandsOffer const& offer, QueueDecision decision);
    void log(QueuedCommandsOffer const& offer, std::string summary);
    std::int64_t timeoutMs(QueuedCommandsOffer const& offer) const;

    static constexpr std::size_t maxWaiting = 16;

    Services services;
    QueuePolicy current;
    std::optional<std::string> askedFor;      // The connection of the open question.
    std::vector<QueuedCommandsOffer> waiting; // In the order in which they are asked about.
};

} // namespace zelvo
