#include "ZelvoGateway/store/SpacedTexts.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

Date const someDay = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));

struct Opened {
    TemporaryFolder folder;
    SqliteStore store{folder.path / "store.sqlite"};
};

TEST(Store, findsAMachineByItsTokenOnly)
{
    Opened on;
    MachineWithToken const made = on.store.addMachine(AgentMode::cloud, someDay);

    ASSERT_TRUE(on.store.machineOfToken(made.token));
    EXPECT_EQ(on.store.machineOfToken(made.token)->id, made.machineId);
    EXPECT_EQ(on.store.machineOfToken(made.token)->kind, AgentMode::cloud);
    EXPECT_FALSE(on.store.machineOfToken(""));
    EXPECT_FALSE(on.store.machineOfToken(made.machineId));
}

TEST(Store, replacesAToken)
{
    Opened on;
    MachineWithToken const made = on.store.addMachine(AgentMode::connected, someDay);

    std::string const next = on.store.replaceToken(made.machineId);

    EXPECT_FALSE(on.store.machineOfToken(made.token));
    EXPECT_TRUE(on.store.machineOfToken(next));
}

TEST(Store, finishesALinkSessionOnce)
{
    Opened on;
    MachineWithToken const made = on.store.addMachine(AgentMode::connected, someDay);
    StoredLinkSession const session =
        on.store.addLinkSession({.endUserId = "u", .expiresAt = someDay}, "code");
    StoredConnection connection{.id = "c1", .machineId = made.machineId, .endUserId = "u", .createdAt = "t"};

    EXPECT_TRUE(on.store.finishLinkSession(session.id, connection));
    connection.id = "c2";
    EXPECT_FALSE(on.store.finishLinkSession(session.id, connection));

    EXPECT_TRUE(on.store.connection("c1"));
    EXPECT_FALSE(on.store.connection("c2"));
}

TEST(Store, takesAConsoleCodeOnceAndInTime)
{
    Opened on;
    on.store.addConsoleCode("code", someDay + std::chrono::seconds(10));
    on.store.addConsoleCode("old", someDay);

    EXPECT_FALSE(on.store.takeConsoleCode("old", someDay));
    EXPECT_FALSE(on.store.takeConsoleCode("other", someDay));
    EXPECT_TRUE(on.store.takeConsoleCode("code", someDay));
    EXPECT_FALSE(on.store.takeConsoleCode("code", someDay));
}

TEST(Store, forgetsSessionsADayAfterTheirEnd)
{
    Opened on;
    on.store.addLinkSession({.endUserId = "u", .expiresAt = someDay}, "code");

    on.store.forgetExpired(someDay + std::chrono::hours(23));
    EXPECT_TRUE(on.store.linkSessionOfCode("code"));
    on.store.forgetExpired(someDay + std::chrono::hours(25));
    EXPECT_FALSE(on.store.linkSessionOfCode("code"));
}

TEST(Store, keepsTextsOfAnyKind)
{
    Opened on;
    MachineWithToken const made = on.store.addMachine(AgentMode::connected, someDay);
    std::string const user = "'; DROP TABLE machines; --\n\xf0\x9f\x91\x8d";

    on.store.addConnection(
        {.id = "c", .machineId = made.machineId, .endUserId = user, .platformName = user, .createdAt = "t"});

    EXPECT_EQ(on.store.connection("c")->endUserId, user);
    EXPECT_EQ(on.store.connection("c")->platformName, user);
}

TEST(Store, isSharedByProcesses)
{
    Opened on;
    SqliteStore other(on.folder.path / "store.sqlite");

    MachineWithToken const made = other.addMachine(AgentMode::cloud, someDay);

    EXPECT_TRUE(on.store.machineOfToken(made.token));
}

TEST(Store, reservesNumbersOnce)
{
    Opened on;
    std::uint64_t const first = on.store.reserveNumbers(1000);
    EXPECT_EQ(on.store.reserveNumbers(50), first + 1000);

    SqliteStore again(on.folder.path / "store.sqlite");

    EXPECT_EQ(again.reserveNumbers(1000), first + 1050);
    EXPECT_EQ(on.store.reserveNumbers(1), first + 2050);
}

TEST(Store, readsScopesAsItWritesThem)
{
    std::vector<AgentScope> const all(allScopes.begin(), allScopes.end());

    EXPECT_EQ(fromSpacedTexts<AgentScope>(spacedTexts(all)), all);
    EXPECT_EQ(spacedTexts(std::vector<AgentScope>()), "");
    EXPECT_TRUE(fromSpacedTexts<AgentScope>("").empty());
    EXPECT_EQ(fromSpacedTexts<AgentScope>("screen  vnc shell "),
              (std::vector{AgentScope::screen, AgentScope::shell}));
}

} // namespace
} // namespace zelvo::service
