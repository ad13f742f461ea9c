#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::Each;
using testing::IsEmpty;

class RouterSettleTest : public RouterHarness {
protected:
    void SetUp() override
    {
        RouterHarness::SetUp();
        platform.screenSource.attached = {
            {.id = 9, .widthPoints = 1000, .heightPoints = 1000, .scaleFactor = 1}};
    }
    void settle(std::string const& params = "{}") { start(frame("screen.settle", params), reply); }
    void pass(Duration time) { platform.time.advance(time); }
    json::value answer() const { return reply ? reply->at("result") : json::value("none yet"); }
    static json::value after(std::int64_t elapsedMs, bool settled = true)
    {
        return json::object{{"settled", settled}, {"elapsedMs", elapsedMs}};
    }

    static constexpr DesktopRect large{0, 0, 500, 500};
    static constexpr DesktopRect small{100, 100, 10, 10};
    FakeDrawingWatches& drawings = platform.drawingWatches;
    std::optional<json::object> reply;
};

TEST_F(RouterSettleTest, isSettledAfterThreeHundredMillisecondsAtRest)
{
    settle();
    pass(299ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(answer(), after(300));
    EXPECT_THAT(drawings.opened, testing::ElementsAre(9u));
    EXPECT_EQ(drawings.existing, 0);
}

TEST_F(RouterSettleTest, looksOnlyOnceAtAScreenAtRest)
{
    settle(R"({"quietMs":10000,"timeoutMs":30000})");
    pass(9'999ms);
    EXPECT_EQ(drawings.looks(), 0u);
    EXPECT_EQ(platform.time.sleeperCount(), 2u); // Until its end, and until its task is over.
    pass(1ms);
    EXPECT_EQ(drawings.looks(), 1u);
    EXPECT_EQ(answer(), after(10'000));
}

TEST_F(RouterSettleTest, timeInWhichNothingWatchesIsNotQuiet)
{
    drawings.beforeOpen = [this]() -> Task<> { co_await platform.time.sleep(250ms); };
    settle();
    pass(250ms);
    EXPECT_EQ(drawings.existing, 1);
    pass(299ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(answer(), after(550));
}

TEST_F(RouterSettleTest, isNotSettledIfNothingWatchedForItsQuietTime)
{
    drawings.beforeOpen = [this]() -> Task<> { co_await platform.time.sleep(2'900ms); };
    settle();
    pass(2'999ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(answer(), after(3'000, false));
}

TEST_F(RouterSettleTest, drawingStartsTheTimeAgain)
{
    settle();
    pass(200ms);
    drawings.draw(large);
    pass(250ms);
    drawings.draw(large);
    pass(299ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(answer(), after(750));
}

TEST_F(RouterSettleTest, looksAtMostFiftyTimesASecond)
{
    settle();
    for (int i = 0; i < 1'000; ++i) {
        drawings.draw(large);
        pass(1ms);
    }
    EXPECT_LE(drawings.looks(), 51u);
    EXPECT_GE(drawings.looks(), 45u);
    pass(2s);
    EXPECT_TRUE(answer().at("settled").as_bool());
}

TEST_F(RouterSettleTest, isNotSettledAfterItsTime)
{
    settle();
    for (int i = 0; i < 300; ++i) {
        EXPECT_FALSE(reply) << i;
        drawings.draw(large);
        pass(10ms);
    }
    EXPECT_EQ(answer(), after(3'000, false));
}

TEST_F(RouterSettleTest, isNotSettledInLessThanItsQuietTime)
{
    settle(R"({"quietMs":500,"timeoutMs":100})");
    pass(100ms);
    EXPECT_EQ(answer(), after(100, false));
}

TEST_F(RouterSettleTest, blinkingDoesNotKeepItFromRest)
{
    settle();
    for (int i = 0; i < 31; ++i) {
        drawings.draw(small);
        pass(10ms);
    }
    ASSERT_TRUE(reply);
    EXPECT_TRUE(answer().at("settled").as_bool());
}

TEST_F(RouterSettleTest, reportOfNothingChangesNothing)
{
    settle();
    pass(200ms);
    drawings.report();
    pass(100ms);
    EXPECT_EQ(answer(), after(300));
}

TEST_F(RouterSettleTest, lastLookFindsWhatWasNotReportedYet)
{
    settle();
    pass(200ms);
    drawings.drawUnreported(large);
    pass(100ms);
    EXPECT_FALSE(reply);
    pass(300ms);
    EXPECT_EQ(answer(), after(600));
}

TEST_F(RouterSettleTest, onlyTheRegionCounts)
{
    settle(R"({"region":{"x":600,"y":600,"w":100,"h":100}})");
    pass(200ms);
    drawings.draw(large);
    pass(100ms);
    EXPECT_EQ(answer(), after(300));
}

TEST_F(RouterSettleTest, badRegionIsInvalid)
{
    for (char const* const region :
         {R"({})", R"({"x":0,"y":0,"w":0,"h":5})", R"({"x":2000,"y":0,"w":5,"h":5})"})
        EXPECT_EQ(code(call("screen.settle", std::string(R"({"region":)") + region + "}")), "invalid_request")
            << region;
    EXPECT_THAT(drawings.opened, IsEmpty());
}

TEST_F(RouterSettleTest, timesAreClampedAndTextsAreNoTimes)
{
    settle(R"({"quietMs":-5})");
    pass(0ms);
    EXPECT_EQ(answer(), after(0));
    settle(R"({"quietMs":9223372036854775807,"timeoutMs":9223372036854775807})");
    pass(10s);
    EXPECT_EQ(answer(), after(10'000));
    settle(R"({"quietMs":10000,"timeoutMs":-9223372036854775808})");
    pass(0ms);
    EXPECT_EQ(answer(), after(0, false));
    settle(R"({"quietMs":"1","timeoutMs":"1"})");
    pass(300ms);
    EXPECT_EQ(answer(), after(300));
}

TEST_F(RouterSettleTest, pauseDuringTheLastLookIsNoResult)
{
    settle();
    drawings.onTake = [this] { state.setPaused(true); };
    pass(300ms);
    EXPECT_EQ(code(*reply), "machine_paused");
}

TEST_F(RouterSettleTest, otherChangesOfTheStateEndNothing)
{
    settle();
    pass(100ms);
    state.log({.platform = "Acme", .summary = "something"});
    pass(199ms);
    EXPECT_FALSE(reply);
    pass(1ms);
    EXPECT_EQ(answer(), after(300));
    EXPECT_EQ(drawings.looks(), 1u);
}

TEST_F(RouterSettleTest, hiddenApplicationsAreReadAgainAtEachLook)
{
    run(platform.io, hiddenApps.add("com.bank"));
    settle();
    EXPECT_EQ(drawings.excluded.back(), (std::set<std::string>{"com.bank", "dev.zelvo.agent"}));
    spawn(platform.contexts.agent, [this]() -> Task<> { co_await hiddenApps.add("com.chat"); });
    platform.settle();
    drawings.draw(large);
    pass(20ms);
    EXPECT_EQ(drawings.excluded.back(), (std::set<std::string>{"com.bank", "com.chat", "dev.zelvo.agent"}));
    pass(1s);
    EXPECT_TRUE(answer().at("settled").as_bool());
}

TEST_F(RouterSettleTest, isAnInternalErrorWhenDrawingIsNotReported)
{
    drawings.failsWith = ScreenFailure{"secret words of the system"};
    EXPECT_EQ(code(call("screen.settle")), "internal_error");

    drawings.failsWith.reset();
    settle();
    drawings.failsWith = ScreenFailure{"gone"};
    pass(300ms);
    EXPECT_EQ(code(*reply), "internal_error");
    EXPECT_EQ(drawings.existing, 0);
}

TEST_F(RouterSettleTest, needsADisplay)
{
    platform.screenSource.attached.clear();
    EXPECT_EQ(code(call("screen.settle")), "machine_unavailable");
}

TEST_F(RouterSettleTest, isALookForARecordingAndNoneInTheLog)
{
    std::size_t const before = state.activity().size();
    settle();
    pass(300ms);
    EXPECT_THAT(recorder.told, testing::ElementsAre("looked"));
    EXPECT_EQ(state.activity().size(), before);
}

TEST_F(RouterSettleTest, twoWaitsEndOnTheirOwn)
{
    std::optional<json::object> other;
    settle();
    pass(100ms);
    start(frame("screen.settle", R"({"quietMs":1000})"), other);
    pass(200ms);
    EXPECT_EQ(answer(), after(300));
    EXPECT_FALSE(other);
    pass(800ms);
    EXPECT_EQ(other->at("result"), after(1'000));
}

} // namespace
} // namespace zelvo
