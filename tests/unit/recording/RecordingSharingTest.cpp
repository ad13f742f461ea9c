#include "recording/RecordingSharing.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "unit/recording/ConnectionsHarness.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Decision = ConfirmationDecision;

/// A queue of answers from the test, which callers await.
template <class T>
class Answers {
public:
    void give(T answer)
    {
        arrivals.notifyAll([&] { ready.push_back(std::move(answer)); });
    }
    Task<T> next()
    {
        co_await arrivals.wait([this] { return !ready.empty(); });
        T answer = std::move(ready.front());
        ready.pop_front();
        co_return answer;
    }

private:
    AsyncCondition arrivals;
    std::deque<T> ready;
};

class RecordingSharingTest : public ConnectionsHarness {
protected:
    struct Question {
        ConfirmationPresenter::Choice choice;
        std::int64_t timeoutMs = 0;
    };
    struct Told {
        std::string connectionId;
        bool shared = false;
        bool operator==(Told const&) const = default;
    };

    /// Ends all waiting tasks while everything they reference is still alive.
    void TearDown() override
    {
        for (int waiting = 0; waiting < 10; ++waiting) {
            decide(Decision::timedOut());
            agree(false);
        }
    }

    std::optional<bool> stored(std::string const& id) const { return state.connection(id)->shareRecordings; }
    ActivityEntry const& logged() const { return state.activity().front(); }
    /// Starts to ask; the result is set when the question is decided.
    std::shared_ptr<std::optional<bool>> begin(std::string id)
    {
        return beginTask([this, id] { return sharing.ask(id); });
    }
    std::shared_ptr<std::optional<bool>> beginSet(std::string id, bool shared)
    {
        return beginTask([this, id, shared] { return sharing.set(id, shared); });
    }
    std::shared_ptr<std::optional<bool>> beginTask(std::function<Task<bool>()> start)
    {
        auto const result = std::make_shared<std::optional<bool>>();
        spawn(platform.contexts.main, [start, result]() -> Task<> { *result = co_await start(); });
        platform.settle();
        return result;
    }
    void decide(Decision decision)
    {
        decisions.give(decision);
        platform.settle();
    }
    void agree(bool agrees)
    {
        agreements.give(agrees);
        platform.settle();
    }

    std::vector<Question> questions;
    Answers<Decision> decisions;
    std::vector<Told> told;
    Answers<bool> agreements;
    RecordingSharing sharing{
        {.main = platform.contexts.main,
         .state = state,
         .askChoice = [this](ConfirmationPresenter::Choice choice, std::int64_t timeoutMs) -> Task<Decision> {
             questions.push_back({std::move(choice), timeoutMs});
             co_return co_await decisions.next();
         },
         .sendSharing = [this](std::string connectionId, bool shared) -> Task<bool> {
             told.push_back({std::move(connectionId), shared});
             co_return co_await agreements.next();
         }}};
};

