#include "ZelvoGateway/control/Arbiter.h"

#include "base/DateText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using Outcome = Arbiter::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;

/// An arbiter, its clock, and what it has decided.
struct Desk {
    explicit Desk(ControlTimes const& given = {}, std::vector<PausedAgent> paused = {})
        : times(given), arbiter(times, std::move(paused))
    {
    }

    static Agent agent(std::string const& name)
    {
        return {.ref = "agt_" + name, .connectionId = "con_" + name, .name = name, .task = {}};
    }

    Arbiter::Ticket ask(std::string const& name) { return ask(name, times.patience); }
    Arbiter::Ticket ask(std::string const& name, Duration patience)
    {
        return arbiter.ask(agent(name), now.instant + patience, now);
    }
    void pass(Duration duration)
    {
        now.instant += duration;
        now.date += std::chrono::duration_cast<std::chrono::microseconds>(duration);
        arbiter.tick(now);
    }
    std::optional<Outcome> outcome(Arbiter::Ticket ticket)
    {
        for (auto const& one : arbiter.takeDecided())
            outcomes[one.ticket] = one.outcome;
        auto const found = outcomes.find(ticket);
        return found == outcomes.end() ? std::nullopt : std::optional(found->second);
    }
    std::string holder() const
    {
        auto const picture = arbiter.picture();
        return picture.holder ? picture.holder->name : "";
    }
    std::vector<std::string> names(std::vector<records::HolderClass> const& list) const
    {
        std::vector<std::string> all;
        for (auto const& one : list)
            all.push_back(one.name);
        return all;
    }
    std::vector<std::string> waiting() const { return names(arbiter.picture().waiting); }
    std::vector<std::string> paused() const { return names(arbiter.picture().paused); }

    ControlTimes times;
    Moment now{.instant = Instant(1h), .date = Date(std::chrono::sys_days(std::chrono::year(2026) / 1 / 2))};
    Arbiter arbiter;
    std::map<Arbiter::Ticket, Outcome> outcomes;
};

TEST(Arbiter, givesControlToWhoAsksFirst)
{
    Desk desk;

    auto const ann = desk.ask("ann");
    auto const bob = desk.ask("bob");
    auto const cy = desk.ask("cy");

    EXPECT_EQ(desk.outcome(ann), Outcome::granted);
    EXPECT_EQ(desk.outcome(bob), std::nullopt);
    EXPECT_EQ(desk.outcome(cy), std::nullopt);
    EXPECT_EQ(desk.holder(), "ann");
    EXPECT_THAT(desk.waiting(), ElementsAre("bob", "cy"));
}

TEST(Arbiter, grantsWhateverTheHolderSends)
{
    Desk desk;
    desk.ask("ann");
    desk.ask("bob");

    EXPECT_EQ(desk.outcome(desk.ask("ann")), Outcome::granted);
    EXPECT_EQ(desk.holder(), "ann");
}

TEST(Arbiter, passesControlOnWhenTheHolderHasBeenIdle)
{
    Desk desk;
    auto const ann = desk.ask("ann");
    auto const bob = desk.ask("bob", 10min);
    auto const cy = desk.ask("cy", 10min);
    desk.arbiter.finished(ann, desk.now);

    desk.pass(desk.times.idle - 1ns);
    EXPECT_EQ(desk.outcome(bob), std::nullopt);
    desk.pass(1ns);

    EXPECT_EQ(desk.outcome(bob), Outcome::granted);
    EXPECT_EQ(desk.outcome(cy), std::nullopt);
    EXPECT_EQ(desk.holder(), "bob");
    EXPECT_THAT(desk.waiting(), ElementsAre("cy"));
}

TEST(Arbiter, countsNoIdleTimeWhileACommandRuns)
{
    Desk desk;
    auto const ann = desk.ask("ann");
    auto const bob = desk.ask("bob", 3h);

    desk.pass(1h);
    EXPECT_EQ(desk.holder(), "ann");
    EXPECT_EQ(desk.outcome(bob), std::nullopt);

    desk.arbiter.finished(ann, desk.now);
    desk.pass(desk.times.idle);
    EXPECT_EQ(desk.outcome(bob), Outcome::granted);
}

TEST(Arbiter, showsNobodyOnceAnIdleHolderHasLetGo)
{
    Desk desk;
    desk.arbiter.finished(desk.ask("ann"), desk.now);
    ASSERT_EQ(desk.arbiter.nextDue(), desk.now.instant + desk.times.idle);

    desk.pass(desk.times.idle);

    EXPECT_EQ(desk.holder(), "");
    EXPECT_EQ(desk.arbiter.nextDue(), std::nullopt);
}

