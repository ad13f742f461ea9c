#include "ZelvoGateway/api/WebhookApi.h"

#include "ZelvoGateway/api/Lists.h"
#include "base/DateText.h"
#include "wire/records/SystemCommands.h"

namespace zelvo::service {

namespace {

using records::DeliveryStatus;
using records::WebhookStatus;

std::optional<std::string> textOf(std::optional<Date> const& date)
{
    return date ? std::optional(dates::iso8601(*date)) : std::nullopt;
}

records::Webhook webhookRecord(StoredWebhook const& webhook)
{
    return {.createdAt = webhook.createdAt,
            .disabledAt = textOf(webhook.disabledAt),
            .events = webhook.events,
            .failingSince = textOf(webhook.failingSince),
            .id = webhook.id,
            .secret = {},
            .status = webhook.disabledAt ? WebhookStatus::disabled : WebhookStatus::active,
            .url = webhook.url};
}

records::WebhookDelivery deliveryRecord(StoredDelivery const& delivery)
{
    records::WebhookDelivery record{.answerStatus = delivery.answerStatus,
                                    .attempts = delivery.attempts,
                                    .createdAt = delivery.createdAt,
                                    .endedAt = textOf(delivery.endedAt),
                                    .error = delivery.error,
                                    .event = delivery.event,
                                    .id = delivery.id,
                                    .nextAttemptAt = {},
                                    .status = delivery.status};
    if (delivery.status == DeliveryStatus::waiting && delivery.attempts > 0)
        record.nextAttemptAt = dates::iso8601(delivery.due);
    return record;
}

/// The body of a new webhook: of all events of the record only those that are sent.
json::object newWebhookSchema(json::object& schemas)
{
    json::object const reference = schemaOf<records::CreateWebhookRequest>(schemas);
    json::array sent;
    for (records::WebhookEventType const type : WebhookService::sentEvents())
        sent.emplace_back(rawValue(type));
    schemas.at("CreateWebhookRequest").at("properties").at("events").at("items").as_object()["enum"] =
        std::move(sent);
    return reference;
}

} // namespace

std::vector<Route> WebhookApi::routes()
{
    std::size_t const body = limits.smallBody;
    auto const route = [&](std::string_view method, std::vector<std::string_view> pattern,
                           Endpoints::Method<WebhookApi> handler, Describe const& description) {
        auto const check = [this](HttpRequest const& head) {
            access.assertPlatform(head);
            if (!access.callerOf(head).reach.all)
                throw Failure{.code = ErrorCode::forbidden,
                              .message = "Webhooks need a key that reaches every connection"};
        };
        Route made =
            endpoints.route(method, std::move(pattern), body, check, Endpoints::bound(*this, handler));
        made.operation = description.done();
        return made;
    };
    std::vector<ErrorCode> const unknown{ErrorCode::notFound};
    json::object schemas;
    json::object const newWebhook = newWebhookSchema(schemas);
    return {route("POST", {"v1", "webhooks"}, &WebhookApi::handleAdd,
                  Describe("addWebhook", "Makes a webhook")
                      .takes(newWebhook, schemas)
                      .gives<records::Webhook>("The webhook; its secret is never shown again", 201)
                      .conflicts()),
            route("GET", {"v1", "webhooks"}, &WebhookApi::handleList,
                  Describe("listWebhooks", "Lists webhooks, newest first")
                      .listed()
                      .gives<records::WebhookList>("A page")),
            route("GET", {"v1", "webhooks", "*"}, &WebhookApi::handleWebhook,
                  Describe("getWebhook", "Shows a webhook without its secret")
                      .at({"webhookId"})
                      .gives<records::Webhook>("The webhook")
                      .fails(unknown)),
            route("DELETE", {"v1", "webhooks", "*"}, &WebhookApi::handleRemove,
                  Describe("removeWebhook", "Removes a webhook and everything that waits for it")
                      .at({"webhookId"})
                      .gives<records::Done>("Done")
                      .fails(unknown)),
            route("POST", {"v1", "webhooks", "*", "secret"}, &WebhookApi::handleRotate,
                  Describe("replaceWebhookSecret", "Replaces the secret; for a day both sign")
                      .at({"webhookId"})
                      .gives<records::WebhookSecret>("The new secret")
                      .fails(unknown)),
            route("POST", {"v1", "webhooks", "*", "enable"}, &WebhookApi::handleEnable,
                  Describe("enableWebhook", "Sends to a disabled webhook again")
                      .at({"webhookId"})
                      .gives<records::Webhook>("The webhook")
                      .fails(unknown)),
            route("GET", {"v1", "webhooks", "*", "deliveries"}, &WebhookApi::handleDeliveries,
                  Describe("listDeliveries", "Lists what was sent to a webhook, newest first")
                      .at({"webhookId"})
                      .listed()
                      .gives<records::WebhookDeliveryList>("A page")
                      .fails(unknown)),
            route("POST", {"v1", "webhooks", "*", "deliveries", "*", "send"}, &WebhookApi::handleSendAgain,
                  Describe("sendDeliveryAgain", "Sends the event of a delivery once more")
                      .at({"webhookId", "deliveryId"})
                      .gives<records::WebhookDelivery>("The delivery")
                      .fails(unknown)
                      .conflicts())};
}

Task<HttpResponse> WebhookApi::handleAdd(HttpRequest request, PathIds)
{
    StoredWebhook const made =
        webhooks.add(access.callerOf(request), recordIn<records::CreateWebhookRequest>(request.body));
    records::Webhook record = webhookRecord(made);
    record.secret = made.secret;
    co_return jsonResponse(201, records::toJson(std::move(record)));
}

Task<HttpResponse> WebhookApi::handleList(HttpRequest request, PathIds)
{
    co_return listResponse<records::WebhookList>(webhooks.webhooks(pageQueryIn(request)), webhookRecord);
}

Task<HttpResponse> WebhookApi::handleWebhook(HttpRequest, PathIds ids)
{
    co_return jsonResponse(200, records::toJson(webhookRecord(webhooks.webhook(ids.front()))));
}

Task<HttpResponse> WebhookApi::handleRemove(HttpRequest request, PathIds ids)
{
    webhooks.remove(access.callerOf(request), ids.front());
    co_return jsonResponse(200, records::toJson(records::Done()));
}

Task<HttpResponse> WebhookApi::handleRotate(HttpRequest request, PathIds ids)
{
    StoredWebhook const changed = webhooks.rotateSecret(access.callerOf(request), ids.front());
    records::WebhookSecret record{.oldSecretUntil = dates::iso8601(changed.oldUntil.value()),
                                  .secret = changed.secret};
    co_return jsonResponse(200, records::toJson(std::move(record)));
}

Task<HttpResponse> WebhookApi::handleEnable(HttpRequest request, PathIds ids)
{
    StoredWebhook const enabled = webhooks.enable(access.callerOf(request), ids.front());
    co_return jsonResponse(200, records::toJson(webhookRecord(enabled)));
}

Task<HttpResponse> WebhookApi::handleDeliveries(HttpRequest request, PathIds ids)
{
    auto const page = webhooks.deliveries(ids.front(), pageQueryIn(request));
    co_return listResponse<records::WebhookDeliveryList>(page, deliveryRecord);
}

Task<HttpResponse> WebhookApi::handleSendAgain(HttpRequest request, PathIds ids)
{
    StoredDelivery const sent = webhooks.sendAgain(access.callerOf(request), ids.front(), ids.back());
    co_return jsonResponse(200, records::toJson(deliveryRecord(sent)));
}

} // namespace zelvo::service
