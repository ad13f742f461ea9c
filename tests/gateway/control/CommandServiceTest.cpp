#include "ZelvoGateway/control/CommandService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/FakeConnectedMachine.h"
#include "gateway/support/FakeKeyRing.h"
#include "gateway/support/FakeMachineDirectory.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/RunTask.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

/// The service without HTTP and without sockets.
struct Fixture {
    Fixture()
    {
        machineId = store.addMachine(AgentMode::connected, clock.date()).machineId;
        store.addConnection({.id = "con_1",
                             .machineId = machineId,
                             .scopes = {AgentScope::screen, AgentScope::input},
                             .platformName = "Acme",
                             .createdAt = "2026-11-21T00:00:00Z"});
    }

    std::shared_ptr<FakeConnectedMachine> connect()
    {
        auto machine = std::make_shared<FakeConnectedMachine>(machineId);
        directory.online[machineId] = machine;
        return machine;
    }
    CommandOutcome run(PlatformCommand const& command)
    {
        return runTask(io, commands.run(caller, "con_1", command, 100));
    }
    /// The failure of a command that must fail.
    Failure failureOf(PlatformCommand const& command)
    {
        try {
            run(command);
        } catch (Failure const& failure) {
            return failure;
        }
        ADD_FAILURE() << command.method << " did not fail";
        return {};
    }
    static PlatformCommand queueable(std::string const& method)
    {
        PlatformCommand command{.method = method};
        command.delivery.whenUnavailable = records::WhenUnavailable::queue;
        return command;
    }

    TemporaryFolder folder;
    asio::io_context io;
    SteppedClock clock;
    Settings settings;
    SqliteStore store{folder.path / "store.sqlite"};
    FakeMachineDirectory directory;
    asio::io_context background; // Never runs: a task must not wait for the log.
    AuditLog audit{store, clock, settings.audit, background.get_executor()};
    ControlService control{store, audit, clock, settings, io.get_executor()};
    OpenWork work;
    CommandQueue queue{store, control, audit, clock, settings, work, io.get_executor(), io.get_executor()};
    FakeKeyRing keys;
    CommandService commands{store,    directory, control,          queue, keys, audit,
                            settings, clock,     io.get_executor()};
    Caller caller{.keyId = "key_1", .name = "Acme", .reach = {.connections = {"con_1"}}};
    std::string machineId;
};

TEST(CommandService, returnsTheMachinesResult)
{
    Fixture on;
    auto const machine = on.connect();

    CommandOutcome const outcome =
        on.run({.method = "shell.run", .params = json::object{{"command", "make"}}});

    ASSERT_TRUE(std::holds_alternative<CommandResult>(outcome));
    EXPECT_EQ(writeJson(std::get<CommandResult>(outcome).value), R"({"ok":true})");
    ASSERT_EQ(machine->calls.size(), 1u);
    EXPECT_EQ(machine->calls[0].at("connectionId"), "con_1");
    EXPECT_EQ(machine->calls[0].at("params").at("command"), "make");
}

TEST(CommandService, throwsTheMachinesError)
{
    Fixture on;
    on.connect()->answer = [](json::object const&) {
        json::object const error{{"code", "denied_by_user"}, {"message", "No"}};
        return json::object{{"error", error}};
    };

    Failure const failure = on.failureOf({.method = "screenshot"});

    EXPECT_EQ(failure.code, ErrorCode::deniedByUser);
    EXPECT_EQ(failure.message, "No");
    EXPECT_FALSE(failure.requestId.empty());
}

TEST(CommandService, failsWithoutAMachineOrQueuesTheCommand)
{
    Fixture on;

    EXPECT_EQ(on.failureOf({.method = "screenshot"}).code, ErrorCode::machineOffline);
    CommandOutcome const outcome = on.run(Fixture::queueable("screenshot"));

    ASSERT_TRUE(std::holds_alternative<StoredCommand>(outcome));
    EXPECT_EQ(std::get<StoredCommand>(outcome).status, records::CommandStatus::queued);
    EXPECT_EQ(on.queue.state("con_1", std::get<StoredCommand>(outcome).id).method, "screenshot");
}

