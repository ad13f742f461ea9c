#include "ZelvoGateway/webhooks/WebhookService.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/webhooks/WebhookUrl.h"
#include "base/DateText.h"

#include <algorithm>
#include <set>

namespace zelvo::service {

namespace {

using records::WebhookEventType;

/// Hosted machines are not rented here.
constexpr std::array<WebhookEventType, 3> neverSent = {
    WebhookEventType::cloudMACEnded, WebhookEventType::cloudMACExpiring, WebhookEventType::cloudMACReady};

bool isSent(WebhookEventType type)
{
    return std::ranges::find(neverSent, type) == neverSent.end();
}

/// Each once, in the order of the enumeration.
std::vector<WebhookEventType> eventsIn(records::CreateWebhookRequest const& request)
{
    if (!request.events)
        return WebhookService::sentEvents();
    if (request.events->empty())
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"events\" must name at least one event"};
    for (WebhookEventType const type : *request.events)
        if (!isSent(type))
            throw Failure{.code = ErrorCode::invalidRequest,
                          .message = "This gateway never sends \"" + std::string(rawValue(type)) + "\""};
    std::set<WebhookEventType> const each(request.events->begin(), request.events->end());
    return {each.begin(), each.end()};
}

std::string newWebhookSecret()
{
    return "whsec_" + newSecret();
}

/// Only its host: a path may hold a secret.
json::object detailsOf(StoredWebhook const& webhook)
{
    return {{"webhookId", webhook.id}, {"host", hostOfWebhook(webhook.url)}};
}

} // namespace

std::vector<WebhookEventType> WebhookService::sentEvents()
{
    std::vector<WebhookEventType> all;
    for (std::string_view const text : EnumTexts<WebhookEventType>::texts)
        if (auto const type = fromRawValue<WebhookEventType>(text); type && isSent(*type))
            all.push_back(*type);
    return all;
}

void WebhookService::note(Caller const& caller, std::string_view type, StoredWebhook const& webhook)
{
    audit.add(caller, {.type = type, .details = detailsOf(webhook)});
}

StoredWebhook WebhookService::add(Caller const& caller, records::CreateWebhookRequest const& request)
{
    assertWebhookUrl(request.url, rules);
    StoredWebhook wanted{.url = request.url, .events = eventsIn(request)};
    if (store.webhooks().size() >= rules.maxWebhooks)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "There are " + std::to_string(rules.maxWebhooks) + " webhooks already",
                      .kind = Failure::Kind::wrongState};
    wanted.secret = newWebhookSecret();
    wanted.createdAt = dates::iso8601(clock.date());
    StoredWebhook made = store.addWebhook(std::move(wanted));
    note(caller, "webhook.created", made);
    return made;
}

StoredWebhook WebhookService::webhook(std::string const& id)
{
    auto found = store.webhook(id);
    if (!found)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such webhook"};
    return *std::move(found);
}

void WebhookService::remove(Caller const& caller, std::string const& id)
{
    StoredWebhook const removed = webhook(id);
    if (store.removeWebhook(id))
        note(caller, "webhook.removed", removed);
}

StoredWebhook WebhookService::rotateSecret(Caller const& caller, std::string const& id)
{
    StoredWebhook changed = webhook(id);
    changed.oldSecret = std::move(changed.secret);
    changed.oldUntil = clock.date() + dateSpan(rules.oldSecretValid);
    changed.secret = newWebhookSecret();
    store.saveWebhook(changed);
    note(caller, "webhook.secret_replaced", changed);
    return changed;
}

StoredWebhook WebhookService::enable(Caller const& caller, std::string const& id)
{
    StoredWebhook changed = webhook(id);
    changed.disabledAt.reset();
    changed.failingSince.reset();
    store.saveWebhook(changed);
    note(caller, "webhook.enabled", changed);
    dispatcher.wake();
    return changed;
}

Page<StoredDelivery> WebhookService::deliveries(std::string const& webhookId, PageQuery const& query)
{
    webhook(webhookId);
    return store.deliveryPage(webhookId, query);
}

StoredDelivery
WebhookService::sendAgain(Caller const& caller, std::string const& webhookId, std::string const& deliveryId)
{
    StoredWebhook const target = webhook(webhookId);
    if (target.disabledAt)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "This webhook is disabled; enable it first",
                      .kind = Failure::Kind::wrongState};
    auto delivery = store.delivery(deliveryId);
    if (!delivery || delivery->webhookId != webhookId)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such delivery"};
    delivery->due = clock.date();
    if (delivery->status != records::DeliveryStatus::waiting) {
        delivery->status = records::DeliveryStatus::waiting;
        delivery->attempts = 0;
        delivery->firstAttempt.reset();
        delivery->endedAt.reset();
    }
    store.saveDelivery(*delivery);
    json::object details = detailsOf(target);
    details["deliveryId"] = deliveryId;
    audit.add(caller, {.type = "webhook.sent_again", .details = std::move(details)});
    dispatcher.wake();
    return *std::move(delivery);
}

} // namespace zelvo::service
