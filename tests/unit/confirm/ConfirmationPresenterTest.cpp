#include "unit/confirm/ConfirmationPresenterFixture.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Decision = ConfirmationDecision;

TEST_F(ConfirmationPresenterTest, wordsAPanelFromItsSubject)
{
    ask(shell("rm -r /tmp/x"));

    PanelContents const wanted{.title = localized("confirm.title.shell"),
                               .detail = "Acme\n\nrm -r /tmp/x",
                               .allowTitle = localized("confirm.allow"),
                               .denyTitle = localized("confirm.deny"),
                               .showsRemember = true,
                               .isExact = true};
    EXPECT_EQ(panels.last().contents, wanted);
    ask(button("Send"));
    EXPECT_EQ(panels.last().contents.detail, "Acme\n\n«Send»");
    EXPECT_FALSE(panels.last().contents.isExact);
}

TEST_F(ConfirmationPresenterTest, givesFolderAndVariablesOfACommandTheirOwnPlaces)
{
    ConfirmationSubject const subject{ConfirmationSubject::ShellCommand{
        .command = "make", .cwd = "/tmp/x", .env = {{"A", "1\nPATH=/usr/bin"}, {"PATH", "/tmp/evil"}}}};
    ask(subject);

    PanelContents const& shown = panels.last().contents;
    EXPECT_EQ(shown.detail, "Acme\n\nmake");
    EXPECT_EQ(shown.warning, (PanelSection{localized("confirm.shell.riskyVariables"), {"PATH=/tmp/evil"}}));
    EXPECT_EQ(shown.additions,
              (std::vector<PanelSection>{{localized("confirm.shell.folder"), {"/tmp/x"}},
                                         {localized("confirm.shell.variables"), {"A=1\nPATH=/usr/bin"}}}));
}

TEST_F(ConfirmationPresenterTest, keepsAPlatformsNameFromPassingForTheCommand)
{
    std::string const rightToLeftOverride = {'\xE2', '\x80', '\xAE'};
    std::string const name = "Acme\n\nls" + rightToLeftOverride + std::string(200, 'x');
    start([this, name] { return presenter->ask(shell("rm -r /"), name, 1000); });

    EXPECT_EQ(panels.last().contents.detail, "Acmels" + std::string(74, 'x') + "…\n\nrm -r /");
}

TEST_F(ConfirmationPresenterTest, keepsAButtonsWordsInOneLine)
{
    ask(button("OK»\n\nChecked and harmless."));
    EXPECT_EQ(panels.last().contents.detail, "Acme\n\n«OK»Checked and harmless.»");
}

TEST_F(ConfirmationPresenterTest, showsAChoiceAsItIsWordedAndWithoutTheBox)
{
    choose();

    PanelContents const wanted{.title = "Run 3 commands?",
                               .detail = "They waited.",
                               .allowTitle = "Run",
                               .denyTitle = "Drop",
                               .showsRemember = false};
    EXPECT_EQ(panels.last().contents, wanted);
}

TEST_F(ConfirmationPresenterTest, returnsTheDecision)
{
    Answer const allowed = ask(shell("a"));
    allow(panels.last());
    Answer const denied = ask(shell("a"));
    deny(panels.last());
    Answer const ignored = ask(shell("a"));
    platform.time.advance(60s);

    EXPECT_EQ(allowed->decision, Decision::allowed(false));
    EXPECT_EQ(denied->decision, Decision::denied());
    EXPECT_EQ(ignored->decision, Decision::timedOut());
    EXPECT_FALSE(presenter->hasOpenQuestion());
    EXPECT_THAT(presenter->sessionAllowances(), IsEmpty());
}

TEST_F(ConfirmationPresenterTest, asksNoMoreAboutARememberedKindAndIgnoresTheTime)
{
    ask(shell("a"));
    allow(panels.last(), true);
    EXPECT_THAT(presenter->sessionAllowances(), ElementsAre("shell"));

    Answer const again = ask(shell("something else"), 0);

    EXPECT_EQ(again->decision, Decision::allowed(true));
    EXPECT_EQ(panels.made.size(), 1u);
    ask(button("Send"));
    EXPECT_EQ(panels.made.size(), 2u); // Another kind is another question.
}

