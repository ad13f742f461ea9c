#include "state/QueueCoordinator.h"

#include "base/LocalizedTexts.h"
#include "base/SleepQueue.h"
#include "unit/state/StateFixture.h"

#include <boost/asio/use_awaitable.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Decision = ConfirmationDecision;

class QueueCoordinatorTest : public StateFixture {
protected:
    struct Question {
        ConfirmationPresenter::Choice choice;
        std::int64_t timeoutMs = 0;
    };
    struct Sent {
        std::string connectionId;
        QueueDecision decision;
        bool operator==(Sent const&) const = default;
    };

    void SetUp() override
    {
        state.grant({.id = "c", .platformName = "Acme"});
        state.grant({.id = "d", .platformName = "Other"});
    }

    QueueOfferInbox inbox;
    std::vector<Question> questions;
    bool waits = false; // Questions stay open until answerOpen().
    SleepQueue answered;
    std::function<void()> onAsk = [] {};
    Decision answer = Decision::allowed(false);
    std::vector<Sent> sent;
    QueueCoordinator coordinator{parts()};

    QueueCoordinator::Services parts()
    {
        return {.main = platform.contexts.main,
                .clock = platform.time,
                .defaults = platform.settings,
                .notifications = platform.notices,
                .state = state,
                .inbox = inbox,
                .askChoice = [this](ConfirmationPresenter::Choice choice,
                                    std::int64_t timeoutMs) -> Task<Decision> {
                    questions.push_back({std::move(choice), timeoutMs});
                    onAsk();
                    if (waits)
                        co_await answered.wait(Instant::max(), asio::use_awaitable);
                    co_return answer;
                },
                .sendDecision =
                    [this](std::string id, QueueDecision decision) {
                        sent.push_back({std::move(id), std::move(decision)});
                    }};
    }

    static QueuedCommandsOffer offerOf(std::size_t count)
    {
        QueuedCommandsOffer offer{.connectionId = "c", .platformName = "Acme", .commands = {}};
        for (std::size_t i = 1; i <= count; ++i)
            offer.commands.push_back({std::to_string(i), "t", "do " + std::to_string(i), std::nullopt});
        return offer;
    }
    void receive(QueuedCommandsOffer offer)
    {
        coordinator.receive(std::move(offer));
        platform.settle();
    }
    static QueuedCommandsOffer offerBy(std::string connectionId, std::string platformName)
    {
        QueuedCommandsOffer offer = offerOf(1);
        offer.connectionId = std::move(connectionId);
        offer.platformName = std::move(platformName);
        return offer;
    }
    void answerOpen()
    {
        answered.wakeDue(Instant::max());
        platform.settle();
    }
    /// The timeout, in milliseconds, of a question about a command that expires `fromNow`.
    std::int64_t timeFor(std::chrono::microseconds fromNow)
    {
        QueuedCommandsOffer offer = offerOf(2);
        offer.commands[1].expiresAt = platform.time.date() + fromNow;
        receive(offer);
        return questions.back().timeoutMs;
    }
    ActivityEntry logged() const { return state.activity().front(); }
};

TEST_F(QueueCoordinatorTest, takesOffersOnTheMainThreadOnceStarted)
{
    inbox.deliver(offerOf(1));
    platform.settle();
    EXPECT_THAT(questions, IsEmpty());
    coordinator.start();
    inbox.deliver(offerOf(1));
    EXPECT_THAT(questions, IsEmpty());
    platform.settle();
    EXPECT_THAT(questions, SizeIs(1));
}

TEST_F(QueueCoordinatorTest, asksInWordsAndRunsAllAfterAYes)
{
    receive(offerOf(2));

    ASSERT_THAT(questions, SizeIs(1));
    EXPECT_EQ(questions[0].choice.title, "Acme: 2 commands waited for you");
    EXPECT_EQ(questions[0].choice.detail, "• do 1\n• do 2");
    EXPECT_EQ(questions[0].choice.allowTitle, "Run them");
    EXPECT_EQ(questions[0].choice.denyTitle, "Don't run them");
    EXPECT_THAT(sent, ElementsAre(Sent{"c", {.accepted = {"1", "2"}, .declined = {}}}));
    EXPECT_EQ(logged().summary, "Allowed 2 waiting commands to run");
    EXPECT_EQ(logged().kind, ActivityKind::queue);
    EXPECT_EQ(logged().connectionId, "c");
    EXPECT_EQ(logged().platformName, "Acme");
}

TEST_F(QueueCoordinatorTest, declinesAllAfterANo)
{
    answer = Decision::denied();
    receive(offerOf(1));
    EXPECT_THAT(sent, ElementsAre(Sent{"c", {.accepted = {}, .declined = {"1"}}}));
    EXPECT_EQ(logged().summary, "Declined 1 waiting command");
}

TEST_F(QueueCoordinatorTest, sendsNoDecisionWithoutAnAnswer)
{
    answer = Decision::timedOut();
    receive(offerOf(1));
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(logged().summary, localized("activity.queueUnanswered"));
    EXPECT_EQ(logged().kind, ActivityKind::queue);
}

TEST_F(QueueCoordinatorTest, nineCommandsShowEightLinesAndOneMore)
{
    receive(offerOf(9));
    std::string const& detail = questions.at(0).choice.detail;
    EXPECT_EQ(std::ranges::count(detail, '\n'), 8);
    EXPECT_TRUE(detail.ends_with("• do 8\nand 1 more")) << detail;
}

