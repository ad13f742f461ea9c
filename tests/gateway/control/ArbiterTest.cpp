#include "ZelvoGateway/control/Arbiter.h"

#include "base/DateText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using Outcome = Arbiter::Outcome;
using testing::ElementsAre;
using testing::IsEmpty;

/// An arbiter, its clock, and its decisions so far.
struct Fixture {
    explicit Fixture(ControlTimes const& given = {}, std::vector<PausedAgent> paused = {})
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
        auto const snapshot = arbiter.snapshot();
        return snapshot.holder ? snapshot.holder->name : "";
    }
    std::vector<std::string> names(std::vector<records::HolderClass> const& list) const
    {
        std::vector<std::string> all;
        for (auto const& one : list)
            all.push_back(one.name);
        return all;
    }
    std::vector<std::string> waiting() const { return names(arbiter.snapshot().waiting); }
    std::vector<std::string> paused() const { return names(arbiter.snapshot().paused); }

    ControlTimes times;
    Moment now{.instant = Instant(1h), .date = Date(std::chrono::sys_days(std::chrono::year(2026) / 1 / 2))};
    Arbiter arbiter;
    std::map<Arbiter::Ticket, Outcome> outcomes;
};

TEST(Arbiter, givesControlToWhoAsksFirst)
{
    Fixture machine;

    auto const ann = machine.ask("ann");
    auto const bob = machine.ask("bob");
    auto const cy = machine.ask("cy");

    EXPECT_EQ(machine.outcome(ann), Outcome::granted);
    EXPECT_EQ(machine.outcome(bob), std::nullopt);
    EXPECT_EQ(machine.outcome(cy), std::nullopt);
    EXPECT_EQ(machine.holder(), "ann");
    EXPECT_THAT(machine.waiting(), ElementsAre("bob", "cy"));
}

TEST(Arbiter, grantsWhateverTheHolderSends)
{
    Fixture machine;
    machine.ask("ann");
    machine.ask("bob");

    EXPECT_EQ(machine.outcome(machine.ask("ann")), Outcome::granted);
    EXPECT_EQ(machine.holder(), "ann");
}

TEST(Arbiter, passesControlOnWhenTheHolderHasBeenIdle)
{
    Fixture machine;
    auto const ann = machine.ask("ann");
    auto const bob = machine.ask("bob", 10min);
    auto const cy = machine.ask("cy", 10min);
    machine.arbiter.finished(ann, machine.now);

    machine.pass(machine.times.idle - 1ns);
    EXPECT_EQ(machine.outcome(bob), std::nullopt);
    machine.pass(1ns);

    EXPECT_EQ(machine.outcome(bob), Outcome::granted);
    EXPECT_EQ(machine.outcome(cy), std::nullopt);
    EXPECT_EQ(machine.holder(), "bob");
    EXPECT_THAT(machine.waiting(), ElementsAre("cy"));
}

TEST(Arbiter, countsNoIdleTimeWhileACommandRuns)
{
    Fixture machine;
    auto const ann = machine.ask("ann");
    auto const bob = machine.ask("bob", 3h);

    machine.pass(1h);
    EXPECT_EQ(machine.holder(), "ann");
    EXPECT_EQ(machine.outcome(bob), std::nullopt);

    machine.arbiter.finished(ann, machine.now);
    machine.pass(machine.times.idle);
    EXPECT_EQ(machine.outcome(bob), Outcome::granted);
}

TEST(Arbiter, showsNobodyOnceAnIdleHolderHasLetGo)
{
    Fixture machine;
    machine.arbiter.finished(machine.ask("ann"), machine.now);
    ASSERT_EQ(machine.arbiter.nextDue(), machine.now.instant + machine.times.idle);

    machine.pass(machine.times.idle);

    EXPECT_EQ(machine.holder(), "");
    EXPECT_EQ(machine.arbiter.nextDue(), std::nullopt);
}

TEST(Arbiter, endsThePatienceOfACommandAndKeepsItsPlaceForAWhile)
{
    Fixture machine;
    machine.ask("ann");
    auto const bob = machine.ask("bob");

    machine.pass(machine.times.patience);
    EXPECT_EQ(machine.outcome(bob), Outcome::busy);
    EXPECT_THAT(machine.waiting(), ElementsAre("bob"));

    machine.pass(machine.times.place);
    EXPECT_THAT(machine.waiting(), IsEmpty());
}

TEST(Arbiter, takesARequestBack)
{
    Fixture machine;
    machine.ask("ann");
    auto const bob = machine.ask("bob");
    machine.ask("cy");
    auto const cysOther = machine.ask("cy");

    machine.arbiter.withdraw(bob, machine.now);
    machine.arbiter.withdraw(cysOther, machine.now);

    EXPECT_THAT(machine.waiting(), ElementsAre("cy"));
    EXPECT_EQ(machine.outcome(bob), std::nullopt);
    EXPECT_EQ(machine.outcome(cysOther), std::nullopt);
}

