#include "base/DelayedCall.h"

#include "fakes/ManualClock.h"

#include <gtest/gtest.h>

#include <optional>

namespace zelvo {
namespace {

class DelayedCallTest : public testing::Test {
protected:
    void in(Duration delay, int value)
    {
        call->in(delay, [this, value] { called = value; });
    }

    asio::io_context io;
    ManualClock clock{&io};
    std::optional<DelayedCall> call{std::in_place, io.get_executor(), clock};
    int called = 0;
};

TEST_F(DelayedCallTest, comesWhenTheTimeIsUp)
{
    in(10ms, 1);
    clock.advance(9ms);
    EXPECT_EQ(called, 0);
    clock.advance(1ms);
    EXPECT_EQ(called, 1);
}

TEST_F(DelayedCallTest, isReplacedByANewerOne)
{
    in(10ms, 1);
    clock.advance(9ms);
    in(10ms, 2);
    clock.advance(9ms);
    EXPECT_EQ(called, 0);
    clock.advance(1ms);
    EXPECT_EQ(called, 2);
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(DelayedCallTest, isReplacedEvenAtTheLastMoment)
{
    in(10ms, 1);
    clock.jump(10ms); // Its time is up, but it has not come yet.
    in(10ms, 2);
    clock.advance(1ms);
    EXPECT_EQ(called, 0);
}

TEST_F(DelayedCallTest, doesNotComeAfterACancellation)
{
    in(10ms, 1);
    call->cancel();
    clock.advance(1s);
    EXPECT_EQ(called, 0);
}

TEST_F(DelayedCallTest, doesNotComeAfterTheEndOfItsOwner)
{
    in(10ms, 1);
    call.reset();
    clock.advance(1s);
    EXPECT_EQ(called, 0);
}

TEST_F(DelayedCallTest, maySetTheNextOne)
{
    call->in(10ms, [this] {
        called = 1;
        in(10ms, 2);
    });
    clock.advance(10ms);
    EXPECT_EQ(called, 1);
    clock.advance(10ms);
    EXPECT_EQ(called, 2);
}

} // namespace
} // namespace zelvo
