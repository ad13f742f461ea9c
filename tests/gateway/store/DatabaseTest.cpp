#include "ZelvoGateway/store/Database.h"

#include "ZelvoGateway/store/StoreError.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

class DatabaseTest : public testing::Test {
protected:
    DatabaseTest()
    {
        database.execute("CREATE TABLE names (name TEXT)");
        for (std::string_view const name : {"a", "b", "c"})
            database.prepare("INSERT INTO names VALUES (?)").bind(name).step();
    }

    TemporaryFolder folder;
    Database database{folder.path / "test.sqlite"};
};

TEST_F(DatabaseTest, runsTheSameStatementAgainFromItsBeginning)
{
    for (int round = 0; round < 3; ++round) {
        Statement rows = database.prepare("SELECT name FROM names ORDER BY name");
        ASSERT_TRUE(rows.step());
        EXPECT_EQ(rows.text(0), "a");
    }
}

TEST_F(DatabaseTest, forgetsWhatWasBoundToAStatement)
{
    constexpr std::string_view sql = "SELECT ? IS NULL";
    {
        Statement bound = database.prepare(sql);
        bound.bind(std::string_view("x"));
        ASSERT_TRUE(bound.step());
        EXPECT_EQ(bound.integer(0), 0);
    }
    Statement unbound = database.prepare(sql);
    ASSERT_TRUE(unbound.step());
    EXPECT_EQ(unbound.integer(0), 1);
}

TEST_F(DatabaseTest, runsTheSameStatementTwiceAtATime)
{
    constexpr std::string_view sql = "SELECT name FROM names ORDER BY name";
    Statement first = database.prepare(sql);
    ASSERT_TRUE(first.step());
    Statement second = database.prepare(sql);
    ASSERT_TRUE(second.step());
    ASSERT_TRUE(second.step());

    EXPECT_EQ(first.text(0), "a");
    EXPECT_EQ(second.text(0), "b");
}

TEST_F(DatabaseTest, givesUpTheLockOfAStatementThatWasNotReadToItsEnd)
{
    ASSERT_TRUE(database.prepare("SELECT name FROM names").step());
    Database other(folder.path / "test.sqlite");

    other.execute("DROP TABLE names");

    // A reader that has not ended still sees the table.
    EXPECT_THROW(database.prepare("SELECT name FROM names").step(), StoreError);
}

TEST_F(DatabaseTest, runsAStatementAfterItHasFailed)
{
    database.execute("CREATE TABLE rows (id INTEGER PRIMARY KEY)");
    auto insert = [this](std::int64_t id) {
        database.prepare("INSERT INTO rows VALUES (?)").bind(id).step();
    };
    insert(1);
    EXPECT_THROW(insert(1), StoreError);

    EXPECT_NO_THROW(insert(2));
}

} // namespace
} // namespace zelvo::service