TEST_F(ConfirmationPresenterTest, rememberingOnOneDoesNotAnswerAnotherOpenOne)
{
    Answer const first = ask(shell("a"));
    Answer const second = ask(shell("b"));

    allow(*panels.made[0], true);

    EXPECT_EQ(first->decision, Decision::allowed(true));
    EXPECT_FALSE(second->decision);
    EXPECT_TRUE(panels.made[1]->isShown);
}

TEST_F(ConfirmationPresenterTest, remembersNothingOfADenialOrWhenTheTimeRunsOut)
{
    ask(shell("a")); // A ticked box does not matter here: only allow() passes it on.
    deny(panels.last());
    ask(shell("a"));
    platform.time.advance(60s);
    ask(shell("a"));
    allow(panels.last(), false);

    EXPECT_THAT(presenter->sessionAllowances(), IsEmpty());
}

TEST_F(ConfirmationPresenterTest, forgetsAllowancesWhenReset)
{
    ask(shell("a"));
    allow(panels.last(), true);

    presenter->reset();

    EXPECT_FALSE(ask(shell("a"))->decision);
}

TEST_F(ConfirmationPresenterTest, closingDeniesAnActionAndLeavesAChoiceUnanswered)
{
    Answer const action = ask(shell("a"));
    panels.last().reports.close();
    Answer const choice = choose();
    panels.last().reports.close();
    platform.settle();

    EXPECT_EQ(action->decision, Decision::denied());
    EXPECT_EQ(choice->decision, Decision::timedOut());
}

TEST_F(ConfirmationPresenterTest, neitherRemembersNorLooksUpAChoice)
{
    Answer const choice = choose();
    allow(panels.last(), true); // A panel without the box never passes true; here it must be ignored.

    EXPECT_TRUE(choice->decision->isAllowed());
    EXPECT_THAT(presenter->sessionAllowances(), IsEmpty());
}

TEST_F(ConfirmationPresenterTest, lastPanelFrameIsThereWhileAnActionIsAsked)
{
    int changes = 0;
    presenter->lastPanelFrameChanged.connect([&] { ++changes; });
    EXPECT_FALSE(presenter->lastPanelFrame());

    ask(shell("a"));
    EXPECT_EQ(presenter->lastPanelFrame(), panels.last().frame);
    EXPECT_GE(changes, 1);

    deny(panels.last());
    EXPECT_FALSE(presenter->lastPanelFrame());
}

TEST_F(ConfirmationPresenterTest, lastPanelFrameEndsWithTheLaterOfTwoWhileTheEarlierIsOpen)
{
    ask(shell("a"));
    ask(shell("b"));

    deny(*panels.made[1]);

    EXPECT_FALSE(presenter->lastPanelFrame());
    EXPECT_TRUE(panels.made[0]->isShown);
}

TEST_F(ConfirmationPresenterTest, lastPanelFrameIsNotTouchedByAChoice)
{
    choose();
    EXPECT_FALSE(presenter->lastPanelFrame());
    deny(panels.last());

    ask(shell("a"));
    choose();
    panels.last().reports.allow(false);
    platform.settle();
    EXPECT_TRUE(presenter->lastPanelFrame());
}

TEST_F(ConfirmationPresenterTest, confirmPassesOnAYesAndThrowsTheRest)
{
    auto const none = confirmError(shell("a"), [&] { allow(panels.last()); });
    auto const denied = confirmError(shell("a"), [&] { deny(panels.last()); });
    auto const closed = confirmError(shell("a"), [&] { panels.last().reports.close(); });
    auto const late = confirmError(shell("a"), [&] { platform.time.advance(60s); });
    confirmError(shell("a"), [&] { allow(panels.last(), true); });
    auto const remembered = confirmError(shell("b"), [] {});

    EXPECT_FALSE(none);
    EXPECT_EQ(denied, AgentError::deniedByUser);
    EXPECT_EQ(closed, AgentError::deniedByUser);
    EXPECT_EQ(late, AgentError::confirmationTimeout);
    EXPECT_FALSE(remembered);
}

