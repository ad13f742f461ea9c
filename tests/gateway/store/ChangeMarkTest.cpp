#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace zelvo::service {
namespace {

class ChangeMarkTest : public testing::Test {
protected:
    ChangeMarkTest() { database.execute("CREATE TABLE texts (text TEXT)"); }

    TemporaryFolder folder;
    std::filesystem::path const file = folder.path / "store.sqlite";
    Database database{file};
};

TEST_F(ChangeMarkTest, staysTheSameWhileNothingIsCommitted)
{
    ChangeMark const before = database.changeMark();

    EXPECT_EQ(database.changeMark(), before);
    database.prepare("SELECT text FROM texts").step();
    EXPECT_EQ(database.changeMark(), before);
    EXPECT_NE(before, ChangeMark());
}

TEST_F(ChangeMarkTest, differsAfterACommit)
{
    ChangeMark const before = database.changeMark();

    database.execute("INSERT INTO texts VALUES ('a')");

    EXPECT_NE(database.changeMark(), before);
}

TEST_F(ChangeMarkTest, differsAfterACommitOfAnother)
{
    Database other(file);
    ChangeMark const before = database.changeMark();

    other.execute("INSERT INTO texts VALUES ('a')");

    EXPECT_NE(database.changeMark(), before);
    EXPECT_EQ(database.changeMark(), other.changeMark());
}

TEST_F(ChangeMarkTest, differsAfterTheLogWasEmptiedAndWrittenAgain)
{
    Database other(file);
    std::vector<ChangeMark> marks{database.changeMark()};
    for (int i = 0; i < 5; ++i) {
        other.execute("INSERT INTO texts VALUES ('a'); PRAGMA wal_checkpoint(TRUNCATE);");
        EXPECT_EQ(std::ranges::find(marks, database.changeMark()), marks.end()) << i;
        marks.push_back(database.changeMark());
    }
}

TEST_F(ChangeMarkTest, isTheSameUntilATransactionEnds)
{
    ChangeMark const before = database.changeMark();
    {
        Transaction transaction(database);
        database.execute("INSERT INTO texts VALUES ('a')");
        EXPECT_TRUE(database.isInTransaction());
        EXPECT_EQ(database.changeMark(), before);
        transaction.commit();
    }
    EXPECT_FALSE(database.isInTransaction());
    EXPECT_NE(database.changeMark(), before);
}

TEST_F(ChangeMarkTest, isNeverTheSameIfItIsNotKnown)
{
    EXPECT_NE(ChangeMark::unknown(), ChangeMark::unknown());
    EXPECT_NE(ChangeMark::unknown(), ChangeMark());
}

/// Connections are kept in memory, but never longer than they are true.
class KnownConnections : public testing::Test {
protected:
    KnownConnections()
    {
        machineId = store.addMachine(AgentMode::connected, now).machineId;
        store.addConnection({.id = "con_1", .machineId = machineId, .endUserId = "ada", .createdAt = "t"});
        EXPECT_TRUE(store.connection("con_1"));
    }

    Date const now = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));
    TemporaryFolder folder;
    SqliteStore store{folder.path / "store.sqlite"};
    SqliteStore other{folder.path / "store.sqlite"};
    std::string machineId;
};

TEST_F(KnownConnections, areRevokedAtOnce)
{
    store.revoke("con_1", now);

    EXPECT_TRUE(store.connection("con_1")->revokedAt);
}

TEST_F(KnownConnections, areRevokedAtOnceByAnother)
{
    other.revoke("con_1", now);

    EXPECT_TRUE(store.connection("con_1")->revokedAt);
}

TEST_F(KnownConnections, goWithTheirMachine)
{
    other.removeMachine(machineId);

    EXPECT_FALSE(store.connection("con_1"));
}

TEST_F(KnownConnections, areFoundOnceTheyAreAdded)
{
    EXPECT_FALSE(store.connection("con_2"));

    other.addConnection({.id = "con_2", .machineId = machineId, .endUserId = "bob", .createdAt = "t"});

    EXPECT_TRUE(store.connection("con_2"));
}

} // namespace
} // namespace zelvo::service