TEST_F(RecordingSharingTest, asksForAConnectionByItsName)
{
    grant("c1", "Acme");
    begin("c1");

    ASSERT_THAT(questions, SizeIs(1));
    EXPECT_EQ(questions[0].choice.title, localized("recording.share.title", {std::string("Acme")}));
    EXPECT_EQ(questions[0].choice.detail, localized("recording.share.detail", {std::string("Acme")}));
    EXPECT_EQ(questions[0].choice.allowTitle, localized("recording.share.allow"));
    EXPECT_EQ(questions[0].choice.denyTitle, localized("recording.share.deny"));
    EXPECT_EQ(questions[0].timeoutMs, 300'000);
    EXPECT_NE(questions[0].choice.title.find("Acme"), std::string::npos);
    EXPECT_NE(questions[0].choice.detail.find("Acme"), std::string::npos);
}

TEST_F(RecordingSharingTest, asksWithANameOfAnyKindAsOneShortLine)
{
    // NOLINTNEXTLINE(misc-misleading-bidirectional): this is the attack under test.
    std::string name = "Acme\n\nNothing is shared.\u202e ";
    while (name.size() < 40'000)
        name += "👩‍👩‍👧/:\n{0}'";
    grant("c1", name);
    begin("c1");

    ASSERT_THAT(questions, SizeIs(1));
    ConfirmationPresenter::Choice const& asked = questions[0].choice;
    std::string const shown = text::shownInLine(name, 80);
    EXPECT_EQ(asked.title, localized("recording.share.title", {shown}));
    EXPECT_EQ(asked.detail, localized("recording.share.detail", {shown}));
    EXPECT_EQ(text::withoutControlCharacters(asked.detail), asked.detail);
}

TEST_F(RecordingSharingTest, sendsAYesToTheServiceAndStoresIt)
{
    grant("c1", "Acme");
    auto const result = begin("c1");
    decide(Decision::allowed(false));
    EXPECT_THAT(told, ElementsAre(Told{"c1", true}));
    EXPECT_EQ(stored("c1"), std::nullopt) << "before the service agreed";
    agree(true);

    EXPECT_EQ(*result, true);
    EXPECT_EQ(stored("c1"), true);
    EXPECT_EQ(logged().platformName, "Acme");
    EXPECT_EQ(logged().summary, localized("recording.share.allowedLog"));
    EXPECT_EQ(logged().kind, ActivityKind::recording);
    EXPECT_EQ(logged().connectionId, "c1");
    EXPECT_THAT(sharing.asking(), IsEmpty());
}

TEST_F(RecordingSharingTest, keepsANoWithoutTellingTheService)
{
    grant("c1", "Acme");
    auto const result = begin("c1");
    int const writtenBefore = platform.settings.writtenCalls;
    decide(Decision::denied());

    EXPECT_EQ(*result, false);
    EXPECT_EQ(stored("c1"), false);
    EXPECT_GT(platform.settings.writtenCalls, writtenBefore) << "on disk before it is answered";
    EXPECT_THAT(told, IsEmpty());
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_THAT(sharing.asking(), IsEmpty());
}

TEST_F(RecordingSharingTest, leavesAConnectionUndecidedWithoutAnAnswer)
{
    grant("c1", "Acme");
    auto const result = begin("c1");
    decide(Decision::timedOut());

    EXPECT_EQ(*result, false);
    EXPECT_EQ(stored("c1"), std::nullopt);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_THAT(sharing.asking(), IsEmpty());
    begin("c1");
    EXPECT_THAT(questions, SizeIs(2)) << "asked again after the next recording";
}

TEST_F(RecordingSharingTest, asksNothingForAnUnknownConnection)
{
    EXPECT_EQ(*begin("c9"), false);
    EXPECT_THAT(questions, IsEmpty());
}

TEST_F(RecordingSharingTest, hasOneQuestionAConnectionOpen)
{
    grant("c1", "Acme");
    grant("c2", "Bolt");
    auto const first = begin("c1");

    EXPECT_EQ(*begin("c1"), false);
    begin("c2");
    EXPECT_THAT(questions, SizeIs(2));
    EXPECT_THAT(sharing.asking(), UnorderedElementsAre("c1", "c2"));
    EXPECT_EQ(*first, std::nullopt);
}

TEST_F(RecordingSharingTest, keepsTheQuestionOpenUntilTheServiceAnswered)
{
    grant("c1", "Acme");
    begin("c1");
    decide(Decision::allowed(false));
    EXPECT_THAT(sharing.asking(), ElementsAre("c1"));
    EXPECT_EQ(*begin("c1"), false);
    agree(true);
    EXPECT_THAT(sharing.asking(), IsEmpty());
}

TEST_F(RecordingSharingTest, isNotOnWhenTheServiceDoesNotAgree)
{
    grant("c1", "Acme");
    auto const result = begin("c1");
    decide(Decision::allowed(false));
    agree(false);

    EXPECT_EQ(*result, false);
    EXPECT_EQ(stored("c1"), std::nullopt);
    EXPECT_EQ(logged().platformName, localized("activity.app"));
    EXPECT_EQ(logged().summary, localized("recording.share.failed"));
    EXPECT_EQ(logged().kind, ActivityKind::recording);
    EXPECT_EQ(logged().connectionId, std::nullopt);
}

TEST_F(RecordingSharingTest, isNotOnForAConnectionThatWasRevokedUnderTheQuestion)
{
    grant("c1", "Acme");
    auto const result = begin("c1");
    state.revoke("c1");
    decide(Decision::allowed(false));

    EXPECT_EQ(*result, false);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(RecordingSharingTest, isNotOnForAConnectionThatWasRevokedDuringTheCall)
{
    grant("c1", "Acme");
    auto const result = begin("c1");
    decide(Decision::allowed(false));
    state.revoke("c1");
    agree(true);

    EXPECT_EQ(*result, false);
}

TEST_F(RecordingSharingTest, stopsOnceTheServiceAnswered)
{
    grant("c1", "Acme");
    state.setShareRecordings(true, "c1");
    auto const result = beginSet("c1", false);
    EXPECT_EQ(stored("c1"), true);
    int const writtenBefore = platform.settings.writtenCalls;
    agree(true);

    EXPECT_EQ(*result, false);
    EXPECT_EQ(stored("c1"), false);
    EXPECT_THAT(told, ElementsAre(Told{"c1", false}));
    EXPECT_EQ(logged().summary, localized("recording.share.stoppedLog"));
    EXPECT_EQ(logged().platformName, "Acme");
    EXPECT_EQ(logged().connectionId, "c1");
    EXPECT_GT(platform.settings.writtenCalls, writtenBefore) << "on disk before it is answered";
}

TEST_F(RecordingSharingTest, keepsTheOldChoiceWhenStoppingFails)
{
    grant("c1", "Acme");
    state.setShareRecordings(true, "c1");
    auto const result = beginSet("c1", false);
    agree(false);

    EXPECT_EQ(*result, false);
    EXPECT_EQ(stored("c1"), true);
    EXPECT_EQ(logged().summary, localized("recording.share.failed"));
}

TEST_F(RecordingSharingTest, namesARevokedConnectionAsAnUnnamedPlatform)
{
    beginSet("c9", false);
    agree(true);

    EXPECT_EQ(logged().platformName, localized("common.platform"));
    EXPECT_EQ(logged().connectionId, "c9");
}

TEST_F(RecordingSharingTest, sendsOneChoiceAfterAnotherSoThatTheLastOneCounts)
{
    grant("c1", "Acme");
    grant("c2", "Bolt");
    beginSet("c1", true);
    beginSet("c1", false);
    beginSet("c2", true);
    EXPECT_THAT(told, ElementsAre(Told{"c1", true}));
    agreements.give(true);
    // A call that arrives at this moment queues behind the others.
    beginSet("c1", true);
    EXPECT_THAT(told, ElementsAre(Told{"c1", true}, Told{"c1", false}));
    agree(true);
    agree(true);
    agree(false);

    EXPECT_THAT(told, ElementsAre(Told{"c1", true}, Told{"c1", false}, Told{"c2", true}, Told{"c1", true}));
    EXPECT_EQ(stored("c1"), false);
    EXPECT_EQ(stored("c2"), true);
}

TEST_F(RecordingSharingTest, passesOverAChoiceWhoseCallerIsCancelled)
{
    grant("c1", "Acme");
    beginSet("c1", true);
    TaskHandle caller =
        spawn(platform.contexts.main, [this]() -> Task<> { co_await sharing.set("c1", false); });
    beginSet("c1", true);
    caller.cancel();
    platform.settle();
    agree(true);
    agree(true);

    EXPECT_THAT(told, ElementsAre(Told{"c1", true}, Told{"c1", true}));
}

TEST_F(RecordingSharingTest, asksAboutEveryUndecidedConnectionSideBySide)
{
    grant("c1", "Acme");
    grant("c2", "Bolt");
    grant("c3", "Without", {AgentScope::screen});
    grant("c4", "Yes");
    grant("c5", "No");
    state.setShareRecordings(true, "c4");
    state.setShareRecordings(false, "c5");

    sharing.askUndecided();
    platform.settle();

    EXPECT_THAT(questions, SizeIs(2));
    EXPECT_THAT(sharing.asking(), UnorderedElementsAre("c1", "c2"));
    sharing.askUndecided();
    platform.settle();
    EXPECT_THAT(questions, SizeIs(2));
}

TEST_F(RecordingSharingTest, freesTheQuestionOfACancelledCaller)
{
    grant("c1", "Acme");
    TaskHandle caller = spawn(platform.contexts.main, [this]() -> Task<> { co_await sharing.ask("c1"); });
    platform.settle();
    caller.cancel();
    decide(Decision::allowed(false)); // Has no effect.
    agree(true);

    EXPECT_THAT(sharing.asking(), IsEmpty());
    EXPECT_EQ(stored("c1"), std::nullopt);
}

} // namespace
} // namespace zelvo
