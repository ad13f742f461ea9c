#pragma once

#include "ZelvoGateway/base/Caller.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace zelvo::service {

/// What an entry of the log is about. It holds names and ids, never a content: no params, texts or addresses.
struct AuditEntry {
    std::string_view type; ///< "key.created"
    std::optional<std::string> connectionId = {};
    std::optional<std::string> machineId = {};
    std::optional<std::string> endUserId = {};
    json::object details = {};

    static AuditEntry of(StoredConnection const& connection, std::string_view type, json::object details = {})
    {
        return {.type = type,
                .connectionId = connection.id,
                .machineId = connection.machineId,
                .endUserId = connection.endUserId,
                .details = std::move(details)};
    }
};

/// Who did what, and when. Nobody waits for a disk: entries are collected and written together within a
/// second. A crash may lose what the last second added; everything older survives it, and power failures,
/// too. A command that is repeated is one entry a minute with a count. The store itself adds the entries of
/// machines that are paused, and of connections that a person removed at the machine. Thread: the server's.
class AuditLog {
public:
    static constexpr Duration writePeriod = 1s;
    static constexpr Duration countPeriod = 60s;      ///< in which equal commands are one entry
    static constexpr std::size_t maxWaiting = 10'000; ///< entries, if the store can't be written
    static constexpr std::size_t maxCounted = 1'000;  ///< commands that are counted at one time

    AuditLog(Store& store, Clock& clock, AuditRules const& rules, Executor server)
        : store(store), clock(clock), rules(rules), server(std::move(server))
    {
    }

    /// The caller did it: a platform, or the person who runs the gateway.
    void add(Caller const& caller, AuditEntry entry);
    /// Somebody else did it.
    void addFrom(records::Actor actor, AuditEntry entry);
    /// A command, by its method. Methods that are not known are not named.
    void addCommand(Caller const& caller, StoredConnection const& connection, std::string_view method);

    /// What the caller reaches, newest first. A caller that does not reach everything sees no other key's
    /// name.
    Page<StoredAuditEvent> list(Caller const& caller, PageQuery query);
    /// Writes what waits. What can't be written waits on.
    void flush();
    /// Once a minute: forgets what is too old or too much.
    void runMaintenance();
    std::size_t waitingCount() const { return waiting.size(); }
    /// Writes what waits, for the last time.
    void stop();

private:
    using Counted = std::tuple<std::string, std::string, std::string>; ///< key, connection, method
    struct Count {
        Instant began;
        std::int64_t count = 0;
        StoredAuditEvent event;
    };

    std::string newEventId(Date now);
    StoredAuditEvent eventOf(records::Actor actor, AuditEntry entry);
    std::optional<records::AuditEventAPIKey> keyOf(Caller const& caller);
    void makeRoomToCount();
    void enqueue(StoredAuditEvent event);
    Task<> writeSoon();

    Store& store;
    Clock& clock;
    AuditRules const& rules;
    Executor server;
    std::vector<StoredAuditEvent> waiting;
    Date::rep last = 0; ///< number in the newest id
    std::map<Counted, Count> counts;
    std::map<std::string, records::AuditEventAPIKey> names; // of keys, by id
    bool writes = false;
    TaskHandle writing;
};

} // namespace zelvo::service