TEST(Arbiter, endsThePatienceOfACommandAndKeepsItsPlaceForAWhile)
{
    Desk desk;
    desk.ask("ann");
    auto const bob = desk.ask("bob");

    desk.pass(desk.times.patience);
    EXPECT_EQ(desk.outcome(bob), Outcome::busy);
    EXPECT_THAT(desk.waiting(), ElementsAre("bob"));

    desk.pass(desk.times.place);
    EXPECT_THAT(desk.waiting(), IsEmpty());
}

TEST(Arbiter, answersAtOnceWhenACommandMustNotWait)
{
    Desk desk;

    EXPECT_EQ(desk.outcome(desk.ask("ann", 0s)), Outcome::granted);
    EXPECT_EQ(desk.outcome(desk.ask("bob", 0s)), Outcome::busy);
    EXPECT_EQ(desk.outcome(desk.ask("ann", 0s)), Outcome::granted);
}

TEST(Arbiter, givesATurnToOneThatAsksAgainAndAgain)
{
    Desk desk;
    auto const ann = desk.ask("ann");
    desk.ask("bob", 0s);
    desk.ask("cy", 10min);
    desk.arbiter.finished(ann, desk.now);

    for (int i = 0; i < 3; ++i) {
        desk.pass(desk.times.idle / 3);
        desk.ask("bob", 0s);
    }

    EXPECT_EQ(desk.holder(), "bob");
}

TEST(Arbiter, takesATurnBackThatIsNotUsed)
{
    Desk desk;
    auto const ann = desk.ask("ann");
    desk.ask("bob", 0s);
    auto const cy = desk.ask("cy", 10min);
    desk.arbiter.finished(ann, desk.now);

    desk.pass(desk.times.idle - 1s);
    desk.ask("bob", 0s); // Still there, and keeps its place beyond its turn.
    desk.pass(1s);
    ASSERT_EQ(desk.holder(), "bob");
    desk.pass(desk.times.turn);

    EXPECT_EQ(desk.holder(), "cy");
    EXPECT_EQ(desk.outcome(cy), Outcome::granted);
}

TEST(Arbiter, passesControlOnWhenTheHolderIsPutAside)
{
    Desk desk;
    auto const ann = desk.ask("ann");
    auto const bob = desk.ask("bob");

    auto const paused = desk.arbiter.pause("agt_ann", desk.now);

    ASSERT_TRUE(paused);
    EXPECT_EQ(paused->agent.name, "ann");
    EXPECT_EQ(desk.outcome(bob), Outcome::granted);
    EXPECT_EQ(desk.holder(), "bob");
    EXPECT_THAT(desk.paused(), ElementsAre("ann"));
    desk.arbiter.finished(ann, desk.now); // What ran ends later, and changes nothing.
    EXPECT_EQ(desk.holder(), "bob");
    EXPECT_EQ(desk.outcome(desk.ask("ann")), Outcome::paused);
}

TEST(Arbiter, putsOneAsideThatHasJustLetGo)
{
    Desk desk;
    desk.arbiter.finished(desk.ask("ann"), desk.now);
    desk.pass(desk.times.idle);
    ASSERT_EQ(desk.holder(), "");

    ASSERT_TRUE(desk.arbiter.pause("agt_ann", desk.now));

    EXPECT_THAT(desk.paused(), ElementsAre("ann"));
    EXPECT_EQ(desk.outcome(desk.ask("ann")), Outcome::paused);
    EXPECT_FALSE(desk.arbiter.pause("agt_ann", desk.now)); // Once is enough.
    EXPECT_THAT(desk.paused(), ElementsAre("ann"));
}

TEST(Arbiter, remembersNoMoreThanALine)
{
    Desk desk({.maxLine = 2});
    for (std::string const name : {"ann", "bob", "ann", "cy"}) {
        desk.arbiter.finished(desk.ask(name), desk.now);
        desk.pass(desk.times.idle);
    }

    EXPECT_FALSE(desk.arbiter.pause("agt_bob", desk.now));
    EXPECT_TRUE(desk.arbiter.pause("agt_ann", desk.now));
    EXPECT_TRUE(desk.arbiter.pause("agt_cy", desk.now));
}

TEST(Arbiter, forgetsWhoHasLeftWithTheConnection)
{
    Desk desk;
    desk.arbiter.finished(desk.ask("ann"), desk.now);
    desk.pass(desk.times.idle);

    desk.arbiter.removeConnection("con_ann", desk.now);

    EXPECT_FALSE(desk.arbiter.pause("agt_ann", desk.now));
}

TEST(Arbiter, tellsTheCommandsOfOneInLineThatItWasPutAside)
{
    Desk desk;
    desk.ask("ann");
    auto const first = desk.ask("bob");
    auto const second = desk.ask("bob");

    desk.arbiter.pause("agt_bob", desk.now);

    EXPECT_EQ(desk.outcome(first), Outcome::paused);
    EXPECT_EQ(desk.outcome(second), Outcome::paused);
    EXPECT_THAT(desk.waiting(), IsEmpty());
}