TEST(Arbiter, takesBackWhatItHasGranted)
{
    Fixture machine;
    auto const ann = machine.ask("ann");
    auto const bob = machine.ask("bob");
    machine.arbiter.withdraw(ann, machine.now);
    machine.pass(machine.times.idle);

    EXPECT_EQ(machine.outcome(bob), Outcome::granted);
    EXPECT_EQ(machine.holder(), "bob");
}

TEST(Arbiter, answersAtOnceWhenACommandMustNotWait)
{
    Fixture machine;

    EXPECT_EQ(machine.outcome(machine.ask("ann", 0s)), Outcome::granted);
    EXPECT_EQ(machine.outcome(machine.ask("bob", 0s)), Outcome::busy);
    EXPECT_EQ(machine.outcome(machine.ask("ann", 0s)), Outcome::granted);
}

TEST(Arbiter, givesATurnToOneThatAsksAgainAndAgain)
{
    Fixture machine;
    auto const ann = machine.ask("ann");
    machine.ask("bob", 0s);
    machine.ask("cy", 10min);
    machine.arbiter.finished(ann, machine.now);

    for (int i = 0; i < 3; ++i) {
        machine.pass(machine.times.idle / 3);
        machine.ask("bob", 0s);
    }

    EXPECT_EQ(machine.holder(), "bob");
}

TEST(Arbiter, takesATurnBackThatIsNotUsed)
{
    Fixture machine;
    auto const ann = machine.ask("ann");
    machine.ask("bob", 0s);
    auto const cy = machine.ask("cy", 10min);
    machine.arbiter.finished(ann, machine.now);

    machine.pass(machine.times.idle - 1s);
    machine.ask("bob", 0s); // Still there, and keeps its place beyond its turn.
    machine.pass(1s);
    ASSERT_EQ(machine.holder(), "bob");
    machine.pass(machine.times.turn);

    EXPECT_EQ(machine.holder(), "cy");
    EXPECT_EQ(machine.outcome(cy), Outcome::granted);
}

TEST(Arbiter, passesControlOnWhenTheHolderIsPutAside)
{
    Fixture machine;
    auto const ann = machine.ask("ann");
    auto const bob = machine.ask("bob");

    auto const paused = machine.arbiter.pause("agt_ann", machine.now);

    ASSERT_TRUE(paused);
    EXPECT_EQ(paused->agent.name, "ann");
    EXPECT_EQ(machine.outcome(bob), Outcome::granted);
    EXPECT_EQ(machine.holder(), "bob");
    EXPECT_THAT(machine.paused(), ElementsAre("ann"));
    machine.arbiter.finished(ann, machine.now); // What ran ends later, and changes nothing.
    EXPECT_EQ(machine.holder(), "bob");
    EXPECT_EQ(machine.outcome(machine.ask("ann")), Outcome::paused);
}

TEST(Arbiter, putsOneAsideThatHasJustLetGo)
{
    Fixture machine;
    machine.arbiter.finished(machine.ask("ann"), machine.now);
    machine.pass(machine.times.idle);
    ASSERT_EQ(machine.holder(), "");

    ASSERT_TRUE(machine.arbiter.pause("agt_ann", machine.now));

    EXPECT_THAT(machine.paused(), ElementsAre("ann"));
    EXPECT_EQ(machine.outcome(machine.ask("ann")), Outcome::paused);
    EXPECT_FALSE(machine.arbiter.pause("agt_ann", machine.now)); // Once is enough.
    EXPECT_THAT(machine.paused(), ElementsAre("ann"));
}

TEST(Arbiter, remembersNoMoreThanALine)
{
    Fixture machine({.maxLine = 2});
    for (std::string const name : {"ann", "bob", "ann", "cy"}) {
        machine.arbiter.finished(machine.ask(name), machine.now);
        machine.pass(machine.times.idle);
    }

    EXPECT_FALSE(machine.arbiter.pause("agt_bob", machine.now));
    EXPECT_TRUE(machine.arbiter.pause("agt_ann", machine.now));
    EXPECT_TRUE(machine.arbiter.pause("agt_cy", machine.now));
}

TEST(Arbiter, forgetsWhoHasLeftWithTheConnection)
{
    Fixture machine;
    machine.arbiter.finished(machine.ask("ann"), machine.now);
    machine.pass(machine.times.idle);

    machine.arbiter.removeConnection("con_ann", machine.now);

    EXPECT_FALSE(machine.arbiter.pause("agt_ann", machine.now));
}