TEST_F(ConfirmationPresenterTest, anyNumberIsOpenAtOnceEachWithItsOwnTime)
{
    Answer const first = ask(shell("a"), 1000);
    Answer const second = choose(3000);
    Answer const third = ask(shell("c"), 2000);
    EXPECT_EQ(presenter->openWindows().size(), 3u);

    platform.time.advance(1s);
    EXPECT_EQ(first->decision, Decision::timedOut());
    EXPECT_FALSE(second->decision || third->decision);
    platform.time.advance(1s);
    EXPECT_EQ(third->decision, Decision::timedOut());
    platform.time.advance(1s);
    EXPECT_EQ(second->decision, Decision::timedOut());
    EXPECT_THAT(presenter->openWindows(), IsEmpty());
    EXPECT_FALSE(gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, takesTheQuestionOfACancelledCallerAway)
{
    Answer const answer = ask(shell("a"));

    answer->handle.cancel();
    platform.settle();

    EXPECT_TRUE(answer->wasCancelled);
    EXPECT_FALSE(answer->decision);
    EXPECT_TRUE(panels.last().wasTakenAway);
    EXPECT_FALSE(presenter->hasOpenQuestion());
    EXPECT_FALSE(presenter->lastPanelFrame());
    EXPECT_FALSE(gate.isClosed());
    panels.last().reports.allow(true); // Too late.
    platform.settle();
    EXPECT_THAT(presenter->sessionAllowances(), IsEmpty());
}

TEST_F(ConfirmationPresenterTest, takesTheQuestionOfACancelledConfirmAway)
{
    TaskHandle const handle =
        spawn(platform.contexts.workers, [this] { return presenter->confirm(shell("a"), "Acme", 60000); });
    platform.settle();
    EXPECT_TRUE(panels.last().isShown);

    TaskHandle(handle).cancel();
    platform.settle();

    EXPECT_FALSE(panels.last().isShown);
    EXPECT_FALSE(presenter->hasOpenQuestion());
    EXPECT_FALSE(gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, showsNothingWhenTheCallerIsCancelledWhileTheGateStillCloses)
{
    SlowGate slow(platform.contexts.workers);
    make(slow.gate);
    spawn(platform.contexts.agent, [&]() -> Task<> { std::ignore = co_await slow.gate.post(KeyEvent{}); });
    platform.settle();

    Answer const answer = ask(shell("a"));
    answer->handle.cancel();
    platform.settle();
    slow.letPass();
    platform.settle();

    EXPECT_TRUE(answer->wasCancelled);
    EXPECT_FALSE(panels.last().isShown || panels.last().wasTakenAway);
    EXPECT_TRUE(panels.last().isGone);
    EXPECT_FALSE(presenter->hasOpenQuestion());
    EXPECT_FALSE(slow.gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, resumesTheCallersWhenItGoes)
{
    Answer const action = ask(shell("a"));
    Answer const choice = choose();

    presenter.reset();
    platform.settle();

    EXPECT_EQ(action->decision, Decision::timedOut());
    EXPECT_EQ(choice->decision, Decision::timedOut());
    EXPECT_FALSE(panels.made[0]->isShown || panels.made[1]->isShown);
    EXPECT_FALSE(gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, resumesACallerWhosePanelIsStillLeavingWhenItGoes)
{
    panels.closesSlowly = true;
    Answer const answer = ask(shell("a"));
    allow(panels.last());
    EXPECT_FALSE(answer->decision);

    presenter.reset();
    platform.time.advance(2s);

    EXPECT_EQ(answer->decision, Decision::allowed(false));
    EXPECT_FALSE(gate.isClosed());
}

TEST_F(ConfirmationPresenterTest, reportsAPanelThatIsDecidedWhileItOpens)
{
    panels.onShow = [](FakePanelRecord& panel) { panel.reports.deny(); };
    Answer const answer = ask(shell("a"));

    EXPECT_EQ(answer->decision, Decision::denied());
    EXPECT_FALSE(presenter->lastPanelFrame());
    EXPECT_FALSE(presenter->hasOpenQuestion());
}

} // namespace
} // namespace zelvo
