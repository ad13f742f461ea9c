#include "state/QueueCoordinator.h"

#include "base/LocalizedTexts.h"
#include "state/QueueWording.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

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

/// Says whose question is open for as long as it is, however it ends.
class OpenQuestion {
public:
    OpenQuestion(std::optional<std::string>& place, std::string connectionId) : askedFor(place)
    {
        askedFor = std::move(connectionId);
    }
    OpenQuestion(OpenQuestion const&) = delete;
    OpenQuestion& operator=(OpenQuestion const&) = delete;
    ~OpenQuestion() { askedFor.reset(); }

private:
    std::optional<std::string>& askedFor;
};

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
    if (!isFromKnown(offer))
        return;
    if (auto decision = immediateDecision(current, offer.ids())) {
        notify(offer);
        send(offer, *std::move(decision));
    } else {
        enqueue(std::move(offer));
    }
}

/// False for an offer to ignore. The name that the person knows the connection by replaces the offer's: that
/// one is any text.
bool QueueCoordinator::isFromKnown(QueuedCommandsOffer& offer) const
{
    auto const connection = services.state.connection(offer.connectionId);
    if (!connection)
        return services.mode() != AgentMode::connected;
    offer.nameBy(connection->platformName);
    return true;
}

void QueueCoordinator::notify(QueuedCommandsOffer const& offer)
{
    services.notifications.show(QueueWording::title(offer), notice(current));
}

void QueueCoordinator::enqueue(QueuedCommandsOffer offer)
{
    auto const earlier = std::ranges::find(waiting, offer.connectionId, &QueuedCommandsOffer::connectionId);
    if (earlier != waiting.end()) {
        *earlier = std::move(offer);
        return;
    }
    if (waiting.size() >= maxWaiting)
        return;
    if (askedFor != offer.connectionId)
        notify(offer);
    waiting.push_back(std::move(offer));
    if (!askedFor)
        spawn(services.main, [this] { return askOneByOne(); });
}

Task<> QueueCoordinator::askOneByOne()
{
    while (!askedFor && !waiting.empty()) {
        QueuedCommandsOffer offer = std::move(waiting.front());
        waiting.erase(waiting.begin());
        if (!isFromKnown(offer)) // Revoked while it waited.
            continue;
        if (auto decision = immediateDecision(current, offer.ids()))
            send(offer, *std::move(decision));
        else
            co_await ask(std::move(offer));
    }
}

/// One answer decides the whole offer.
Task<> QueueCoordinator::ask(QueuedCommandsOffer offer)
{
    OpenQuestion const open(askedFor, offer.connectionId);
    ConfirmationPresenter::Choice choice{.title = QueueWording::title(offer),
                                         .detail = QueueWording::list(offer),
                                         .allowTitle = localized("queue.run"),
                                         .denyTitle = localized("queue.policy.never")};
    ConfirmationDecision const decision = co_await services.askChoice(std::move(choice), timeoutMs(offer));
    if (decision == ConfirmationDecision::denied())
        send(offer, {.accepted = {}, .declined = offer.ids()});
    else if (decision == ConfirmationDecision::timedOut())
        log(offer, localized("activity.queueUnanswered")); // The commands stay in the gateway's queue.
    else
        send(offer, {.accepted = offer.ids(), .declined = {}});
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
