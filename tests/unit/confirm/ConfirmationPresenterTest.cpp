#include "confirm/ConfirmationPresenter.h"

#include "base/LocalizedTexts.h"
#include "fakes/ErrorOf.h"
#include "fakes/FakeConfirmationPanel.h"
#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Decision = ConfirmationDecision;

ConfirmationSubject shell(std::string command)
{
    return {ConfirmationSubject::ShellCommand{std::move(command)}};
}
ConfirmationSubject button(std::string title)
{
    return {ConfirmationSubject::SubmitButton{std::move(title)}};
}

/// A posting gate in which an event stays in flight until the test lets it pass.
class SlowGate final : public EventPosting {
public:
    explicit SlowGate(Executor workers)
        : gate(*this, std::move(workers), [] { return false; }, [] { return std::vector<DesktopRect>(); })
    {
    }

    void letPass()
    {
        event.notifyAll([this] { isMade = true; });
    }
    PostingGate gate;

    Task<> ready(PostedEvent) override { co_return; }
    Task<bool> post(PostedEvent) override
    {
        co_await event.wait([this] { return isMade; });
        co_return true;
    }
    Task<> beginText(std::string) override { co_return; }
    Task<> endText() override { co_return; }
    Task<> releaseAll() override { co_return; }
    Task<> drained() override { co_return; }
    Task<bool> delivered() override { co_return true; }
    DesktopPoint pointerLocation() override { return {}; }

private:
    AsyncCondition event;
    bool isMade = false; // event
};

constexpr std::uint32_t editor = 7; // The window that has the keyboard focus at first.

class ConfirmationPresenterTest : public testing::Test {
protected:
    ConfirmationPresenterTest()
    {
        focus.open(5);
        focus.open(editor);
        make(gate);
    }

    void make(PostingGate& used)
    {
        presenter = std::make_unique<ConfirmationPresenter>(
            ConfirmationPresenter::Services{.main = platform.contexts.main,
                                            .workers = platform.contexts.workers,
                                            .clock = platform.time,
                                            .gate = used,
                                            .focus = focus,
                                            .makePanel = panels.maker()});
    }

    // The state of a question that was started.
    struct Asked {
        std::optional<Decision> decision;
        bool wasCancelled = false;
        bool gateWasClosed = false; ///< when the caller resumed
        TaskHandle handle;
    };
    using Answer = std::shared_ptr<Asked>;

    Answer start(std::function<Task<Decision>()> question)
    {
        auto answer = std::make_shared<Asked>();
        answer->handle = spawn(platform.contexts.main, [this, question, answer]() -> Task<> {
            try {
                answer->decision = co_await question();
                answer->gateWasClosed = gate.isClosed();
            } catch (boost::system::system_error const&) {
                answer->wasCancelled = true;
            }
        });
        platform.settle();
        return answer;
    }
    Answer ask(ConfirmationSubject subject, std::int64_t timeoutMs = 60000)
    {
        return start([this, subject, timeoutMs] { return presenter->ask(subject, "Acme", timeoutMs); });
    }
    Answer choose(std::int64_t timeoutMs = 60000)
    {
        ConfirmationPresenter::Choice const choice{
            .title = "Run 3 commands?", .detail = "They waited.", .allowTitle = "Run", .denyTitle = "Drop"};
        return start([this, choice, timeoutMs] { return presenter->askChoice(choice, timeoutMs); });
    }
    void allow(FakePanelRecord& panel, bool remember = false)
    {
        panel.reports.allow(remember);
        platform.settle();
    }
    void deny(FakePanelRecord& panel)
    {
        panel.reports.deny();
        platform.settle();
    }
    std::optional<AgentError> confirmError(ConfirmationSubject subject, std::function<void()> act)
    {
        std::optional<AgentError> error;
        bool done = false;
        spawn(platform.contexts.workers, [&, subject]() -> Task<> {
            try {
                co_await presenter->confirm(subject, "Acme", 60000);
            } catch (AgentError thrown) {
                error = thrown;
            }
            done = true;
        });
        platform.settle();
        act();
        platform.settle();
        EXPECT_TRUE(done);
        return error;
    }

    FakePlatform platform;
    FakeWindowFocus& focus = platform.windowFocus;
    FakePanels panels{focus};
    PostingGate gate{platform.posting, platform.contexts.workers, [] { return false; },
                     [] { return std::vector<DesktopRect>(); }};
    std::unique_ptr<ConfirmationPresenter> presenter;
};

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
