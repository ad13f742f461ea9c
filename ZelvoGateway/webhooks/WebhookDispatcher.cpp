#include "ZelvoGateway/webhooks/WebhookDispatcher.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/DeliveryNames.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/webhooks/RetryDelay.h"
#include "ZelvoGateway/webhooks/WebhookSignature.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <random>

namespace zelvo::service {

namespace {

using records::DeliveryStatus;

constexpr Duration pauseAfterTrouble = 60s; // Before the store is asked again.
constexpr int successes = 2;                // The first digit of their status.

double chance()
{
    static std::mt19937 source{std::random_device()()};
    return std::uniform_real_distribution<double>(0, 1)(source);
}

std::string failureText(WebhookAnswer const& answer)
{
    constexpr int redirections = 3;
    if (answer.status == 0)
        return answer.error;
    std::string const status = "status " + std::to_string(answer.status);
    return answer.status / 100 == redirections ? status + "; redirects are not followed" : status;
}

} // namespace

WebhookDispatcher::WebhookDispatcher(Store& store,
                                     WebhookSender& sender,
                                     WebhookRules const& rules,
                                     Clock& clock,
                                     Executor server,
                                     Metrics& metrics)
    : store(store), sender(sender), rules(rules), clock(clock), server(server), metrics(metrics),
      timer(server, clock)
{
}

void WebhookDispatcher::begin()
{
    store.onDelivery([this] { wake(); });
    wake();
}

void WebhookDispatcher::wake()
{
    if (stopped || std::exchange(waking, true))
        return;
    asio::post(server, [this] {
        waking = false;
        dispatch();
    });
}

void WebhookDispatcher::stop()
{
    stopped = true;
    store.onDelivery({});
    timer.cancel();
    sender.stop();
}

void WebhookDispatcher::dispatch()
{
    if (stopped)
        return;
    try {
        Date const now = clock.date();
        std::optional<Date> next;
        for (StoredWebhook const& webhook : store.webhooks()) {
            if (webhook.disabledAt)
                continue;
            startDue(webhook, now);
            if (auto const due = store.nextDelivery(webhook.id, now); due && (!next || *due < *next))
                next = due;
        }
        if (next)
            timer.in(*next - now, [this] { dispatch(); });
    } catch (StoreError const& error) {
        Log::error(error.what());
        timer.in(pauseAfterTrouble, [this] { dispatch(); });
    }
}

void WebhookDispatcher::startDue(StoredWebhook const& webhook, Date now)
{
    auto& mine = sending[webhook.id];
    if (mine.size() >= rules.maxParallel)
        return; // The end of an attempt calls dispatch().
    for (StoredDelivery& delivery : store.dueDeliveries(webhook.id, now, rules.maxParallel + mine.size())) {
        if (mine.size() >= rules.maxParallel)
            return;
        if (!mine.insert(delivery.id).second)
            continue;
        spawn(server, [this, webhook, delivery = std::move(delivery)] { return deliver(webhook, delivery); });
    }
}

WebhookRequest WebhookDispatcher::requestFor(StoredWebhook const& webhook,
                                             StoredDelivery const& delivery) const
{
    WebhookRequest request{
        .url = webhook.url, .headers = {}, .body = writeJson(records::toJson(delivery.event))};
    request.headers = {{"Content-Type", "application/json"},
                       {"User-Agent", "zelvo-gateway"},
                       {"Zelvo-Delivery", delivery.id},
                       {"Zelvo-Signature", webhookSignature(webhook, request.body, clock.date())}};
    return request;
}

Task<> WebhookDispatcher::deliver(StoredWebhook webhook, StoredDelivery delivery)
{
    WebhookRequest request = requestFor(webhook, delivery);
    Instant const began = clock.now();
    std::string const deliveryId = delivery.id;
    WebhookAnswer const answer = co_await sender.send(std::move(request));
    if (stopped)
        co_return; // It waits in the store as before.
    sending[webhook.id].erase(delivery.id);
    try {
        if (auto const end = conclude(std::move(delivery), answer))
            noteAttempt(webhook.id, deliveryId, *end, clock.now() - began);
    } catch (StoreError const& error) {
        Log::error(error.what());
        timer.in(pauseAfterTrouble, [this] { dispatch(); });
        co_return;
    }
    wake();
}

void WebhookDispatcher::noteAttempt(std::string const& webhookId,
                                    std::string const& deliveryId,
                                    DeliveryEnd end,
                                    Duration took)
{
    metrics.attempted(end, took);
    if (!Log::takes(Log::Level::debug))
        return;
    std::string_view const outcome = deliveryNames.at(static_cast<std::size_t>(end));
    auto const milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(took).count();
    Log::debug(deliveryId + " to webhook " + webhookId + ": " + std::string(outcome) + ", " +
                   std::to_string(milliseconds) + " ms",
               {{"requestId", deliveryId},
                {"webhook", webhookId},
                {"outcome", outcome},
                {"durationMs", milliseconds}});
}

std::optional<DeliveryEnd> WebhookDispatcher::conclude(StoredDelivery delivery, WebhookAnswer const& answer)
{
    auto webhook = store.webhook(delivery.webhookId); // Its secrets may have changed meanwhile.
    auto const kept = store.delivery(delivery.id);
    if (!webhook || !kept || kept->status != DeliveryStatus::waiting)
        return std::nullopt;
    ++delivery.attempts;
    delivery.firstAttempt = delivery.firstAttempt.value_or(clock.date());
    delivery.answerStatus = answer.status ? std::optional<std::int64_t>(answer.status) : std::nullopt;
    if (answer.status / 100 == successes) {
        delivery.error.reset();
        succeeded(*std::move(webhook), std::move(delivery));
        return DeliveryEnd::delivered;
    }
    delivery.error = failureText(answer);
    return failed(*std::move(webhook), std::move(delivery));
}

void WebhookDispatcher::succeeded(StoredWebhook webhook, StoredDelivery delivery)
{
    delivery.status = DeliveryStatus::delivered;
    delivery.endedAt = clock.date();
    store.saveDelivery(delivery);
    if (!webhook.failingSince)
        return;
    webhook.failingSince.reset();
    store.saveWebhook(webhook);
}

DeliveryEnd WebhookDispatcher::failed(StoredWebhook webhook, StoredDelivery delivery)
{
    Date const now = clock.date();
    delivery.due = now + dateSpan(retryDelay(rules, delivery.attempts, chance()));
    if (delivery.due > *delivery.firstAttempt + dateSpan(rules.givesUp)) {
        delivery.status = DeliveryStatus::failed;
        delivery.endedAt = now;
    }
    store.saveDelivery(delivery);
    DeliveryEnd const end =
        delivery.status == DeliveryStatus::failed ? DeliveryEnd::failed : DeliveryEnd::repeated;
    if (!webhook.failingSince) {
        webhook.failingSince = now;
        store.saveWebhook(webhook);
    } else if (now - *webhook.failingSince >= rules.disabledAfter) {
        disable(std::move(webhook), now);
    }
    return end;
}

void WebhookDispatcher::disable(StoredWebhook webhook, Date now)
{
    if (std::exchange(webhook.disabledAt, now))
        return;
    store.saveWebhook(webhook);
    store.failWaiting(webhook.id, "the webhook was disabled", now);
    auto const days = std::chrono::duration_cast<std::chrono::days>(now - *webhook.failingSince).count();
    Log::warning("webhook " + webhook.id + " is disabled: no delivery has succeeded for " +
                     std::to_string(days) + " days",
                 {{"webhook", webhook.id}});
}

void WebhookDispatcher::runMaintenance()
{
    Date const now = clock.date();
    for (StoredWebhook& webhook : store.webhooks()) {
        store.trimDeliveries(webhook.id, rules.maxWaiting, rules.maxEnded, now - dateSpan(rules.logKept),
                             now);
        if (webhook.oldUntil && *webhook.oldUntil <= now) {
            webhook.oldSecret.reset();
            webhook.oldUntil.reset();
            store.saveWebhook(webhook);
        }
    }
    std::erase_if(sending, [](auto const& entry) { return entry.second.empty(); });
    store.forgetUnusedEvents();
    wake(); // Another process may have added some.
}

} // namespace zelvo::service
