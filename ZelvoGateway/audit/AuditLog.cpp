#include "ZelvoGateway/audit/AuditLog.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/KnownMethod.h"
#include "ZelvoGateway/base/Log.h"
#include "base/DateText.h"
#include "base/Identifiers.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace zelvo::service {

namespace {

using records::Actor;

Actor actorOf(Caller const& caller)
{
    return caller.isConsole() ? Actor::admin : Actor::platform;
}

} // namespace

/// Begins with the time in microseconds, so that ids are in the order of events that have the same
/// millisecond.
std::string AuditLog::newEventId(Date now)
{
    last = std::max(last + 1, now.time_since_epoch().count());
    std::array<char, 24> time{};
    std::snprintf(time.data(), time.size(), "aud_%016llx", static_cast<unsigned long long>(last));
    return time.data() + randomHex(4);
}

StoredAuditEvent AuditLog::eventOf(Actor actor, AuditEntry entry)
{
    Date const now = clock.date();
    return {.id = newEventId(now),
            .createdAt = dates::iso8601(now),
            .type = std::string(entry.type),
            .actor = actor,
            .connectionId = std::move(entry.connectionId),
            .machineId = std::move(entry.machineId),
            .endUserId = std::move(entry.endUserId),
            .details = std::move(entry.details)};
}

/// The key as people know it. A key that is unknown keeps its id.
std::optional<records::AuditEventAPIKey> AuditLog::keyOf(Caller const& caller)
{
    if (caller.isConsole())
        return std::nullopt;
    if (!names.contains(caller.keyId)) {
        names.clear();
        for (StoredKey const& key : store.keys())
            names[key.id] = {.id = key.id, .name = key.name, .apiKeyPrefix = key.prefix};
    }
    auto const found = names.find(caller.keyId);
    return found != names.end() ? found->second
                                : records::AuditEventAPIKey{.id = caller.keyId, .name = caller.name};
}

void AuditLog::add(Caller const& caller, AuditEntry entry)
{
    StoredAuditEvent event = eventOf(actorOf(caller), std::move(entry));
    event.key = keyOf(caller);
    enqueue(std::move(event));
}

void AuditLog::addFrom(Actor actor, AuditEntry entry)
{
    enqueue(eventOf(actor, std::move(entry)));
}

void AuditLog::addCommand(Caller const& caller, StoredConnection const& connection, std::string_view method)
{
    std::string const known(knownMethod(method));
    Counted const which{caller.keyId, connection.id, known};
    auto found = counts.find(which);
    if (found == counts.end() || clock.now() - found->second.began >= countPeriod) {
        makeRoomToCount();
        StoredAuditEvent event =
            eventOf(actorOf(caller), AuditEntry::of(connection, "command.sent", {{"method", known}}));
        event.key = keyOf(caller);
        found = counts.insert_or_assign(which, Count{.began = clock.now(), .event = std::move(event)}).first;
    }
    Count& count = found->second;
    ++count.count;
    count.event.details["count"] = count.count;
    enqueue(count.event);
}

void AuditLog::makeRoomToCount()
{
    if (counts.size() < maxCounted)
        return;
    std::erase_if(counts, [&](auto const& one) { return clock.now() - one.second.began >= countPeriod; });
    if (counts.size() >= maxCounted)
        counts.erase(std::ranges::min_element(counts, {}, [](auto const& one) { return one.second.began; }));
}

void AuditLog::enqueue(StoredAuditEvent event)
{
    auto const same = std::ranges::find(waiting, event.id, &StoredAuditEvent::id);
    if (same != waiting.end())
        *same = std::move(event);
    else if (waiting.size() < maxWaiting)
        waiting.push_back(std::move(event));
    if (!std::exchange(writes, true))
        writing = spawn(server, [this] { return writeSoon(); });
}

Task<> AuditLog::writeSoon()
{
    co_await clock.sleep(writePeriod);
    writes = false;
    flush();
}

void AuditLog::flush()
{
    if (waiting.empty())
        return;
    try {
        store.saveAuditEvents(waiting);
        waiting.clear();
    } catch (StoreError const& error) { // A full disk, for instance. The next entry or minute tries again.
        Log::error(std::string("audit events wait: ") + error.what());
    }
}

Page<StoredAuditEvent> AuditLog::list(Caller const& caller, PageQuery query)
{
    flush();
    query.reach = caller.reach;
    auto page = store.auditEventPage(query);
    if (!caller.reach.all)
        for (StoredAuditEvent& event : page.rows)
            if (event.key && event.key->id != caller.keyId)
                event.key.reset();
    return page;
}

void AuditLog::runMaintenance()
{
    flush();
    store.trimAuditEvents(clock.date() - dateSpan(rules.kept), rules.maxEvents);
}

void AuditLog::stop()
{
    writing.cancel();
    flush();
}

} // namespace zelvo::service
