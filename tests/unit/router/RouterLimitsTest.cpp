#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::SizeIs;

/// What an agent may ask too much of: every batch comes to an end when the person pauses.
class RouterLimitsTest : public RouterHarness {
protected:
    /// The reply to a batch in which the person pauses at the given event, after at most `time`.
    json::object pausedAt(std::size_t event, std::string const& actions, Duration time = {})
    {
        platform.posting.onPost = [this, event](PostedEvent const&) {
            if (platform.posting.posted.size() + 1 == event)
                state.setPaused(true);
        };
        std::optional<json::object> reply;
        start(frame("actions.perform", R"({"actions":)" + actions + "}"), reply);
        for (Duration passed{}; passed < time && !reply; passed += 4ms)
            platform.time.advance(4ms);
        EXPECT_TRUE(reply.has_value());
        return reply.value_or(json::object());
    }
    static std::string repeated(std::size_t count, std::string const& action)
    {
        std::string list = "[" + action;
        for (std::size_t i = 1; i < count; ++i)
            list += "," + action;
        return list + "]";
    }
};

TEST_F(RouterLimitsTest, tenThousandActionsRun)
{
    json::object const reply =
        call("actions.perform", R"({"actions":)" + repeated(10'000, R"({"type":"move","x":1,"y":2})") + "}");
    EXPECT_EQ(code(reply), "");
    EXPECT_THAT(platform.posting.posted, SizeIs(10'000));
}

TEST_F(RouterLimitsTest, tenThousandActionsStopAtThePause)
{
    EXPECT_EQ(code(pausedAt(5'000, repeated(10'000, R"({"type":"move","x":1,"y":2})"))), "machine_paused");
    EXPECT_THAT(platform.posting.posted, SizeIs(5'000));
}

TEST_F(RouterLimitsTest, aClickWithoutEndStopsAtThePause)
{
    EXPECT_EQ(code(pausedAt(100, R"([{"type":"click","x":1,"y":2,"count":2147483648},
                                     {"type":"move","x":1,"y":2}])")),
              "machine_paused");
    EXPECT_THAT(platform.posting.posted, SizeIs(100));
}

TEST_F(RouterLimitsTest, aMebibyteOfTextStopsAtItsNextChunk)
{
    std::string const text(1 << 20, 'x');
    EXPECT_EQ(
        code(pausedAt(6, R"([{"type":"type","text":")" + text + R"("},{"type":"move","x":1,"y":2}])", 1s)),
        "machine_paused");
    EXPECT_THAT(platform.posting.posted, SizeIs(6));
    EXPECT_EQ(platform.posting.endedTexts, 1);
}

TEST_F(RouterLimitsTest, aDragOfDaysStopsAtThePause)
{
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"drag","from":{"x":1,"y":1},"to":{"x":9,"y":9},"durationMs":172800000}]})"),
        reply);
    state.setPaused(true);
    platform.time.advance(std::chrono::hours(1));
    EXPECT_TRUE(reply);
    EXPECT_EQ(platform.posting.releases, 1);
}

TEST_F(RouterLimitsTest, aWaitOfDaysEndsAtThePause)
{
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":9223372036854775807}]})"), reply);
    platform.time.advance(10s);
    EXPECT_FALSE(reply);
    state.setPaused(true);
    platform.time.advance(100ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
}

TEST_F(RouterLimitsTest, aDragWithoutEndOverflowsNothing)
{
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"drag","from":{"x":1,"y":1},"to":{"x":9,"y":9},"durationMs":9223372036854775807}]})"),
        reply);
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
    platform.time.advance(std::chrono::hours(1));
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
    state.setPaused(true);
    platform.time.advance(std::chrono::hours(10));
    EXPECT_TRUE(reply);
}

TEST_F(RouterLimitsTest, negativeNumbersAreTheSmallest)
{
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"wait","ms":-9223372036854775808},{"type":"click","x":-1,"y":-2,"count":-3},
                {"type":"drag","from":{"x":1,"y":1},"to":{"x":2,"y":2},"durationMs":-9223372036854775808}]})"),
        reply);
    platform.time.advance(1s);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
    EXPECT_THAT(platform.posting.posted, SizeIs(2 + 4));
}

} // namespace
} // namespace zelvo
