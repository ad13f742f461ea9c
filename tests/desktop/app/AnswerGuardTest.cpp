#include "app/AnswerGuard.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

TEST(AnswerGuard, takesAKeyForAYesOnlyAfterAMomentOfQuiet)
{
    AnswerGuard guard;
    Instant const start{10s};
    guard.opened(start);
    EXPECT_FALSE(guard.keyMayAllow(start + 399ms, 1s, false));
    EXPECT_TRUE(guard.keyMayAllow(start + 400ms, 1s, false));
    EXPECT_FALSE(guard.keyMayAllow(start + 10s, 1s, true)); // It is held down.
    EXPECT_FALSE(guard.clickMayCount(start + 399ms));
    EXPECT_TRUE(guard.clickMayCount(start + 400ms));

    guard.keyPressed(start + 5s, 1s);
    EXPECT_FALSE(guard.keyMayAllow(start + 5300ms, 2s, false));
    EXPECT_FALSE(guard.keyMayAllow(start + 5400ms, 1399ms, false)); // The program was busy meanwhile.
    EXPECT_TRUE(guard.keyMayAllow(start + 5400ms, 1400ms, false));
    guard.activated(start + 8s);
    EXPECT_FALSE(guard.keyMayAllow(start + 8100ms, 4s, false));
}

TEST(AnswerGuard, takesAClickOnlyAMomentAfterTheWindowGotTheKeyboardAgain)
{
    AnswerGuard guard;
    Instant const start{10s};
    guard.opened(start);
    EXPECT_TRUE(guard.clickMayCount(start + 8s));

    guard.activated(start + 8s); // What was over it is gone.

    EXPECT_FALSE(guard.clickMayCount(start + 8399ms));
    EXPECT_TRUE(guard.clickMayCount(start + 8400ms));
    guard.changed(start + 9s);
    guard.activated(start + 9100ms);
    EXPECT_FALSE(guard.clickMayCount(start + 9999ms));
    EXPECT_TRUE(guard.clickMayCount(start + 10s));
}

TEST(AnswerGuard, takesTheClickOfADenialThatGivesTheWindowTheKeyboard)
{
    AnswerGuard guard;
    Instant const start{10s};
    guard.opened(start);
    EXPECT_FALSE(guard.clickMayDeny(start + 399ms));
    EXPECT_TRUE(guard.clickMayDeny(start + 400ms));

    guard.activated(start + 8s);
    EXPECT_TRUE(guard.clickMayDeny(start + 8s));
    guard.changed(start + 9s);
    EXPECT_FALSE(guard.clickMayDeny(start + 9999ms)); // It asks something else.
}

} // namespace
} // namespace zelvo::test
