#include "state/QueueCoordinator.h"

#include "base/LocalizedTexts.h"
#include "state/QueueWording.h"

#include <boost/asio/post.hpp>

#include <algorithm>

namespace zelvo {

namespace {

constexpr std::chrono::microseconds shortestQuestion = 5s;
constexpr std::chrono::microseconds maxQuestion = 600s;

std::string notice(QueuePolicy policy)
{
    switch (policy) {
    case QueuePolicy::ask:
        return localized("queue.notify.ask");
    case QueuePolicy::automatic:
        return localized("queue.notify.auto");
    case QueuePolicy::never:
        return localized("queue.notify.never");
    }
    return {};
}

} // namespace

QueueCoordinator::QueueCoordinator(Services services)
    : services(std::move(services)), current(loadQueuePolicy(this->services.defaults))
{
}

void QueueCoordinator::start()
{
    services.inbox.handler.set([this](QueuedCommandsOffer offer) {
        asio::post(services.main, [this, offer = std::move(offer)]() mutable { receive(std::move(offer)); });
    });
}

void QueueCoordinator::setPolicy(QueuePolicy next)
{
    current = next;
    save(next, services.defaults);
    policyChanged();
}

void QueueCoordinator::receive(QueuedCommandsOffer offer)
{
    notify(offer);
    if (auto decision = immediateDecision(current, offer.ids()))
        send(offer, *std::move(decision));
    else
        ask(std::move(offer));
}

void QueueCoordinator::notify(QueuedCommandsOffer const& offer)
{
    services.notifications.show(QueueWording::title(offer), notice(current));
}

/// One answer decides the whole offer.
void QueueCoordinator::ask(QueuedCommandsOffer offer)
{
    spawn(services.main, [this, offer = std::move(offer)]() -> Task<> {
        ConfirmationPresenter::Choice choice{.title = QueueWording::title(offer),
                                             .detail = QueueWording::list(offer),
                                             .allowTitle = localized("queue.run"),
                                             .denyTitle = localized("queue.policy.never")};
        ConfirmationDecision const decision =
            co_await services.askChoice(std::move(choice), timeoutMs(offer));
        if (decision == ConfirmationDecision::denied())
            send(offer, {.accepted = {}, .declined = offer.ids()});
        else if (decision == ConfirmationDecision::timedOut())
            log(offer, localized("activity.queueUnanswered")); // The commands stay in the gateway's queue.
        else
            send(offer, {.accepted = offer.ids(), .declined = {}});
    });
}

/// The time until the first command expires: a later answer would not help that command.
std::int64_t QueueCoordinator::timeoutMs(QueuedCommandsOffer const& offer) const
{
    std::chrono::microseconds left = maxQuestion; // Date's unit: nanoseconds overflow on remote dates.
    Date const now = services.clock.date();
    for (QueuedCommandInfo const& command : offer.commands)
        if (command.expiresAt)
            left = std::min(left, *command.expiresAt - now);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::max(left, shortestQuestion)).count();
}

void QueueCoordinator::send(QueuedCommandsOffer const& offer, QueueDecision decision)
{
    bool const runs = !decision.accepted.empty();
    auto const count = static_cast<std::int64_t>((runs ? decision.accepted : decision.declined).size());
    services.sendDecision(offer.connectionId, std::move(decision));
    log(offer, localized(runs ? "activity.queueAccepted" : "activity.queueDeclined", {count}));
}

void QueueCoordinator::log(QueuedCommandsOffer const& offer, std::string summary)
{
    AgentState::LogLine line{.platform = offer.platformName, .summary = std::move(summary)};
    line.kind = ActivityKind::queue;
    line.connectionId = offer.connectionId;
    services.state.log(std::move(line));
}

} // namespace zelvo
