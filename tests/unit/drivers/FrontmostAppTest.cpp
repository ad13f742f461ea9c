#include "drivers/FrontmostApp.h"

#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <memory>

namespace zelvo {
namespace {

TEST(FrontmostApp, matchesWithoutRegardToCase)
{
    auto const matches = [](std::string const& expected, std::string actual) {
        return FrontmostApp::matches(expected, ApplicationNames{{std::move(actual)}});
    };
    EXPECT_TRUE(matches("COM.Foo.App", "com.foo.app"));
    EXPECT_TRUE(matches("org.ärger", "ORG.ÄRGER"));
    EXPECT_FALSE(matches("com.foo.app", "com.foo.app2"));
    EXPECT_FALSE(matches("com.foo.app", ""));
}

TEST(FrontmostApp, matchesByEveryNameButThoseOfOthers)
{
    ApplicationNames const front{{"thunar", "org.xfce.Thunar"}, {"org.other"}};

    EXPECT_TRUE(FrontmostApp::matches("ORG.XFCE.THUNAR", front));
    EXPECT_FALSE(FrontmostApp::matches("org.other", front));
}

TEST(FrontmostApp, matchesNothingWhenNothingIsInFront)
{
    EXPECT_FALSE(FrontmostApp::matches("com.foo.app", std::nullopt));
    EXPECT_FALSE(FrontmostApp::matches("", std::nullopt));
}

class FrontmostWait : public testing::Test {
protected:
    FakePlatform platform;
    std::optional<std::string> front;
    int looks = 0;
    std::shared_ptr<std::optional<FrontmostApp::Outcome>> outcome =
        std::make_shared<std::optional<FrontmostApp::Outcome>>();

    TaskHandle start(Duration timeout, Duration pollEvery = 50ms)
    {
        auto const current = [this]() -> Task<std::optional<ApplicationNames>> {
            ++looks;
            co_return front ? std::optional(ApplicationNames{{*front}}) : std::nullopt;
        };
        TaskHandle handle = spawn(platform.io.get_executor(), [=, this, kept = outcome]() -> Task<> {
            *kept = co_await FrontmostApp::waitUntilFrontmost(platform.time, "com.foo.App", timeout,
                                                              pollEvery, current);
        });
        platform.settle();
        return handle;
    }
    static FrontmostApp::Outcome missed(std::optional<std::string> actual)
    {
        return {.matched = false, .actual = std::move(actual)};
    }
    static FrontmostApp::Outcome found(std::string actual)
    {
        return {.matched = true, .actual = std::move(actual)};
    }
};

TEST_F(FrontmostWait, finishesAtOnceWhenItMatches)
{
    front = "COM.FOO.APP";
    start(2s);

    EXPECT_EQ(*outcome, found("COM.FOO.APP")); // The actual spelling, not the expected one.
    EXPECT_EQ(looks, 1);
}

TEST_F(FrontmostWait, looksOnceWithoutATimeout)
{
    front = "com.other";
    start(0s);

    EXPECT_EQ(*outcome, missed("com.other"));
    EXPECT_EQ(looks, 1);
}

TEST_F(FrontmostWait, looksEveryPollUntilItMatches)
{
    start(2s);
    platform.time.advance(120ms);
    EXPECT_EQ(looks, 3);
    EXPECT_FALSE(*outcome);

    front = "com.foo.app";
    platform.time.advance(29ms);
    EXPECT_FALSE(*outcome);
    platform.time.advance(1ms);

    EXPECT_EQ(*outcome, found("com.foo.app"));
    EXPECT_EQ(looks, 4);
}

TEST_F(FrontmostWait, givesWhatIsInFrontAtTheDeadline)
{
    front = "com.first";
    start(2s);
    platform.time.advance(1s);
    front = "com.second";
    platform.time.advance(999ms);
    EXPECT_FALSE(*outcome);
    platform.time.advance(1ms);

    EXPECT_EQ(*outcome, missed("com.second"));
    EXPECT_EQ(looks, 41);
}

TEST_F(FrontmostWait, givesNothingWhenNothingIsInFrontUntilTheDeadline)
{
    start(100ms);
    platform.time.advance(100ms);

    EXPECT_EQ(*outcome, missed(std::nullopt));
    EXPECT_EQ(looks, 3);
}

TEST_F(FrontmostWait, looksOnceMoreAfterADeadlineBetweenTwoLooks)
{
    start(120ms);
    platform.time.advance(120ms);
    EXPECT_FALSE(*outcome);
    front = "com.foo.app";
    platform.time.advance(30ms);

    EXPECT_EQ(*outcome, found("com.foo.app"));
}

TEST_F(FrontmostWait, goesOnAtOnceAfterACancelledWait)
{
    TaskHandle handle = start(2s);
    EXPECT_EQ(looks, 1);
    handle.cancel();
    platform.settle();
    EXPECT_EQ(looks, 2);
    EXPECT_FALSE(*outcome);

    handle.cancel();
    platform.settle();
    EXPECT_EQ(looks, 3);
    platform.time.advance(2s);

    EXPECT_EQ(*outcome, missed(std::nullopt));
}

TEST_F(FrontmostWait, passesOnAFailureToLook)
{
    auto const current = []() -> Task<std::optional<ApplicationNames>> {
        throw std::runtime_error("blind");
        co_return std::nullopt;
    };
    EXPECT_THROW(run(platform.io, FrontmostApp::waitUntilFrontmost(platform.time, "a", 1s, 50ms, current)),
                 std::runtime_error);
}

} // namespace
} // namespace zelvo
