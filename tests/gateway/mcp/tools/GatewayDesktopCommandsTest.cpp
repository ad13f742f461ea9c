#include "ZelvoGateway/mcp/tools/GatewayDesktopCommands.h"

#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/FakeConnectedMachine.h"
#include "gateway/support/FakeKeyRing.h"
#include "gateway/support/FakeMachineDirectory.h"
#include "gateway/support/FakeRecordingFiles.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/RunTask.h"

#include <gmock/gmock.h>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class GatewayDesktopCommandsTest : public testing::Test {
protected:
    GatewayDesktopCommandsTest()
    {
        add("con_1", "usr_1");
        add("con_2", "usr_2");
    }

    void add(std::string const& connection, std::string const& endUser)
    {
        std::string const machine = store.addMachine(AgentMode::connected, clock.date()).machineId;
        store.addConnection({.id = connection,
                             .machineId = machine,
                             .endUserId = endUser,
                             .scopes = {AgentScope::screen},
                             .platformName = "Acme",
                             .createdAt = "2026-11-21T00:00:00Z"});
        machines[connection] = machine;
    }
    std::shared_ptr<FakeConnectedMachine> connect(std::string const& connection)
    {
        auto machine = std::make_shared<FakeConnectedMachine>(machines.at(connection));
        directory.online[machines.at(connection)] = machine;
        return machine;
    }
    GatewayDesktopCommands commandsOf(Reach reach, std::string connection = "")
    {
        return {{commands, connections, directory},
                {.caller = {.keyId = "key_1", .reach = std::move(reach)},
                 .connection = std::move(connection),
                 .ref = "mcp-key_1"}};
    }
    std::vector<std::string> reached(Reach reach, std::string connection = "")
    {
        GatewayDesktopCommands commandsOfCaller = commandsOf(std::move(reach), std::move(connection));
        std::vector<std::string> all;
        for (ReachedMachine const& machine : commandsOfCaller.machines())
            all.push_back(machine.connection);
        return all;
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
    std::shared_ptr<FakeRecordingFiles> files = std::make_shared<FakeRecordingFiles>();
    ApiKey key = ApiKey::loadOrMake(DataFolder(folder.path / "data"));
    RecordingIntake intake{store, files, audit, settings, clock, io.get_executor()};
    FakeKeyRing keys;
    RecordingLibrary library{store, files, key, keys, audit, settings, clock, io.get_executor()};
    ConnectionService connections{store, directory, control,          queue, intake, library,
                                  audit, settings,  io.get_executor()};
    CommandService commands{store,    directory, control,          queue, keys, audit,
                            settings, clock,     io.get_executor()};
    std::map<std::string, std::string> machines; // by connection
};

TEST_F(GatewayDesktopCommandsTest, reachWhatTheKeyReaches)
{
    EXPECT_THAT(reached({.all = true}), UnorderedElementsAre("con_1", "con_2"));
    EXPECT_THAT(reached({.connections = {"con_2", "con_gone"}}), ElementsAre("con_2"));
    EXPECT_THAT(reached({.endUsers = {"usr_1"}}), ElementsAre("con_1"));
    EXPECT_THAT(reached({.connections = {"con_2"}, .endUsers = {"usr_1"}}),
                UnorderedElementsAre("con_1", "con_2"));
    EXPECT_THAT(reached({}), IsEmpty());
}

TEST_F(GatewayDesktopCommandsTest, reachOnlyTheConnectionOfTheirAddress)
{
    EXPECT_THAT(reached({.all = true}, "con_1"), ElementsAre("con_1"));
    EXPECT_THAT(reached({.connections = {"con_2"}}, "con_1"), IsEmpty());
    EXPECT_THAT(reached({.all = true}, "con_gone"), IsEmpty());
}

TEST_F(GatewayDesktopCommandsTest, reachNoRevokedConnection)
{
    store.revoke("con_1", clock.date());

    EXPECT_THAT(reached({.all = true}), ElementsAre("con_2"));
    EXPECT_THAT(reached({.connections = {"con_1"}}), IsEmpty());
    EXPECT_THAT(reached({.all = true}, "con_1"), IsEmpty());
}

TEST_F(GatewayDesktopCommandsTest, describeAMachine)
{
    records::Heartbeat heartbeat{.appVersion = "1.0.0", .computerName = "desk", .macosVersion = "12.0.0"};
    heartbeat.mode = AgentMode::connected;
    heartbeat.availability = Availability::screenLocked;
    heartbeat.display =
        records::DisplayInfo{.displayId = 1, .heightPoints = 900, .scaleFactor = 1, .widthPoints = 1600};
    store.saveHeartbeat(machines.at("con_1"), heartbeat, clock.date());
    auto const session = connect("con_1");
    GatewayDesktopCommands caller = commandsOf({.connections = {"con_1"}});

    ReachedMachine const machine = caller.machines().at(0);

    EXPECT_EQ(machine.name, "desk");
    EXPECT_TRUE(machine.isOnline);
    EXPECT_FALSE(machine.isUnattended);
    EXPECT_EQ(machine.availability, Availability::screenLocked);
    EXPECT_EQ(machine.display, (DisplaySize{.width = 1600, .height = 900}));
    EXPECT_THAT(machine.scopes, ElementsAre(AgentScope::screen));
    EXPECT_EQ(machine.session.lock(), session);
    directory.online.clear();
    EXPECT_EQ(caller.machines().at(0).session.lock(), nullptr);
}

TEST_F(GatewayDesktopCommandsTest, runCommandsForTheAgentOfTheKey)
{
    auto const machine = connect("con_1");
    GatewayDesktopCommands caller = commandsOf({.all = true});
    DesktopCommand command{.connection = "con_1", .method = "clipboard.set", .params = {{"text", "a"}}};
    command.client = "Tester";

    CommandResult const result = runTask(io, caller.run(std::move(command)));

    EXPECT_EQ(writeJson(result.value), R"({"ok":true})");
    EXPECT_EQ(writeJson(machine->calls.at(0).at("agent")), R"({"ref":"mcp-key_1","name":"Tester"})");
    EXPECT_EQ(machine->calls.at(0).at("params").at("text"), "a");
}

TEST_F(GatewayDesktopCommandsTest, passMachinesFailuresOn)
{
    GatewayDesktopCommands caller = commandsOf({.all = true});
    DesktopCommand command{.connection = "con_1", .method = "clipboard.get"};

    try {
        runTask(io, caller.run(std::move(command)));
        ADD_FAILURE();
    } catch (Failure const& failure) {
        EXPECT_EQ(failure.code, ErrorCode::machineOffline);
    }
}

} // namespace
} // namespace zelvo::service
