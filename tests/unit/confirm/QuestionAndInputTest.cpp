// While a question is open no event is posted, and afterwards the keyboard is where it was.
#include "unit/confirm/ConfirmationPresenterFixture.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Decision = ConfirmationDecision;

TEST_F(ConfirmationPresenterTest, closesTheGateBeforeThePanelIsThereAndOpensItForTheCaller)
{
    bool closedAtShow = false;
    panels.onShow = [&](FakePanelRecord&) {
        closedAtShow = gate.isClosed() && platform.posting.drains == 1 && platform.posting.releases == 1;
    };

    Answer const answer = ask(shell("a"));
    EXPECT_TRUE(closedAtShow);
    EXPECT_TRUE(gate.isClosed());
    allow(panels.last());

    EXPECT_TRUE(answer->decision);
    EXPECT_FALSE(answer->gateWasClosed);
}

TEST_F(ConfirmationPresenterTest, countsAsOpenWhileTheGateStillCloses)
{
    SlowGate slow(platform.contexts.workers);
    make(slow.gate);
    spawn(platform.contexts.agent, [&]() -> Task<> { std::ignore = co_await slow.gate.post(KeyEvent{}); });
    platform.settle();

    Answer const answer = ask(shell("a"), 1000);
    EXPECT_TRUE(presenter->hasOpenQuestion());
    EXPECT_EQ(presenter->openWindows().size(), 1u);
    EXPECT_FALSE(panels.last().isShown); // An event is still in flight.
    platform.time.advance(10s);
    EXPECT_FALSE(answer->decision); // The timeout starts when the panel opens.

    slow.letPass();
    platform.settle();
    EXPECT_TRUE(panels.last().isShown);
    platform.time.advance(999ms);
    EXPECT_FALSE(answer->decision);
    platform.time.advance(1ms);
    EXPECT_EQ(answer->decision, Decision::timedOut());
}

TEST_F(ConfirmationPresenterTest, putsThePanelInFrontOnceItIsOnTheScreen)
{
    ask(shell("a"));
    EXPECT_THAT(focus.log, ElementsAre("front 1001 over 7"));
}

TEST_F(ConfirmationPresenterTest, resumesTheCallerOnlyWhenThePanelHasLeftTheScreen)
{
    panels.closesSlowly = true;
    Answer const answer = ask(shell("a"));

    allow(panels.last());
    platform.time.advance(500ms);
    EXPECT_FALSE(answer->decision);
    EXPECT_TRUE(gate.isClosed());
    EXPECT_TRUE(presenter->hasOpenQuestion());
    EXPECT_THAT(presenter->openWindows(), IsEmpty()); // It is decided.

    focus.close(1001);
    platform.time.advance(10ms);
    EXPECT_EQ(answer->decision, Decision::allowed(false));
    EXPECT_FALSE(answer->gateWasClosed);
    EXPECT_FALSE(presenter->hasOpenQuestion());
}

TEST_F(ConfirmationPresenterTest, opensTheGateAgainWhenAPanelCannotBeShown)
{
    panels.onShow = [](FakePanelRecord&) { throw std::runtime_error("no screen"); };
    std::string failure;
    spawn(platform.contexts.main, [&]() -> Task<> {
        try {
            co_await presenter->ask(shell("a"), "Acme", 60000);
        } catch (std::runtime_error const& error) {
            failure = error.what();
        }
    });
    platform.settle();

    EXPECT_EQ(failure, "no screen");
    EXPECT_FALSE(gate.isClosed());
    EXPECT_FALSE(presenter->hasOpenQuestion());
    EXPECT_FALSE(panels.last().isShown);
}

TEST_F(ConfirmationPresenterTest, waitsUntilTheKeyThatAnsweredIsUp)
{
    Answer const answer = ask(shell("a"));
    focus.keyIsDown = true;
    allow(panels.last());
    EXPECT_FALSE(answer->decision);
    EXPECT_TRUE(gate.isClosed());

    focus.keyIsDown = false;
    platform.time.advance(10ms);

    EXPECT_EQ(answer->decision, Decision::allowed(false));
    EXPECT_FALSE(gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, waitsForTheServerOneSecondAtMost)
{
    panels.closesSlowly = true;
    Answer const answer = ask(shell("a"));

    deny(panels.last());
    platform.time.advance(999ms);
    EXPECT_FALSE(answer->decision);
    platform.time.advance(11ms);

    EXPECT_EQ(answer->decision, Decision::denied());
    EXPECT_FALSE(gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, givesTheKeyboardBackToTheWindowThatHadIt)
{
    Answer const answer = ask(shell("a"));
    focus.open(5); // The person switched to another application in the meantime.
    focus.open(1001);

    allow(panels.last());

    EXPECT_TRUE(answer->decision);
    EXPECT_EQ(focus.activeWindow(), editor);
}

TEST_F(ConfirmationPresenterTest, waitsUntilTheKeyboardIsBack)
{
    Answer const answer = ask(shell("a"));
    focus.isDeaf = true;
    focus.open(5);
    focus.open(1001);

    allow(panels.last());
    platform.time.advance(500ms);
    EXPECT_FALSE(answer->decision);

    focus.open(editor);
    platform.time.advance(10ms);
    EXPECT_TRUE(answer->decision);
}

TEST_F(ConfirmationPresenterTest, acceptsAnyActiveWindowWhenThatWindowIsClosed)
{
    Answer const answer = ask(shell("a"));
    focus.close(editor);

    allow(panels.last());

    EXPECT_TRUE(answer->decision);
    EXPECT_EQ(focus.activeWindow(), 5u);
}

TEST_F(ConfirmationPresenterTest, leavesTheKeyboardWhereThePersonWentWhenNothingWasAllowed)
{
    Answer const answer = ask(shell("a"));
    focus.open(5);

    deny(panels.last());

    EXPECT_TRUE(answer->decision);
    EXPECT_EQ(focus.activeWindow(), 5u);
    EXPECT_THAT(focus.log, ElementsAre("front 1001 over 7"));
}

TEST_F(ConfirmationPresenterTest, twoQuestionsEndInAnyOrderAndTheGateOpensWithTheLast)
{
    for (std::size_t const firstToGo : {0, 1}) {
        panels.made.clear();
        Answer const one = ask(shell("a"));
        Answer const two = ask(shell("b"));

        allow(*panels.made[firstToGo]);
        EXPECT_NE(one->decision.has_value(), two->decision.has_value());
        EXPECT_TRUE(gate.isClosed());
        EXPECT_TRUE(presenter->hasOpenQuestion());
        EXPECT_EQ(focus.activeWindow(), panels.made[1 - firstToGo]->id); // It keeps the keyboard focus.

        allow(*panels.made[1 - firstToGo]);
        EXPECT_TRUE(one->decision && two->decision);
        EXPECT_FALSE(gate.isClosed());
        EXPECT_EQ(focus.activeWindow(), editor); // Not the closed panel.
    }
}

} // namespace
} // namespace zelvo