TEST(CommandService, queuesWhatTheMachineDidNotStart)
{
    Fixture on;
    on.connect()->answer = [](json::object const&) {
        json::object const error{{"code", "machine_paused"}, {"message", "Paused"}};
        return json::object{{"error", error}};
    };

    CommandOutcome const outcome = on.run(Fixture::queueable("screenshot"));

    EXPECT_TRUE(std::holds_alternative<StoredCommand>(outcome));
}

TEST(CommandService, namesNoUnknownMethodInTheLogOrInEvents)
{
    Fixture on;
    std::string const webhook = on.store
                                    .addWebhook({.url = "https://acme.example/",
                                                 .events = {records::WebhookEventType::commandExpired},
                                                 .createdAt = "2026-11-21T00:00:00Z"})
                                    .id;
    auto const queued = [&] { return std::get<StoredCommand>(on.run(Fixture::queueable("my secret"))).id; };

    on.commands.cancel(on.caller, "con_1", queued());
    queued();
    on.store.expireCommands(on.clock.date() + 8 * 24h);

    for (StoredAuditEvent const& event : on.audit.list({.reach = {.all = true}}, {.limit = maxListed}).rows)
        EXPECT_EQ(event.details.at("method"), "unknown") << event.type;
    auto const sent = on.store.dueDeliveries(webhook, on.clock.date() + 9 * 24h, 10);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].event.data.at("method"), "unknown");
}

TEST(CommandService, keepsTheGatewaysOwnMessagesFromPlatforms)
{
    Fixture on;
    auto const machine = on.connect();

    EXPECT_EQ(on.failureOf({.method = "connection.revoke"}).code, ErrorCode::forbidden);
    EXPECT_EQ(on.failureOf(Fixture::queueable("queue.offer")).code, ErrorCode::forbidden);
    EXPECT_TRUE(machine->calls.empty());
}

TEST(CommandService, knowsOnlyConnectionsThatAreNotRevoked)
{
    Fixture on;
    auto const machine = on.connect();
    on.store.revoke("con_1", on.clock.date());

    EXPECT_EQ(on.failureOf({.method = "screenshot"}).code, ErrorCode::notFound);
    EXPECT_THROW(on.commands.assertExists(on.caller, "con_1"), Failure);
    EXPECT_TRUE(machine->calls.empty());
}

PlatformCommand actionsOf(std::string const& agent)
{
    return {.method = "actions.perform", .agent = json::object{{"ref", agent}}};
}

/// Runs a command until it waits; cancelling is up to the test.
struct BegunCommand {
    BegunCommand(Fixture& on, PlatformCommand const& command)
    {
        auto onEnd = [this](std::exception_ptr thrown, CommandOutcome const&) {
            hasEnded = true;
            failure = thrown;
        };
        asio::co_spawn(on.io, on.commands.run(on.caller, "con_1", command, 100),
                       asio::bind_cancellation_slot(cancellation.slot(), onEnd));
        poll(on);
    }
    static void poll(Fixture& on)
    {
        on.io.restart();
        on.io.poll();
    }
    ErrorCode code() const
    {
        try {
            std::rethrow_exception(failure);
        } catch (Failure const& thrown) {
            return thrown.code;
        }
    }

    asio::cancellation_signal cancellation;
    std::exception_ptr failure;
    bool hasEnded = false;
};

