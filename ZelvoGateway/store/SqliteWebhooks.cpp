#include "ZelvoGateway/base/KnownMethod.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/PageRows.h"
#include "ZelvoGateway/store/SpacedTexts.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "ZelvoGateway/store/WebhookSchema.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

using records::DeliveryStatus;
using records::WebhookEventType;

constexpr std::string_view webhookColumns = "SELECT id, url, events, secret, old_secret, old_until, "
                                            "created_at, failing_since, disabled_at FROM webhooks";
// Without a join: pages are ordered by columns that both tables have.
constexpr std::string_view deliveryColumns =
    "SELECT id, webhook_id, created_at, status, attempts, first_attempt, due, ended_at, answer_status, "
    "error, "
    "event_id, (SELECT type FROM webhook_events e WHERE e.id = event_id), "
    "(SELECT data FROM webhook_events e WHERE e.id = event_id), "
    "(SELECT created_at FROM webhook_events e WHERE e.id = event_id) FROM webhook_deliveries";

std::optional<Date> dateAt(Statement const& row, int column)
{
    auto const milliseconds = row.optionalInteger(column);
    return milliseconds ? std::optional(dateOfMilliseconds(*milliseconds)) : std::nullopt;
}

std::optional<std::int64_t> stored(std::optional<Date> const& date)
{
    return date ? std::optional(millisecondsOf(*date)) : std::nullopt;
}

StoredWebhook webhookOf(Statement const& row)
{
    return {.id = row.text(0),
            .url = row.text(1),
            .events = fromSpacedTexts<WebhookEventType>(row.text(2)),
            .secret = row.text(3),
            .oldSecret = row.optionalText(4),
            .oldUntil = dateAt(row, 5),
            .createdAt = row.text(6),
            .failingSince = dateAt(row, 7),
            .disabledAt = dateAt(row, 8)};
}

/// The data of an event, of which no part is a text of a caller's choice.
json::object dataIn(std::string const& text)
{
    json::object data = parseJson(text).value_or(json::object()).as_object();
    if (auto const method = read::text(data, "method"))
        data["method"] = knownMethod(*method);
    return data;
}

StoredDelivery deliveryOf(Statement const& row)
{
    StoredDelivery delivery{
        .id = row.text(0), .webhookId = row.text(1), .event = {}, .createdAt = row.text(2)};
    delivery.status = fromRawValue<DeliveryStatus>(row.text(3)).value_or(DeliveryStatus::failed);
    delivery.attempts = row.integer(4);
    delivery.firstAttempt = dateAt(row, 5);
    delivery.due = dateOfMilliseconds(row.integer(6));
    delivery.endedAt = dateAt(row, 7);
    delivery.answerStatus = row.optionalInteger(8);
    delivery.error = row.optionalText(9);
    delivery.event.id = row.text(10);
    delivery.event.type = fromRawValue<WebhookEventType>(row.text(11)).value_or(WebhookEventType{});
    delivery.event.data = dataIn(row.text(12));
    delivery.event.createdAt = row.text(13);
    return delivery;
}

} // namespace

void SqliteStore::addWebhookTables()
{
    database.execute(webhookSchema);
}

StoredWebhook SqliteStore::addWebhook(StoredWebhook webhook)
{
    webhook.id = newId("whk");
    database.prepare("INSERT INTO webhooks (id, url, events, secret, created_at) VALUES (?, ?, ?, ?, ?)")
        .bind(webhook.id)
        .bind(webhook.url)
        .bind(spacedTexts(webhook.events))
        .bind(webhook.secret)
        .bind(webhook.createdAt)
        .step();
    return webhook;
}

std::optional<StoredWebhook> SqliteStore::webhook(std::string const& id)
{
    return firstOf(std::move(database.prepare(std::string(webhookColumns) + " WHERE id = ?").bind(id)),
                   webhookOf);
}

std::vector<StoredWebhook> SqliteStore::webhooks()
{
    return allOf(database.prepare(std::string(webhookColumns) + " ORDER BY created_at, id"), webhookOf);
}

Page<StoredWebhook> SqliteStore::webhookPage(PageQuery const& query)
{
    return pageOf(database, webhookColumns, {}, query, webhookOf);
}

bool SqliteStore::removeWebhook(std::string const& id)
{
    database.prepare("DELETE FROM webhooks WHERE id = ?").bind(id).step();
    return database.changes() > 0;
}

void SqliteStore::saveWebhook(StoredWebhook const& webhook)
{
    database
        .prepare("UPDATE webhooks SET secret = ?, old_secret = ?, old_until = ?, failing_since = ?, "
                 "disabled_at = ? "
                 "WHERE id = ?")
        .bind(webhook.secret)
        .bind(webhook.oldSecret)
        .bind(stored(webhook.oldUntil))
        .bind(stored(webhook.failingSince))
        .bind(stored(webhook.disabledAt))
        .bind(webhook.id)
        .step();
}

