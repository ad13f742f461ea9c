#include "ZelvoGateway/base/MemoryBudget.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(MemoryBudget, lendsNoMoreThanItHas)
{
    MemoryBudget budget(100);
    MemoryBudget::Lease first;
    MemoryBudget::Lease second;

    EXPECT_TRUE(budget.grow(first, 60));
    EXPECT_FALSE(budget.grow(second, 41));
    EXPECT_TRUE(budget.grow(second, 40));
    EXPECT_EQ(budget.available(), 0u);
}

TEST(MemoryBudget, takesBackWhatALeaseHeld)
{
    MemoryBudget budget(100);
    {
        MemoryBudget::Lease lease;
        EXPECT_TRUE(budget.grow(lease, 60));
        EXPECT_TRUE(budget.grow(lease, 90));
        EXPECT_TRUE(budget.grow(lease, 10));
        MemoryBudget::Lease moved = std::move(lease);
        EXPECT_EQ(budget.available(), 10u);
        moved = MemoryBudget::Lease();
        EXPECT_EQ(budget.available(), 100u);
    }
    EXPECT_EQ(budget.available(), 100u);
}

TEST(MemoryBudget, lendsACallerItsPartOnly)
{
    MemoryBudget budget(100, 60);
    MemoryBudget::Lease first;
    MemoryBudget::Lease again;
    MemoryBudget::Lease other;

    EXPECT_FALSE(budget.partOf("a").grow(first, 61));
    EXPECT_TRUE(budget.partOf("a").grow(first, 40));
    EXPECT_FALSE(budget.partOf("a").grow(again, 21));
    EXPECT_TRUE(budget.partOf("a").grow(again, 20));
    EXPECT_FALSE(budget.partOf("b").grow(other, 41)); // The whole has 40 left.
    EXPECT_TRUE(budget.partOf("b").grow(other, 40));
    again.release();
    first.release();
    other.release();

    EXPECT_EQ(budget.available(), 100u);
    EXPECT_TRUE(budget.partOf("a").grow(first, 60));
}

TEST(MemoryBudget, hasRestedOnceWhenAllIsBack)
{
    MemoryBudget budget(100, 60);
    EXPECT_FALSE(budget.hasRested());
    {
        MemoryBudget::Lease lease;
        budget.partOf("a").grow(lease, 10);
        EXPECT_FALSE(budget.hasRested());
    }
    EXPECT_TRUE(budget.hasRested());
    EXPECT_FALSE(budget.hasRested());
}

TEST(MemoryBudget, mayEndBeforeItsLeases)
{
    MemoryBudget::Lease lease;
    {
        MemoryBudget budget(100);
        EXPECT_TRUE(budget.grow(lease, 60));
    }
    lease.release();
    EXPECT_EQ(lease.size(), 0u);
}

} // namespace
} // namespace zelvo::service