TEST(CommandService, takesACancelledCommandOutOfTheLine)
{
    Fixture on;
    auto const machine = on.connect();
    BegunCommand const ann(on, actionsOf("ann"));
    BegunCommand bob(on, actionsOf("bob"));
    EXPECT_FALSE(bob.hasEnded);

    bob.cancellation.emit(asio::cancellation_type::terminal);
    BegunCommand::poll(on);
    EXPECT_TRUE(bob.hasEnded);
    on.clock.advance(on.settings.control.idle);
    BegunCommand::poll(on);
    BegunCommand const cy(on, actionsOf("cy"));

    EXPECT_TRUE(cy.hasEnded); // Nobody is in control for a command that will never come.
    EXPECT_EQ(cy.failure, nullptr);
    EXPECT_EQ(machine->calls.size(), 2u);
}

TEST(CommandService, waitsForControlAsLongAsACommandHasPatience)
{
    Fixture on;
    on.connect();
    BegunCommand const ann(on, actionsOf("ann"));
    PlatformCommand command = actionsOf("bob");
    command.patience = 10s;
    BegunCommand const bob(on, command);

    on.clock.advance(9s);
    BegunCommand::poll(on);
    EXPECT_FALSE(bob.hasEnded);
    on.clock.advance(1s);
    BegunCommand::poll(on);

    ASSERT_TRUE(bob.hasEnded);
    EXPECT_EQ(bob.code(), ErrorCode::machineBusy);
}

TEST(CommandService, tellsApartWhyACommandCannotBeCancelled)
{
    Fixture on;
    std::string const id = std::get<StoredCommand>(on.run(Fixture::queueable("screenshot"))).id;
    EXPECT_EQ(on.commands.cancel(on.caller, "con_1", id).status, records::CommandStatus::canceled);

    try {
        on.commands.cancel(on.caller, "con_1", id);
        ADD_FAILURE();
    } catch (Failure const& failure) {
        EXPECT_EQ(failure.kind, Failure::Kind::wrongState);
    }
}

TEST(CommandService, hidesConnectionsThatTheCallerDoesNotReach)
{
    Fixture on;
    auto const machine = on.connect();
    on.caller.reach = {.connections = {"con_2"}};

    Failure const failure = on.failureOf({.method = "screenshot"});
    EXPECT_EQ(failure.code, ErrorCode::notFound);
    EXPECT_EQ(failure.message, "There is no such connection");
    EXPECT_THROW(on.commands.assertExists(on.caller, "con_1"), Failure);
    EXPECT_TRUE(machine->calls.empty());
}

TEST(CommandService, sendsNothingForAKeyThatIsRevokedWhileItWaits)
{
    Fixture on;
    auto const machine = on.connect();
    ControlService::Lease const other =
        runTask(on.io, on.control.acquire(*on.store.connection("con_1"), "actions.perform",
                                          {.ref = "other", .connectionId = "con_1", .name = "Other"},
                                          on.clock.now()));
    PlatformCommand const command{.method = "actions.perform"};
    std::exception_ptr thrown;
    asio::co_spawn(on.io, on.commands.run(on.caller, "con_1", command, 100),
                   [&](std::exception_ptr const& failure, CommandOutcome const&) { thrown = failure; });
    on.io.restart();
    on.io.poll();
    ASSERT_FALSE(thrown); // It waits for its turn.

    on.keys.revoke("key_1");
    on.clock.advance(on.settings.control.patience);
    on.io.restart();
    on.io.poll();

    ASSERT_TRUE(thrown);
    try {
        std::rethrow_exception(thrown);
    } catch (Failure const& failure) {
        EXPECT_EQ(failure.code, ErrorCode::unauthorized);
    }
    EXPECT_TRUE(machine->calls.empty());
}

TEST(CommandService, endsTheWaitingCommandsOfARevokedKey)
{
    Fixture on;
    std::string const id = std::get<StoredCommand>(on.run(Fixture::queueable("screenshot"))).id;
    on.store.saveKey({.id = "key_1", .createdAt = on.clock.date()});

    on.store.revokeKey("key_1", on.clock.date());

    EXPECT_EQ(on.commands.state(on.caller, "con_1", id).status, records::CommandStatus::canceled);
}

} // namespace
} // namespace zelvo::service
