#include "router/SnapshotStore.h"

#include "fakes/ManualClock.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class SnapshotStoreTest : public testing::Test {
protected:
    ManualClock clock;
    SnapshotStore snapshots{clock};

    void store(std::string id)
    {
        auto snapshot = std::make_shared<UiTreeSnapshot>();
        snapshot->snapshotId = std::move(id);
        snapshot->createdAt = clock.date();
        snapshots.store(std::move(snapshot));
    }
};

TEST_F(SnapshotStoreTest, keepsTheFirstOfTwoUntilItsTimeIsOver)
{
    store("a");
    clock.advance(20s);
    store("b");
    EXPECT_TRUE(snapshots.find("a"));
    EXPECT_TRUE(snapshots.find("b"));
    clock.advance(10s);
    EXPECT_TRUE(snapshots.find("a")); // 30 s old exactly.
    clock.advance(1ms);
    EXPECT_FALSE(snapshots.find("a"));
    EXPECT_TRUE(snapshots.find("b"));
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
    EXPECT_FALSE(snapshots.find("snp_"));
}

} // namespace
} // namespace zelvo
