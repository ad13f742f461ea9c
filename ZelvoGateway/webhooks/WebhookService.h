#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "ZelvoGateway/webhooks/WebhookDispatcher.h"

#include <string>

namespace zelvo::service {

/// The webhooks of a platform: what it registers, and the log of what was sent. Thread: the server's. Errors:
/// Failure.
class WebhookService {
public:
    WebhookService(Store& store, WebhookDispatcher& dispatcher, Settings const& settings, Clock& clock)
        : store(store), dispatcher(dispatcher), rules(settings.webhooks), clock(clock)
    {
    }

    /// Adds a webhook for these events, or for all that this gateway sends. The only time that its secret may
    /// be shown.
    StoredWebhook add(records::CreateWebhookRequest const& request);
    StoredWebhook webhook(std::string const& id);
    Page<StoredWebhook> webhooks(PageQuery const& query) { return store.webhookPage(query); }
    void remove(std::string const& id);
    /// Gives a webhook another secret. Both sign for a day, so that receivers can change over.
    StoredWebhook rotateSecret(std::string const& id);
    /// Sends to a disabled webhook again, from the next event on.
    StoredWebhook enable(std::string const& id);

    Page<StoredDelivery> deliveries(std::string const& webhookId, PageQuery const& query);
    /// Sends the event of a delivery once more, now. Throws Failure: notFound, also for a delivery of another
    /// webhook; invalidRequest (wrongState) if the webhook is disabled.
    StoredDelivery sendAgain(std::string const& webhookId, std::string const& deliveryId);

private:
    Store& store;
    WebhookDispatcher& dispatcher;
    WebhookRules const& rules;
    Clock& clock;
};

} // namespace zelvo::service
