#include "ZelvoGateway/audit/AuditLog.h"

#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using records::Actor;

class AuditLogTest : public testing::Test {
protected:
    ~AuditLogTest() override
    {
        audit.stop();
        io.poll();
        clock.dropSleepers();
    }

    void pass(Duration time)
    {
        io.restart();
        io.poll();
        clock.advance(time);
        io.restart();
        io.poll();
    }
    /// What is in the file, "type type", oldest first.
    std::string written()
    {
        std::string types;
        for (StoredAuditEvent const& event : store.auditEventPage({.limit = maxListed}).rows)
            types = event.type + (types.empty() ? "" : " ") + types;
        return types;
    }
    std::vector<StoredAuditEvent> listFor(Reach const& reach, std::string const& keyId = {})
    {
        return audit.list({.keyId = keyId, .reach = reach}, {.limit = maxListed}).rows;
    }

    TemporaryFolder folder;
    asio::io_context io;
    SteppedClock clock;
    AuditRules rules;
    SqliteStore store{folder.path / "store.sqlite"};
    AuditLog audit{store, clock, rules, io.get_executor()};
    StoredConnection adas{.id = "con_1", .machineId = "mch_1", .endUserId = "ada"};
    StoredConnection bobs{.id = "con_2", .machineId = "mch_2", .endUserId = "bob"};
    Caller acme{.keyId = "key_1", .name = "Acme", .reach = {.all = true}};
};

TEST_F(AuditLogTest, saysWhoDidWhatAndWhen)
{
    store.saveKey({.id = "key_1", .name = "Acme", .prefix = "zk_01234567", .hash = "h"});
    audit.add(acme, AuditEntry::of(adas, "connection.revoked", {{"a", 1}}));
    clock.advance(1ms);
    audit.add(Caller::console(), {.type = "console.login"});
    clock.advance(1ms);
    audit.addFrom(Actor::endUser, AuditEntry::of(bobs, "agent.paused"));

    auto const events = listFor({.all = true});

    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].actor, Actor::endUser);
    EXPECT_EQ(events[0].connectionId, "con_2");
    EXPECT_EQ(events[1].actor, Actor::admin);
    EXPECT_FALSE(events[1].key);
    EXPECT_FALSE(events[1].connectionId);
    EXPECT_EQ(events[2].actor, Actor::platform);
    EXPECT_EQ(events[2].type, "connection.revoked");
    EXPECT_EQ(events[2].createdAt, "2026-11-21T00:00:00.000Z");
    EXPECT_EQ(events[2].key, (records::AuditEventAPIKey{"key_1", "Acme", "zk_01234567"}));
    EXPECT_EQ(events[2].machineId, "mch_1");
    EXPECT_EQ(events[2].details, (json::object{{"a", 1}}));
}

TEST_F(AuditLogTest, writesTogetherWithinASecond)
{
    audit.add(acme, {.type = "a"});
    pass(500ms);
    audit.add(acme, {.type = "b"});
    EXPECT_EQ(written(), ""); // Nobody waited for the disk.

    pass(500ms);
    EXPECT_EQ(written(), "a b");

    audit.add(acme, {.type = "c"});
    pass(AuditLog::writePeriod);
    EXPECT_EQ(written(), "a b c");
    EXPECT_FALSE(clock.isSleptOn());
}

TEST_F(AuditLogTest, writesTheRestAtTheEnd)
{
    audit.add(acme, {.type = "a"});

    audit.stop();

    EXPECT_EQ(written(), "a");
}

TEST_F(AuditLogTest, ordersEventsOfTheSameMillisecond)
{
    for (char const* const type : {"a", "b", "c"}) {
        audit.add(acme, {.type = type});
    }

    EXPECT_EQ(written(), "");
    audit.flush();
    EXPECT_EQ(written(), "a b c");
}

TEST_F(AuditLogTest, countsEqualCommandsOfAMinute)
{
    for (int i = 0; i < 3; ++i)
        audit.addCommand(acme, adas, "screenshot");
    audit.addCommand(acme, adas, "shell.run");
    audit.addCommand(acme, bobs, "screenshot");
    audit.addCommand({.keyId = "key_2"}, adas, "screenshot");
    pass(59s);
    audit.addCommand(acme, adas, "screenshot"); // Written already, and counted on.
    audit.flush();

    auto events = listFor({.all = true});
    ASSERT_EQ(events.size(), 4u);
    auto const first = std::ranges::find_if(events, [](StoredAuditEvent const& event) {
        return event.details.at("method") == "screenshot" && event.connectionId == "con_1" &&
               event.key->id == "key_1";
    });
    ASSERT_NE(first, events.end());
    EXPECT_EQ(first->type, "command.sent");
    EXPECT_EQ(first->details, (json::object{{"method", "screenshot"}, {"count", 4}}));

    pass(1s);
    audit.addCommand(acme, adas, "screenshot");
    EXPECT_EQ(listFor({.all = true}).size(), 5u);
}

TEST_F(AuditLogTest, namesNoMethodThatIsNotKnown)
{
    audit.addCommand(acme, adas, "a secret in the wrong place");

    EXPECT_EQ(listFor({.all = true}).at(0).details.at("method"), "unknown");
}

TEST_F(AuditLogTest, showsACallerWhatItReaches)
{
    audit.add(acme, AuditEntry::of(adas, "a"));
    audit.add({.keyId = "key_2", .name = "Other"}, AuditEntry::of(adas, "b"));
    audit.add(acme, AuditEntry::of(bobs, "c"));
    audit.add(Caller::console(), {.type = "key.created"});
    audit.add(acme, {.type = "link.created", .endUserId = "ada"});

    EXPECT_EQ(listFor({.all = true}).size(), 5u);
    EXPECT_EQ(listFor({.connections = {"con_1"}}, "key_1").size(), 2u);
    EXPECT_EQ(listFor({.endUsers = {"ada"}}, "key_1").size(), 3u);
    EXPECT_EQ(listFor({}, "key_1").size(), 0u);
    for (StoredAuditEvent const& event : listFor({.connections = {"con_1"}}, "key_1"))
        EXPECT_EQ(event.key.has_value(), event.type == "a"); // Not which other keys there are.
}

TEST_F(AuditLogTest, isBoundedInAgeAndNumber)
{
    rules = {.kept = 24h, .maxEvents = 3};
    for (char const* const type : {"a", "b", "c", "d", "e"}) {
        audit.add(acme, {.type = type});
        clock.advance(6h);
    }

    audit.runMaintenance();
    EXPECT_EQ(written(), "c d e");

    clock.advance(13h);
    audit.runMaintenance();
    EXPECT_EQ(written(), "e");
}

TEST_F(AuditLogTest, noticesThatThePersonPausesAMachine)
{
    std::string const machine = store.addMachine(AgentMode::connected, clock.date()).machineId;
    store.addConnection({.id = "con_1", .machineId = machine, .endUserId = "ada", .createdAt = "t"});

    store.setPaused(machine, true, clock.date());
    store.setPaused(machine, true, clock.date() + 1s);
    store.setPaused(machine, false, clock.date() + 2s);

    EXPECT_EQ(written(), "machine.paused machine.resumed");
    auto const events = listFor({.endUsers = {"ada"}});
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].actor, Actor::endUser);
    EXPECT_EQ(events[1].machineId, machine);
    EXPECT_EQ(events[1].createdAt, "2026-11-21T00:00:00.000Z");
}

} // namespace
} // namespace zelvo::service
