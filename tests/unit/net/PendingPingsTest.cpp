#include "platform/portable/net/PendingPings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PendingPingsTest : public testing::Test {
protected:
    void add(int number)
    {
        pings.add([this, number](bool ok) { told.push_back(ok ? number : -number); });
    }
    void tell(std::vector<PendingPings::OnPong> const& calls, bool ok)
    {
        for (auto const& call : calls)
            call(ok);
    }

    PendingPings pings;
    std::vector<int> told;
};

TEST_F(PendingPingsTest, numbersThePingsAndSendsEachOnce)
{
    add(1);
    add(2);

    EXPECT_EQ(pings.nextToSend(), "1");
    EXPECT_EQ(pings.nextToSend(), "2");
    EXPECT_EQ(pings.nextToSend(), std::nullopt);
    add(3);
    EXPECT_EQ(pings.nextToSend(), "3");
}

TEST_F(PendingPingsTest, answersTheEarlierPingsToo)
{
    add(1);
    add(2);
    add(3);
    while (pings.nextToSend()) {
    }

    tell(pings.answeredBy("2"), true);
    EXPECT_THAT(told, ElementsAre(1, 2));
    tell(pings.answeredBy("1"), true);
    tell(pings.answeredBy("2"), true);
    EXPECT_THAT(told, ElementsAre(1, 2));
    tell(pings.answeredBy("3"), true);
    EXPECT_THAT(told, ElementsAre(1, 2, 3));
}

TEST_F(PendingPingsTest, ignoresPongsThatAnswerNothing)
{
    add(1);
    EXPECT_THAT(pings.answeredBy("1"), IsEmpty()); // Not sent yet.
    pings.nextToSend();

    for (char const* const payload : {"", "0", "2", "x", "1x", "-1", " 1", "99999999999999999999999"})
        EXPECT_THAT(pings.answeredBy(payload), IsEmpty()) << payload;
    EXPECT_EQ(pings.answeredBy("1").size(), 1U);
}

TEST_F(PendingPingsTest, givesAllThatWaitOnce)
{
    add(1);
    pings.nextToSend();
    add(2);

    tell(pings.takeAll(), false);

    EXPECT_THAT(told, ElementsAre(-1, -2));
    EXPECT_THAT(pings.takeAll(), IsEmpty());
    EXPECT_EQ(pings.nextToSend(), std::nullopt);
    EXPECT_THAT(pings.answeredBy("1"), IsEmpty());
}

} // namespace

} // namespace zelvo