TEST(Arbiter, tellsTheCommandsOfOneInLineThatItWasPutAside)
{
    Fixture machine;
    machine.ask("ann");
    auto const first = machine.ask("bob");
    auto const second = machine.ask("bob");

    machine.arbiter.pause("agt_bob", machine.now);

    EXPECT_EQ(machine.outcome(first), Outcome::paused);
    EXPECT_EQ(machine.outcome(second), Outcome::paused);
    EXPECT_THAT(machine.waiting(), IsEmpty());
}

TEST(Arbiter, letsOneThatWasPutAsideStandInLineAgain)
{
    Fixture machine;
    machine.ask("ann");
    machine.arbiter.pause("agt_ann", machine.now);
    machine.ask("bob");

    EXPECT_TRUE(machine.arbiter.resume("agt_ann"));

    EXPECT_THAT(machine.paused(), IsEmpty());
    EXPECT_EQ(machine.holder(), "bob");
    machine.ask("ann");
    EXPECT_THAT(machine.waiting(), ElementsAre("ann"));
}

TEST(Arbiter, passesOverWhomItDoesNotKnow)
{
    Fixture machine;
    machine.ask("ann");

    EXPECT_FALSE(machine.arbiter.pause("agt_nobody", machine.now));
    EXPECT_FALSE(machine.arbiter.resume("agt_nobody"));
    EXPECT_FALSE(machine.arbiter.resume("agt_ann"));
    machine.arbiter.finished(999, machine.now);

    EXPECT_EQ(machine.holder(), "ann");
}

TEST(Arbiter, removesTheAgentsOfAConnection)
{
    Fixture machine;
    machine.ask("ann");
    machine.arbiter.pause("agt_ann", machine.now);
    machine.ask("bob");
    auto const cy = machine.ask("cy");
    auto const dan = machine.ask("dan");

    machine.arbiter.removeConnection("con_ann", machine.now);
    machine.arbiter.removeConnection("con_bob", machine.now);
    machine.arbiter.removeConnection("con_dan", machine.now);

    EXPECT_EQ(machine.outcome(dan), Outcome::gone);
    EXPECT_EQ(machine.outcome(cy), Outcome::granted);
    EXPECT_EQ(machine.holder(), "cy");
    EXPECT_THAT(machine.paused(), IsEmpty());
    EXPECT_THAT(machine.waiting(), IsEmpty());
}

TEST(Arbiter, forgetsAllButWhoWasPutAsideWhenTheMachineGoes)
{
    Fixture machine;
    machine.ask("ann");
    machine.arbiter.pause("agt_ann", machine.now);
    machine.ask("bob");
    auto const cy = machine.ask("cy");

    machine.arbiter.machineGone();

    EXPECT_EQ(machine.outcome(cy), Outcome::gone);
    EXPECT_EQ(machine.holder(), "");
    EXPECT_THAT(machine.waiting(), IsEmpty());
    EXPECT_THAT(machine.paused(), ElementsAre("ann"));
}

TEST(Arbiter, boundsTheLine)
{
    Fixture machine({.maxLine = 2});
    machine.ask("ann");
    machine.ask("bob");
    machine.ask("cy");

    EXPECT_EQ(machine.outcome(machine.ask("dan")), Outcome::busy);
    EXPECT_EQ(machine.outcome(machine.ask("cy")), std::nullopt); // It has its place.
    EXPECT_THAT(machine.waiting(), ElementsAre("bob", "cy"));
}

TEST(Arbiter, tellsSinceWhenWithAFraction)
{
    Fixture machine;
    machine.ask("ann");
    machine.pass(1500ms);
    machine.ask("bob");
    machine.arbiter.pause("agt_ann", machine.now);

    auto const snapshot = machine.arbiter.snapshot();

    EXPECT_EQ(snapshot.holder->since, "2026-01-02T00:00:01.500Z");
    EXPECT_EQ(snapshot.holder->connectionId, "con_bob");
    EXPECT_EQ(snapshot.holder->ref, "agt_bob");
    EXPECT_EQ(dates::parseIso8601(snapshot.paused.at(0).since), machine.now.date);
}

TEST(Arbiter, takesOverAnAgentsNewTask)
{
    Fixture machine;
    Agent agent = Fixture::agent("ann");
    machine.arbiter.ask(agent, machine.now.instant, machine.now);
    agent.task = "Filling a form";

    machine.arbiter.ask(agent, machine.now.instant, machine.now);

    EXPECT_EQ(machine.arbiter.snapshot().holder->task, "Filling a form");
}

TEST(Arbiter, startsWithThoseThatWerePutAsideBefore)
{
    Fixture machine({}, {{.agent = Fixture::agent("ann"), .since = {}}});

    EXPECT_TRUE(machine.arbiter.isPaused("agt_ann"));
    EXPECT_EQ(machine.outcome(machine.ask("ann")), Outcome::paused);
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
