#include "base/LocalizedTexts.h"
#include "unit/state/AgentStateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

std::string storedEntries(std::size_t count)
{
    std::vector<ActivityEntry> entries;
    for (std::size_t i = 0; i < count; ++i) {
        entries.push_back(said("Acme", std::to_string(i), ActivityKind::actions));
        entries.back().id = "8C5F0000-0000-4000-8000-000000000000";
    }
    return stored::encodeList(entries);
}

// Adding entries.

TEST_F(AgentStateTest, logsAnEntryWithEverythingThatWasSaid)
{
    platform.time.advance(5s);
    state.log({.platform = "Acme",
               .summary = "did it",
               .kind = ActivityKind::terminal,
               .connectionId = "con_1",
               .note = "note",
               .detail = "detail",
               .agentName = "Bot"});

    ActivityEntry expected = said("Acme", "did it", ActivityKind::terminal);
    expected.connectionId = "con_1";
    expected.note = "note";
    expected.detail = "detail";
    expected.agentName = "Bot";
    EXPECT_EQ(withoutStamp(newest()), expected);
    EXPECT_EQ(newest().at, platform.time.date());
    EXPECT_EQ(newest().id.size(), 36u);
}

TEST_F(AgentStateTest, leavesOutWhatWasNotSaid)
{
    state.log({.platform = "Acme", .summary = "did it"});

    ActivityEntry expected = said("Acme", "did it", {});
    expected.kind.reset();
    EXPECT_EQ(withoutStamp(newest()), expected);
}

TEST_F(AgentStateTest, putsTheNewestEntryFirstAndStoresTheWholeList)
{
    state.log({.platform = "Acme", .summary = "one"});
    state.log({.platform = "Acme", .summary = "two"});

    EXPECT_EQ(summaries(state), (std::vector<std::string>{"two", "one"}));
    EXPECT_NE(state.activity()[0].id, state.activity()[1].id);
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, pushesTheOldestOutWithEntryFiveHundredAndOne)
{
    for (int i = 1; i <= 501; ++i)
        state.log({.platform = "Acme", .summary = std::to_string(i)});

    EXPECT_EQ(state.activity().size(), 500u);
    EXPECT_EQ(state.activity().front().summary, "501");
    EXPECT_EQ(state.activity().back().summary, "2");
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, keepsALongerStoredListUntilTheNextEntryTrimsIt)
{
    content("zelvo.activity") = storedEntries(600);
    state.startObserving();
    EXPECT_EQ(state.activity().size(), 600u);

    state.log({.platform = "Acme", .summary = "new"});

    EXPECT_EQ(state.activity().size(), 500u);
    EXPECT_EQ(state.activity().back().summary, "498");
    EXPECT_EQ(storedActivity().size(), 500u);
}

// Screenshots.

TEST_F(AgentStateTest, logsALookAtItsOwnTime)
{
    Date const at = platform.time.date() - 30s;
    state.logLooked("Acme", "con_1", "Bot", at);

    ActivityEntry expected = said("Acme", localized("activity.looked"), ActivityKind::screen);
    expected.connectionId = "con_1";
    expected.agentName = "Bot";
    EXPECT_EQ(withoutStamp(newest()), expected);
    EXPECT_EQ(newest().at, at);
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, mergesThreeLooksWithinTheWindow)
{
    look("con_1", "Bot");
    std::string const id = newest().id;
    platform.time.advance(60s);
    look("con_1", "Bot");
    platform.time.advance(119s);
    look("con_1", "Bot");

    ASSERT_EQ(state.activity().size(), 1u);
    EXPECT_EQ(newest().count, 3);
    EXPECT_EQ(newest().at, platform.time.date());
    EXPECT_EQ(newest().id, id);
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, slidesTheWindowAlongHoweverOldTheFirstLookIs)
{
    for (int i = 0; i < 10; ++i) {
        look("con_1", {});
        platform.time.advance(119s);
    }

    ASSERT_EQ(state.activity().size(), 1u);
    EXPECT_EQ(newest().count, 10);
}

TEST_F(AgentStateTest, startsANewLineAfterExactlyTwoMinutes)
{
    look("con_1", {});
    platform.time.advance(119'999'999us);
    look("con_1", {});
    EXPECT_EQ(state.activity().size(), 1u);

    platform.time.advance(120s);
    look("con_1", {});

    ASSERT_EQ(state.activity().size(), 2u);
    EXPECT_FALSE(newest().count);
}

TEST_F(AgentStateTest, mergesALookThatComesLateByTheClock)
{
    look("con_1", {});
    Date const earlier = platform.time.date() - 1h;
    state.logLooked("Acme", "con_1", {}, earlier);

    ASSERT_EQ(state.activity().size(), 1u);
    EXPECT_EQ(newest().at, earlier);
}

TEST_F(AgentStateTest, mergesLooksWithoutConnectionAndAgent)
{
    look({}, {});
    look({}, {});

    EXPECT_EQ(newest().count, 2);
}

TEST_F(AgentStateTest, doesNotMergeLooksOfDifferentAgentsOrConnections)
{
    look("con_1", "Bot");
    look("con_1", "Other");
    look("con_1", {});
    look("con_2", {});
    look({}, {});
    look("con_1", "Bot");

    EXPECT_EQ(state.activity().size(), 6u);
    for (ActivityEntry const& entry : state.activity())
        EXPECT_FALSE(entry.count);
}

TEST_F(AgentStateTest, stopsMergingAtAnyOtherEntry)
{
    look("con_1", "Bot");
    state.log({.platform = "Acme",
               .summary = "clicked",
               .kind = ActivityKind::actions,
               .connectionId = "con_1",
               .agentName = "Bot"});
    look("con_1", "Bot");

    EXPECT_EQ(state.activity().size(), 3u);
}

TEST_F(AgentStateTest, doesNotMergeWithAnEntryWithoutAKind)
{
    state.log({.platform = "Acme", .summary = "old", .connectionId = "con_1"});
    look("con_1", {});

    EXPECT_EQ(state.activity().size(), 2u);
}

TEST_F(AgentStateTest, goesOnCountingAStoredLook)
{
    look("con_1", {});
    look("con_1", {});
    AgentState next(services());
    next.startObserving();

    next.logLooked("Acme", "con_1", {}, platform.time.date());

    EXPECT_EQ(next.activity().size(), 1u);
    EXPECT_EQ(next.activity().front().count, 3);
}

TEST_F(AgentStateTest, takesStoredLooksFarFromAnyDateAndCount)
{
    for (std::string const at : {"1e300", "-1e300", "3e11"}) {
        content("zelvo.activity") = R"([{"id":"8C5F0000-0000-4000-8000-000000000000","at":)" + at +
                                    R"(,"platformName":"Acme","summary":"s","kind":"screen",)"
                                    R"("count":9223372036854775807}])";
        AgentState next(services());
        next.startObserving();

        next.logLooked("Acme", {}, {}, platform.time.date());

        EXPECT_GE(next.activity().front().count.value_or(1), 1) << at;
    }
}

} // namespace
} // namespace zelvo
