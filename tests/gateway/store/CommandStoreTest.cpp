#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using records::CommandStatus;
using testing::ElementsAre;
using testing::IsEmpty;

Date const someDay = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));

/// A store with a machine and two connections, "con_a" and "con_b".
struct Opened {
    Opened()
    {
        machineId = store->addMachine(AgentMode::connected, someDay).machineId;
        for (std::string const id : {"con_a", "con_b"})
            store->addConnection({.id = id, .machineId = machineId, .endUserId = "u", .createdAt = "t"});
    }

    void reopen()
    {
        store.reset();
        store = std::make_unique<SqliteStore>(folder.path / "store.sqlite");
    }
    void add(std::string const& id, std::string const& connection = "con_a", Duration life = 60s) const
    {
        store->addCommand({.id = id,
                           .connectionId = connection,
                           .method = "shell.run",
                           .summary = "Run: " + id,
                           .frame = R"({"n":")" + id + R"("})",
                           .expiresAt = at(life)});
    }
    static Date at(Duration later)
    {
        return someDay + std::chrono::duration_cast<std::chrono::microseconds>(later);
    }
    std::vector<std::string> waiting(Duration later = 0s) const
    {
        std::vector<std::string> ids;
        for (StoredCommand const& command : store->waitingCommands(machineId, at(later)))
            ids.push_back(command.id);
        return ids;
    }
    CommandStatus status(std::string const& id) const { return store->command(id).value().status; }

    TemporaryFolder folder;
    std::unique_ptr<SqliteStore> store = std::make_unique<SqliteStore>(folder.path / "store.sqlite");
    std::string machineId;
};

TEST(CommandStore, keepsCommandsInTheirOrderThroughARestart)
{
    Opened on;
    for (std::string const id : {"z", "a", "m"})
        on.add(id);

    on.reopen();

    EXPECT_THAT(on.waiting(), ElementsAre("z", "a", "m"));
    auto const command = on.store->command("a");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->frame, R"({"n":"a"})");
    EXPECT_EQ(command->summary, "Run: a");
    EXPECT_EQ(command->expiresAt, Opened::at(60s));
    EXPECT_EQ(command->status, CommandStatus::queued);
}

TEST(CommandStore, keepsWhatItHasTakenThroughACrash)
{
    Opened on;
    on.add("waits");
    on.add("runs");
    on.add("ended");
    on.store->startCommand("runs", someDay);
    on.store->endCommand("ended", CommandStatus::queued, {.status = CommandStatus::canceled}, someDay);

    // The state that a process leaves behind if it is killed now.
    TemporaryFolder left;
    for (std::string const name : {"store.sqlite", "store.sqlite-wal"})
        std::filesystem::copy_file(on.folder.path / name, left.path / name);
    SqliteStore found(left.path / "store.sqlite");

    EXPECT_EQ(found.command("waits").value().status, CommandStatus::queued);
    EXPECT_EQ(found.command("runs").value().status, CommandStatus::running);
    EXPECT_EQ(found.command("ended").value().status, CommandStatus::canceled);
    EXPECT_FALSE(found.startCommand("runs", someDay));
}

TEST(CommandStore, startsACommandOnceAndInTime)
{
    Opened on;
    on.add("a");
    on.add("late");

    EXPECT_TRUE(on.store->startCommand("a", Opened::at(59s)));
    EXPECT_FALSE(on.store->startCommand("a", Opened::at(59s)));
    EXPECT_FALSE(on.store->startCommand("late", Opened::at(60s)));
    EXPECT_FALSE(on.store->startCommand("none", someDay));

    EXPECT_THAT(on.waiting(), ElementsAre("late"));
}

TEST(CommandStore, neverSendsACommandAgainThatRanWhenTheGatewayStopped)
{
    Opened on;
    on.add("ran");
    on.add("waits");
    on.store->startCommand("ran", someDay);

    on.reopen();
    on.store->endInterruptedCommands(Opened::at(1s));

    EXPECT_THAT(on.waiting(), ElementsAre("waits"));
    EXPECT_EQ(on.status("ran"), CommandStatus::failed);
    auto const error = parseJson(on.store->command("ran")->error.value());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->at("code").as_string(), "internal_error");
}

TEST(CommandStore, putsBackWhatTheMachineDidNotStart)
{
    Opened on;
    on.add("a");
    on.add("b");
    on.store->startCommand("a", someDay);

    on.store->requeueCommand("a");

    EXPECT_THAT(on.waiting(), ElementsAre("a", "b"));
}

TEST(CommandStore, endsACommandOnlyFromTheStatusThatItHas)
{
    Opened on;
    on.add("a");

    EXPECT_FALSE(
        on.store->endCommand("a", CommandStatus::running, {.status = CommandStatus::completed}, someDay));
    EXPECT_TRUE(
        on.store->endCommand("a", CommandStatus::queued, {.status = CommandStatus::canceled}, someDay));
    EXPECT_FALSE(
        on.store->endCommand("a", CommandStatus::queued, {.status = CommandStatus::failed}, someDay));

    EXPECT_EQ(on.status("a"), CommandStatus::canceled);
    EXPECT_EQ(on.store->command("a")->frame, ""); // What it was about is nobody's business any more.
}

