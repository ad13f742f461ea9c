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