TEST(Arbiter, letsOneThatWasPutAsideStandInLineAgain)
{
    Desk desk;
    desk.ask("ann");
    desk.arbiter.pause("agt_ann", desk.now);
    desk.ask("bob");

    EXPECT_TRUE(desk.arbiter.resume("agt_ann"));

    EXPECT_THAT(desk.paused(), IsEmpty());
    EXPECT_EQ(desk.holder(), "bob");
    desk.ask("ann");
    EXPECT_THAT(desk.waiting(), ElementsAre("ann"));
}

TEST(Arbiter, passesOverWhomItDoesNotKnow)
{
    Desk desk;
    desk.ask("ann");

    EXPECT_FALSE(desk.arbiter.pause("agt_nobody", desk.now));
    EXPECT_FALSE(desk.arbiter.resume("agt_nobody"));
    EXPECT_FALSE(desk.arbiter.resume("agt_ann"));
    desk.arbiter.finished(999, desk.now);

    EXPECT_EQ(desk.holder(), "ann");
}

TEST(Arbiter, removesTheAgentsOfAConnection)
{
    Desk desk;
    desk.ask("ann");
    desk.arbiter.pause("agt_ann", desk.now);
    desk.ask("bob");
    auto const cy = desk.ask("cy");
    auto const dan = desk.ask("dan");

    desk.arbiter.removeConnection("con_ann", desk.now);
    desk.arbiter.removeConnection("con_bob", desk.now);
    desk.arbiter.removeConnection("con_dan", desk.now);

    EXPECT_EQ(desk.outcome(dan), Outcome::gone);
    EXPECT_EQ(desk.outcome(cy), Outcome::granted);
    EXPECT_EQ(desk.holder(), "cy");
    EXPECT_THAT(desk.paused(), IsEmpty());
    EXPECT_THAT(desk.waiting(), IsEmpty());
}

TEST(Arbiter, forgetsAllButWhoWasPutAsideWhenTheMachineGoes)
{
    Desk desk;
    desk.ask("ann");
    desk.arbiter.pause("agt_ann", desk.now);
    desk.ask("bob");
    auto const cy = desk.ask("cy");

    desk.arbiter.machineGone();

    EXPECT_EQ(desk.outcome(cy), Outcome::gone);
    EXPECT_EQ(desk.holder(), "");
    EXPECT_THAT(desk.waiting(), IsEmpty());
    EXPECT_THAT(desk.paused(), ElementsAre("ann"));
}

TEST(Arbiter, boundsTheLine)
{
    Desk desk({.maxLine = 2});
    desk.ask("ann");
    desk.ask("bob");
    desk.ask("cy");

    EXPECT_EQ(desk.outcome(desk.ask("dan")), Outcome::busy);
    EXPECT_EQ(desk.outcome(desk.ask("cy")), std::nullopt); // It has its place.
    EXPECT_THAT(desk.waiting(), ElementsAre("bob", "cy"));
}

TEST(Arbiter, tellsSinceWhenWithAFraction)
{
    Desk desk;
    desk.ask("ann");
    desk.pass(1500ms);
    desk.ask("bob");
    desk.arbiter.pause("agt_ann", desk.now);

    auto const picture = desk.arbiter.picture();

    EXPECT_EQ(picture.holder->since, "2026-01-02T00:00:01.500Z");
    EXPECT_EQ(picture.holder->connectionId, "con_bob");
    EXPECT_EQ(picture.holder->ref, "agt_bob");
    EXPECT_EQ(dates::parseIso8601(picture.paused.at(0).since), desk.now.date);
}

TEST(Arbiter, takesOverAnAgentsNewTask)
{
    Desk desk;
    Agent agent = Desk::agent("ann");
    desk.arbiter.ask(agent, desk.now.instant, desk.now);
    agent.task = "Filling a form";

    desk.arbiter.ask(agent, desk.now.instant, desk.now);

    EXPECT_EQ(desk.arbiter.picture().holder->task, "Filling a form");
}

TEST(Arbiter, startsWithThoseThatWerePutAsideBefore)
{
    Desk desk({}, {{.agent = Desk::agent("ann"), .since = {}}});

    EXPECT_TRUE(desk.arbiter.isPaused("agt_ann"));
    EXPECT_EQ(desk.outcome(desk.ask("ann")), Outcome::paused);
}

TEST(Arbiter, givesEachConnectionsAgentsHandlesOfTheirOwn)
{
    EXPECT_EQ(agentRef("con_a", "r"), agentRef("con_a", "r"));
    EXPECT_NE(agentRef("con_a", "r"), agentRef("con_b", "r"));
    EXPECT_NE(agentRef("con_a", "r"), agentRef("con_a", "s"));
    EXPECT_TRUE(agentRef("con_a", "r").starts_with("agt_"));
}

} // namespace
} // namespace zelvo::service
