#pragma once

#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "ZelvoGateway/webhooks/WebhookSender.h"
#include "base/DelayedCall.h"

#include <map>
#include <set>
#include <string>

namespace zelvo::service {

/// Sends the deliveries that wait in the store, and repeats failed ones for a day. Each webhook has its own
/// few attempts at a time, so one that never answers holds up no other. A delivery that is on its way when
/// the gateway stops is sent again after the next start: receivers tell repeats by the event's id. A webhook
/// without a success for days is disabled, and gets nothing until the platform enables it.
/// Thread: the server's.
class WebhookDispatcher {
public:
    WebhookDispatcher(Store& store,
                      WebhookSender& sender,
                      WebhookRules const& rules,
                      Clock& clock,
                      Executor server,
                      Metrics& metrics = Metrics::none());

    /// Begins with what waits already.
    void begin();
    /// Looks for deliveries soon; from anywhere on the server's thread, also in the middle of a call of the
    /// store.
    void wake();
    /// Once a minute: bounds the log and forgets what nobody needs.
    void runMaintenance();
    void stop();

private:
    void dispatch();
    void startDue(StoredWebhook const& webhook, Date now);
    Task<> deliver(StoredWebhook webhook, StoredDelivery delivery);
    void
    noteAttempt(std::string const& webhookId, std::string const& deliveryId, DeliveryEnd end, Duration took);
    /// Returns how the attempt ended; nullopt if nobody waits for the delivery any more.
    std::optional<DeliveryEnd> conclude(StoredDelivery delivery, WebhookAnswer const& answer);
    void succeeded(StoredWebhook webhook, StoredDelivery delivery);
    DeliveryEnd failed(StoredWebhook webhook, StoredDelivery delivery);
    void disable(StoredWebhook webhook, Date now);
    WebhookRequest requestFor(StoredWebhook const& webhook, StoredDelivery const& delivery) const;

    Store& store;
    WebhookSender& sender;
    WebhookRules const& rules;
    Clock& clock;
    Executor server;
    Metrics& metrics;
    DelayedCall timer;
    std::map<std::string, std::set<std::string>> sending; // webhook -> deliveries
    bool waking = false;
    bool stopped = false;
};

} // namespace zelvo::service
