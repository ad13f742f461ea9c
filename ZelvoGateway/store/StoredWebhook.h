#pragma once

#include "base/Clock.h"
#include "wire/records/ServiceWebhooks.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// An address that a platform wants events at.
struct StoredWebhook {
    std::string id;
    std::string url;
    std::vector<records::WebhookEventType> events;
    std::string secret;                   ///< signs what is sent
    std::optional<std::string> oldSecret; ///< signs, too, until `oldUntil`
    std::optional<Date> oldUntil;
    std::string createdAt;            ///< ISO 8601
    std::optional<Date> failingSince; ///< no attempt has succeeded since
    std::optional<Date> disabledAt;
};

/// One event on its way to one webhook, or at its end.
struct StoredDelivery {
    std::string id;
    std::string webhookId;
    records::WebhookEvent event;
    std::string createdAt; ///< ISO 8601
    records::DeliveryStatus status = records::DeliveryStatus::waiting;
    std::int64_t attempts = 0;
    std::optional<Date> firstAttempt;
    Date due; ///< of the next attempt
    std::optional<Date> endedAt;
    std::optional<std::int64_t> answerStatus; ///< of the last attempt; nullopt if no answer came
    std::optional<std::string> error;         ///< of the last attempt
};

} // namespace zelvo::service
