#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "ZelvoGateway/webhooks/WebhookDispatcher.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// The webhooks of a platform: what it registers, and the log of what was sent. Thread: the server's. Errors:
/// Failure.
class WebhookService {
public:
    WebhookService(
        Store& store, WebhookDispatcher& dispatcher, AuditLog& audit, Settings const& settings, Clock& clock)
        : store(store), dispatcher(dispatcher), audit(audit), rules(settings.webhooks), clock(clock)
    {
    }

    /// The events that this gateway sends.
    static std::vector<records::WebhookEventType> sentEvents();

    /// Adds a webhook for these events, or for all that this gateway sends. The only time that its secret may
    /// be shown.
    StoredWebhook add(Caller const& caller, records::CreateWebhookRequest const& request);
    StoredWebhook webhook(std::string const& id);
    Page<StoredWebhook> webhooks(PageQuery const& query) { return store.webhookPage(query); }
    void remove(Caller const& caller, std::string const& id);
    /// Gives a webhook another secret. Both sign for a day, so that receivers can change over.
    StoredWebhook rotateSecret(Caller const& caller, std::string const& id);
    /// Sends to a disabled webhook again, from the next event on.
    StoredWebhook enable(Caller const& caller, std::string const& id);

    Page<StoredDelivery> deliveries(std::string const& webhookId, PageQuery const& query);
    /// Sends the event of a delivery once more, now. Throws Failure: notFound, also for a delivery of another
    /// webhook; invalidRequest (wrongState) if the webhook is disabled.
    StoredDelivery
    sendAgain(Caller const& caller, std::string const& webhookId, std::string const& deliveryId);

private:
    void note(Caller const& caller, std::string_view type, StoredWebhook const& webhook);

    Store& store;
    WebhookDispatcher& dispatcher;
    AuditLog& audit;
    WebhookRules const& rules;
    Clock& clock;
};

} // namespace zelvo::service
