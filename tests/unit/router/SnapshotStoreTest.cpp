#include "router/SnapshotStore.h"

#include "fakes/ManualClock.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class SnapshotStoreTest : public testing::Test {
protected:
    ManualClock clock;
    SnapshotStore snapshots{clock};

    void store(std::string id, std::string connection = "con_1")
    {
        auto snapshot = std::make_shared<UiTreeSnapshot>();
        snapshot->snapshotId = std::move(id);
        snapshot->createdAt = clock.date();
        snapshots.store(std::move(connection), std::move(snapshot));
    }
};

TEST_F(SnapshotStoreTest, keepsTheFirstOfTwoUntilItsTimeIsOver)
{
    store("a");
    clock.advance(20s);
    store("b");
    EXPECT_TRUE(snapshots.find("con_1", "a"));
    EXPECT_TRUE(snapshots.find("con_1", "b"));
    clock.advance(10s);
    EXPECT_TRUE(snapshots.find("con_1", "a")); // 30 s old exactly.
    clock.advance(1ms);
    EXPECT_FALSE(snapshots.find("con_1", "a"));
    EXPECT_TRUE(snapshots.find("con_1", "b"));
}

TEST_F(SnapshotStoreTest, keepsWhatIsThirtySecondsOldExactly)
{
    store("a");
    clock.advance(30s);
    store("b");
    EXPECT_EQ(snapshots.size(), 2u);
}

TEST_F(SnapshotStoreTest, dropsWhatIsTooOldOnlyWithTheNextSnapshot)
{
    store("a");
    clock.advance(30s + 1ms);
    EXPECT_EQ(snapshots.size(), 1u);
    store("b");
    EXPECT_EQ(snapshots.size(), 1u);
}

TEST_F(SnapshotStoreTest, knowsNothingOfOtherIds)
{
    EXPECT_FALSE(snapshots.find("con_1", "snp_"));
}

TEST_F(SnapshotStoreTest, givesEachConnectionItsOwnOnly)
{
    store("a", "con_1");
    store("b", "con_2");
    EXPECT_TRUE(snapshots.find("con_1", "a"));
    EXPECT_FALSE(snapshots.find("con_1", "b"));
    EXPECT_FALSE(snapshots.find("con_2", "a"));
    EXPECT_FALSE(snapshots.find(std::nullopt, "a"));
}

} // namespace
} // namespace zelvo
