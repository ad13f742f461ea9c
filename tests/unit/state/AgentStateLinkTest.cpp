#include "base/LocalizedTexts.h"
#include "unit/state/AgentStateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

ComputerAgents someAgents()
{
    ComputerAgents agents;
    agents.holder = ComputerAgent{"r", "Bot", {}, {}, {}};
    return agents;
}

TEST_F(AgentStateTest, assignsLiveAgentsOnlyWhenTheyDiffer)
{
    int changes = 0;
    boost::signals2::scoped_connection const watching = state.changed.connect([&] { ++changes; });

    state.setLiveAgents(someAgents());
    EXPECT_EQ(state.liveAgents(), someAgents());
    EXPECT_EQ(changes, 1);

    state.setLiveAgents(someAgents());
    EXPECT_EQ(changes, 1);
}

TEST_F(AgentStateTest, keepsNoLiveAgentsWithoutALink)
{
    for (Kind const kind : {Kind::notLinked, Kind::connecting, Kind::tokenRejected, Kind::updateRequired}) {
        enter(Kind::connected);
        state.setLiveAgents(someAgents());
        enter(kind);
        EXPECT_TRUE(state.liveAgents().isEmpty());
    }
    enter(Kind::connected);
    state.setLiveAgents(someAgents());
    retry("lost");
    EXPECT_TRUE(state.liveAgents().isEmpty());
}

TEST_F(AgentStateTest, keepsLiveAgentsWhenTheLinkComesUp)
{
    state.setLiveAgents(someAgents());

    enter(Kind::connected);

    EXPECT_EQ(state.liveAgents(), someAgents());
}

TEST_F(AgentStateTest, logsARejectedTokenAndARequiredUpdateFromEveryOtherState)
{
    for (auto const& [kind, key] : {std::pair(Kind::tokenRejected, "activity.tokenRejected"),
                                    std::pair(Kind::updateRequired, "activity.updateRequired")})
        for (Kind const from : {Kind::notLinked, Kind::connecting, Kind::connected, Kind::retrying}) {
            enter(from);
            std::size_t const before = state.activity().size();
            enter(kind);
            ASSERT_EQ(state.activity().size(), before + 1);
            EXPECT_EQ(withoutStamp(newest()),
                      said(localized("activity.server"), localized(key), ActivityKind::server));
        }

    enter(Kind::tokenRejected);
    EXPECT_EQ(newest().summary, localized("activity.tokenRejected"));
    enter(Kind::updateRequired);
    EXPECT_EQ(newest().summary, localized("activity.updateRequired"));
}

TEST_F(AgentStateTest, logsALossOfTheLinkWithItsReason)
{
    enter(Kind::connected);

    retry("the network is gone");

    ActivityEntry expected =
        said(localized("activity.server"), localized("activity.connectionLost"), ActivityKind::server);
    expected.note = "the network is gone";
    EXPECT_EQ(withoutStamp(newest()), expected);
}

TEST_F(AgentStateTest, logsTheLinkFromConnectingAndRetrying)
{
    enter(Kind::connecting);
    enter(Kind::connected);
    EXPECT_EQ(withoutStamp(newest()),
              said(localized("activity.server"), localized("activity.connected"), ActivityKind::server));
    EXPECT_EQ(state.activity().size(), 1u);

    enter(Kind::notLinked);
    retry("r");
    enter(Kind::connected);
    EXPECT_EQ(summaries(state), (std::vector<std::string>(2, localized("activity.connected"))));
}

TEST_F(AgentStateTest, logsNoFailedAttempt)
{
    enter(Kind::connecting);
    retry("one");
    enter(Kind::connecting);
    retry("two");

    EXPECT_TRUE(state.activity().empty());
}

TEST_F(AgentStateTest, logsNoLinkFromStatesThatItCannotComeFrom)
{
    enter(Kind::connected); // From notLinked.
    EXPECT_TRUE(state.activity().empty());

    for (Kind const from : {Kind::tokenRejected, Kind::updateRequired}) {
        enter(from);
        std::size_t const before = state.activity().size();
        enter(Kind::connected);
        EXPECT_EQ(state.activity().size(), before);
    }
}

TEST_F(AgentStateTest, logsNothingWhenTheLinkIsGivenUpOrBegun)
{
    enter(Kind::connecting);
    enter(Kind::notLinked);
    EXPECT_TRUE(state.activity().empty());

    enter(Kind::connected);
    enter(Kind::connecting);
    enter(Kind::notLinked);
    EXPECT_TRUE(state.activity().empty());
}

TEST_F(AgentStateTest, doesNothingForTheSameLinkState)
{
    retry("r");
    int changes = 0;
    boost::signals2::scoped_connection const watching = state.changed.connect([&] { ++changes; });

    retry("r");

    EXPECT_EQ(changes, 0);
}

TEST_F(AgentStateTest, assignsALaterAttemptAndLogsNothing)
{
    enter(Kind::connected);
    retry("r", 1s);
    std::size_t const before = state.activity().size();

    retry("r", 2s);

    EXPECT_EQ(state.gateway().nextAttempt, platform.time.date() + 2s);
    EXPECT_EQ(state.activity().size(), before);
}

} // namespace
} // namespace zelvo