TEST(CommandStore, endsWhatHasWaitedTooLong)
{
    Opened on;
    on.add("short", "con_a", 10s);
    on.add("long", "con_a", 20s);

    on.store->expireCommands(Opened::at(10s));

    EXPECT_EQ(on.status("short"), CommandStatus::expired);
    EXPECT_EQ(on.status("long"), CommandStatus::queued);
    EXPECT_THAT(on.waiting(20s), IsEmpty()); // Also before anybody ends it.
}

TEST(CommandStore, countsWhatWaitsAndRuns)
{
    Opened on;
    on.add("a");
    on.add("b");
    on.add("c", "con_b");
    on.add("done");
    on.store->startCommand("b", someDay);
    on.store->endCommand("done", CommandStatus::queued, {.status = CommandStatus::canceled}, someDay);

    EXPECT_EQ(on.store->queueOfConnection("con_a").commands, 2u);
    EXPECT_EQ(on.store->queueOfConnection("con_a").bytes, 2 * std::string(R"({"n":"a"})").size());
    EXPECT_EQ(on.store->queueOfMachine(on.machineId).commands, 3u);
    EXPECT_EQ(on.store->queueOfMachine("none").commands, 0u);
}

TEST(CommandStore, forgetsWhatEndedLongAgo)
{
    Opened on;
    on.add("old");
    on.add("new");
    on.add("waits", "con_a", 100h);
    on.store->endCommand("old", CommandStatus::queued, {.status = CommandStatus::canceled}, someDay);
    on.store->endCommand("new", CommandStatus::queued, {.status = CommandStatus::canceled}, Opened::at(2s));

    on.store->forgetEndedCommands(Opened::at(1s));

    EXPECT_FALSE(on.store->command("old"));
    EXPECT_TRUE(on.store->command("new"));
    EXPECT_TRUE(on.store->command("waits"));
}

TEST(CommandStore, keepsTheNewestResults)
{
    Opened on;
    std::string const result = '"' + std::string(98, 'r') + '"';
    for (int i = 0; i < 6; ++i) {
        std::string const id = std::to_string(i);
        on.add(id);
        on.store->endCommand(id, CommandStatus::queued,
                             {.status = CommandStatus::completed, .result = result},
                             Opened::at(std::chrono::seconds(i)));
    }
    on.add("waits");
    on.add("other", "con_b");
    on.store->endCommand("other", CommandStatus::queued, {.status = CommandStatus::canceled}, someDay);

    on.store->trimEndedCommands("con_a", 4, 1000);
    EXPECT_FALSE(on.store->command("1"));
    EXPECT_TRUE(on.store->command("2"));
    on.store->trimEndedCommands("con_a", 4, 250);

    EXPECT_FALSE(on.store->command("3"));
    EXPECT_TRUE(on.store->command("4"));
    EXPECT_TRUE(on.store->command("5"));
    EXPECT_TRUE(on.store->command("waits"));
    EXPECT_TRUE(on.store->command("other"));
}

TEST(CommandStore, countsErrorsLikeResults)
{
    Opened on;
    for (int i = 0; i < 3; ++i) {
        std::string const id = std::to_string(i);
        on.add(id);
        on.store->endCommand(id, CommandStatus::queued,
                             {.status = CommandStatus::failed, .error = std::string(100, 'e')},
                             Opened::at(std::chrono::seconds(i)));
    }

    on.store->trimEndedCommands("con_a", 10, 250);

    EXPECT_FALSE(on.store->command("0"));
    EXPECT_TRUE(on.store->command("1"));
    EXPECT_TRUE(on.store->command("2"));
}

TEST(CommandStore, dropsTheCommandsOfAConnection)
{
    Opened on;
    on.add("a");
    on.add("b", "con_b");

    on.store->dropCommands("con_a");

    EXPECT_THAT(on.waiting(), ElementsAre("b"));
}

TEST(CommandStore, offersNothingOfARevokedConnection)
{
    Opened on;
    on.add("a");
    on.store->revoke("con_a", someDay);

    EXPECT_THAT(on.waiting(), IsEmpty());
}

TEST(CommandStore, forgetsTheCommandsAndAgentsOfARemovedMachine)
{
    Opened on;
    on.add("a");
    on.store->addPausedAgent(
        on.machineId,
        {.agent = {.ref = "r", .connectionId = "con_a", .name = "Ann", .task = {}}, .since = someDay});

    on.store->removeMachine(on.machineId);

    EXPECT_FALSE(on.store->command("a"));
    EXPECT_THAT(on.store->pausedAgents(on.machineId), IsEmpty());
}

TEST(CommandStore, keepsAgentsThatWerePutAsideThroughARestart)
{
    Opened on;
    for (std::string const id : {"con_a", "con_b"})
        on.store->addPausedAgent(
            on.machineId,
            {.agent = {.ref = "agt_" + id, .connectionId = id, .name = "Ann", .task = "Sorting"},
             .since = someDay});
    on.store->removePausedAgents("con_b");

    on.reopen();

    auto const paused = on.store->pausedAgents(on.machineId);
    ASSERT_EQ(paused.size(), 1u);
    EXPECT_EQ(paused[0].agent,
              (Agent{.ref = "agt_con_a", .connectionId = "con_a", .name = "Ann", .task = "Sorting"}));
    EXPECT_EQ(paused[0].since, someDay);
    on.store->removePausedAgent(on.machineId, "agt_con_a");
    EXPECT_THAT(on.store->pausedAgents(on.machineId), IsEmpty());
}

} // namespace
} // namespace zelvo::service