std::vector<StoredDelivery>
SqliteStore::dueDeliveries(std::string const& webhookId, Date now, std::size_t limit)
{
    Statement rows = database.prepare(std::string(deliveryColumns) +
                                      " WHERE webhook_id = ? AND status = 'waiting' AND due <= ? "
                                      "ORDER BY due, sequence LIMIT ?");
    rows.bind(webhookId).bind(millisecondsOf(now)).bind(static_cast<std::int64_t>(limit));
    return allOf(std::move(rows), deliveryOf);
}

std::optional<Date> SqliteStore::nextDelivery(std::string const& webhookId, Date after)
{
    Statement row = database.prepare(
        "SELECT min(due) FROM webhook_deliveries WHERE webhook_id = ? AND status = 'waiting' AND due > ?");
    row.bind(webhookId).bind(millisecondsOf(after)).step();
    return dateAt(row, 0);
}

std::optional<StoredDelivery> SqliteStore::delivery(std::string const& id)
{
    return firstOf(std::move(database.prepare(std::string(deliveryColumns) + " WHERE id = ?").bind(id)),
                   deliveryOf);
}

Page<StoredDelivery> SqliteStore::deliveryPage(std::string const& webhookId, PageQuery const& query)
{
    return pageOf(database, deliveryColumns, {{"webhook_id", webhookId}}, query, deliveryOf);
}

void SqliteStore::saveDelivery(StoredDelivery const& delivery)
{
    database
        .prepare("UPDATE webhook_deliveries SET status = ?, attempts = ?, first_attempt = ?, due = ?, "
                 "ended_at = ?, answer_status = ?, error = ? WHERE id = ?")
        .bind(rawValue(delivery.status))
        .bind(delivery.attempts)
        .bind(stored(delivery.firstAttempt))
        .bind(millisecondsOf(delivery.due))
        .bind(stored(delivery.endedAt))
        .bind(delivery.answerStatus)
        .bind(delivery.error)
        .bind(delivery.id)
        .step();
}

void SqliteStore::failWaiting(std::string const& webhookId, std::string_view error, Date now)
{
    database
        .prepare(
            "UPDATE webhook_deliveries SET status = 'failed', error = ?, ended_at = ? WHERE webhook_id = ? "
            "AND status = 'waiting'")
        .bind(error)
        .bind(millisecondsOf(now))
        .bind(webhookId)
        .step();
}

void SqliteStore::trimDeliveries(
    std::string const& webhookId, std::size_t maxWaiting, std::size_t maxEnded, Date oldest, Date now)
{
    Transaction transaction(database);
    database
        .prepare(
            "UPDATE webhook_deliveries SET status = 'failed', error = 'Too many deliveries wait', "
            "ended_at = ? WHERE sequence IN (SELECT sequence FROM webhook_deliveries WHERE webhook_id = ? "
            "AND status = 'waiting' ORDER BY sequence DESC LIMIT -1 OFFSET ?)")
        .bind(millisecondsOf(now))
        .bind(webhookId)
        .bind(static_cast<std::int64_t>(maxWaiting))
        .step();
    database
        .prepare("DELETE FROM webhook_deliveries WHERE sequence IN (SELECT sequence FROM webhook_deliveries "
                 "WHERE webhook_id = ? AND status <> 'waiting' ORDER BY sequence DESC LIMIT -1 OFFSET ?)")
        .bind(webhookId)
        .bind(static_cast<std::int64_t>(maxEnded))
        .step();
    database
        .prepare(
            "DELETE FROM webhook_deliveries WHERE webhook_id = ? AND status <> 'waiting' AND ended_at < ?")
        .bind(webhookId)
        .bind(millisecondsOf(oldest))
        .step();
    transaction.commit();
}

void SqliteStore::forgetUnusedEvents()
{
    database.execute("DELETE FROM webhook_events WHERE id NOT IN (SELECT event_id FROM webhook_deliveries)");
}

void SqliteStore::setOnline(std::string const& machineId, bool online, Date now)
{
    Transaction transaction(database);
    database
        .prepare(online ? "INSERT OR IGNORE INTO online_machines SELECT id FROM machines WHERE id = ?"
                        : "DELETE FROM online_machines WHERE machine_id = ?")
        .bind(machineId)
        .step();
    if (database.changes() > 0)
        addEvent(online ? WebhookEventType::machineOnline : WebhookEventType::machineOffline,
                 {{"machineId", machineId}}, now);
    transaction.commit();
}

void SqliteStore::addEvent(WebhookEventType type, json::object const& data, Date now)
{
    database
        .prepare("INSERT INTO webhook_events SELECT ?, ?, ?, ? WHERE EXISTS (SELECT 1 FROM webhooks WHERE "
                 "disabled_at IS NULL)")
        .bind(newId("evt"))
        .bind(rawValue(type))
        .bind(writeJson(data))
        .bind(dates::iso8601(now))
        .step();
}

std::vector<std::string> SqliteStore::onlineMachines()
{
    return allOf(database.prepare("SELECT machine_id FROM online_machines"),
                 [](Statement const& row) { return row.text(0); });
}

void SqliteStore::onDelivery(std::function<void()> added)
{
    database.onInsert("webhook_deliveries", std::move(added));
}

} // namespace zelvo::service
