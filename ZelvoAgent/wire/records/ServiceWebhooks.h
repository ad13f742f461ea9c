#pragma once

#include "wire/records/ServiceHistory.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: webhooks that a platform registers, and what was sent to them.
namespace zelvo::records {

enum class WebhookStatus { active, disabled };
enum class DeliveryStatus { delivered, failed, waiting };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::WebhookStatus> {
    static constexpr std::array<std::string_view, 2> texts = {"active", "disabled"};
};
template <>
struct EnumTexts<records::DeliveryStatus> {
    static constexpr std::array<std::string_view, 3> texts = {"delivered", "failed", "waiting"};
};

} // namespace zelvo

namespace zelvo::records {

struct CreateWebhookRequest {
    std::optional<std::vector<WebhookEventType>> events;
    std::string url;
    bool operator==(CreateWebhookRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(CreateWebhookRequest, (), (events, url))

/// "secret" is in the answer that creates the webhook, and in no other.
struct Webhook {
    std::string createdAt;
    std::optional<std::string> disabledAt;
    std::vector<WebhookEventType> events;
    std::optional<std::string> failingSince;
    std::string id;
    std::optional<std::string> secret;
    WebhookStatus status{};
    std::string url;
    bool operator==(Webhook const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Webhook, (), (createdAt, disabledAt, events, failingSince, id, secret, status, url))

struct WebhookList {
    std::vector<Webhook> data;
    std::optional<std::string> nextBefore;
    bool operator==(WebhookList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(WebhookList, (), (data, nextBefore))

struct WebhookSecret {
    std::string oldSecretUntil;
    std::string secret;
    bool operator==(WebhookSecret const&) const = default;
};
BOOST_DESCRIBE_STRUCT(WebhookSecret, (), (oldSecretUntil, secret))

struct WebhookDelivery {
    std::optional<std::int64_t> answerStatus;
    std::int64_t attempts{};
    std::string createdAt;
    std::optional<std::string> endedAt;
    std::optional<std::string> error;
    WebhookEvent event;
    std::string id;
    std::optional<std::string> nextAttemptAt;
    DeliveryStatus status{};
    bool operator==(WebhookDelivery const&) const = default;
};
BOOST_DESCRIBE_STRUCT(WebhookDelivery,
                      (),
                      (answerStatus, attempts, createdAt, endedAt, error, event, id, nextAttemptAt, status))

struct WebhookDeliveryList {
    std::vector<WebhookDelivery> data;
    std::optional<std::string> nextBefore;
    bool operator==(WebhookDeliveryList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(WebhookDeliveryList, (), (data, nextBefore))

} // namespace zelvo::records
