#include "ZelvoGateway/base/OpenWork.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(OpenWork, reportsItsEndOnceWhenTheLastPieceIsDone)
{
    OpenWork work;
    int ended = 0;
    OpenWork::Lease first = work.begin();
    OpenWork::Lease second = work.begin();

    work.close([&] { ++ended; });

    EXPECT_TRUE(work.isClosing());
    first.release();
    first.release();
    EXPECT_EQ(ended, 0);
    OpenWork::Lease moved = std::move(second);
    second = OpenWork::Lease();
    EXPECT_EQ(work.open(), 1u);
    moved.release();
    EXPECT_EQ(ended, 1);
    work.begin().release();
    EXPECT_EQ(ended, 1);
}

TEST(OpenWork, reportsItsEndAtOnceWhenNothingIsOpen)
{
    OpenWork work;
    work.begin().release();
    int ended = 0;

    work.close([&] { ++ended; });

    EXPECT_EQ(ended, 1);
}

TEST(OpenWork, forgetsWhomToReportToWhenItIsClosedAgain)
{
    OpenWork work;
    int ended = 0;
    OpenWork::Lease open = work.begin();
    work.close([&] { ++ended; });

    work.close([] {});
    open.release();

    EXPECT_EQ(ended, 0);
}

} // namespace
} // namespace zelvo::service