TEST_F(QueueCoordinatorTest, asksNoLongerThanTheFirstCommandLasts)
{
    EXPECT_EQ(timeFor(90s), 90'000);
    EXPECT_EQ(timeFor(-1h), 5'000);
    EXPECT_EQ(timeFor(2h), 600'000);
    EXPECT_EQ(timeFor(std::chrono::hours(24 * 365 * 7000)), 600'000); // The year 9000.
    EXPECT_EQ(timeFor(-std::chrono::hours(24 * 365 * 2000)), 5'000);
    receive(offerOf(3));
    EXPECT_EQ(questions.back().timeoutMs, 600'000);
}

TEST_F(QueueCoordinatorTest, notifiesInEveryPolicyWithADifferentBody)
{
    for (QueuePolicy const policy : {QueuePolicy::ask, QueuePolicy::automatic, QueuePolicy::never}) {
        coordinator.setPolicy(policy);
        receive(offerOf(1));
    }
    std::string const title = "Acme: 1 command waited for you";
    EXPECT_THAT(platform.notices.shown, ElementsAre(std::pair(title, localized("queue.notify.ask")),
                                                    std::pair(title, localized("queue.notify.auto")),
                                                    std::pair(title, localized("queue.notify.never"))));
}

TEST_F(QueueCoordinatorTest, decidesAtOnceWithoutAPanelWhenThePolicySaysSo)
{
    coordinator.setPolicy(QueuePolicy::automatic);
    coordinator.receive(offerOf(1));
    EXPECT_THAT(sent, ElementsAre(Sent{"c", {.accepted = {"1"}, .declined = {}}}));
    coordinator.setPolicy(QueuePolicy::never);
    coordinator.receive(offerOf(1));
    EXPECT_EQ(sent.back(), (Sent{"c", {.accepted = {}, .declined = {"1"}}}));
    EXPECT_THAT(questions, IsEmpty());
}

TEST_F(QueueCoordinatorTest, aNewPolicyDoesNotAffectAnOpenPanel)
{
    onAsk = [&] { coordinator.setPolicy(QueuePolicy::never); };
    receive(offerOf(1));
    EXPECT_THAT(sent, ElementsAre(Sent{"c", {.accepted = {"1"}, .declined = {}}}));
}

TEST_F(QueueCoordinatorTest, keepsItsPolicy)
{
    int changes = 0;
    coordinator.policyChanged.connect([&] { ++changes; });
    coordinator.setPolicy(QueuePolicy::never);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(QueueCoordinator(parts()).policy(), QueuePolicy::never);
    platform.settings.setText("dev.zelvo.queuePolicy", "maybe");
    EXPECT_EQ(QueueCoordinator(parts()).policy(), QueuePolicy::ask);
}

TEST_F(QueueCoordinatorTest, anOfferOfNothingIsLoggedAsDeclined)
{
    coordinator.setPolicy(QueuePolicy::automatic);
    receive(offerOf(0));
    EXPECT_THAT(sent, ElementsAre(Sent{"c", {}}));
    EXPECT_EQ(logged().summary, "Declined 0 waiting commands");
}

TEST_F(QueueCoordinatorTest, oneOfferIsAskedAboutAtATime)
{
    waits = true;
    receive(offerBy("c", "Acme"));
    receive(offerBy("d", "Other"));
    EXPECT_THAT(questions, SizeIs(1));

    answerOpen();
    ASSERT_THAT(questions, SizeIs(2));
    EXPECT_EQ(questions[1].choice.title, "Other: 1 command waited for you");
    answerOpen();

    EXPECT_THAT(sent, ElementsAre(Sent{"c", {.accepted = {"1"}, .declined = {}}},
                                  Sent{"d", {.accepted = {"1"}, .declined = {}}}));
}

TEST_F(QueueCoordinatorTest, ofAFloodOfOffersOneQuestionStandsAndTheLastOfAConnectionWaits)
{
    waits = true;
    for (std::size_t i = 1; i <= 1000; ++i)
        receive(offerOf(i));
    EXPECT_THAT(questions, SizeIs(1));
    EXPECT_THAT(platform.notices.shown, SizeIs(1));

    answerOpen();
    answerOpen();
    answerOpen();

    ASSERT_THAT(questions, SizeIs(2));
    EXPECT_EQ(questions[1].choice.title, "Acme: 1000 commands waited for you");
    EXPECT_THAT(sent, SizeIs(2));
}

TEST_F(QueueCoordinatorTest, anOfferOfAnUnknownConnectionGetsNothing)
{
    std::size_t const lines = state.activity().size();
    for (QueuePolicy const policy : {QueuePolicy::ask, QueuePolicy::automatic, QueuePolicy::never}) {
        coordinator.setPolicy(policy);
        receive(offerBy("stranger", "Your bank"));
    }

    EXPECT_THAT(questions, IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(platform.notices.shown, IsEmpty());
    EXPECT_EQ(state.activity().size(), lines);
}

TEST_F(QueueCoordinatorTest, aConnectionThatIsRevokedWhileItsOfferWaitsIsNotAskedAbout)
{
    waits = true;
    receive(offerBy("c", "Acme"));
    receive(offerBy("d", "Other"));
    state.revoke("d");

    answerOpen();

    EXPECT_THAT(questions, SizeIs(1));
}

TEST_F(QueueCoordinatorTest, theNameThatAnOfferGivesItselfStandsBesideThatOfItsConnection)
{
    receive(offerBy("c", "Your bank"));

    EXPECT_EQ(questions.at(0).choice.title, "Acme (“Your bank”): 1 command waited for you");
    EXPECT_EQ(platform.notices.shown.at(0).first, questions.at(0).choice.title);
    EXPECT_EQ(logged().platformName, "Acme");
}

} // namespace
} // namespace zelvo
