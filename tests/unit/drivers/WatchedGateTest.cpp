#include "drivers/InputDriver.h"
#include "unit/drivers/PostingGateFixture.h"

namespace zelvo {
namespace {

/// The gate on a desktop with the application "secret", which is hidden.
class WatchedGateTest : public PostingGateFixture {
protected:
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    FrontWatch front{platform.contexts, platform.fronts, platform.desktop, hiddenApps,
                     platform.machineFacts.pid};
    InputDriver driver{gate, platform.time};

    void SetUp() override
    {
        run(platform.io, hiddenApps.add("secret"));
        comesToTheFront("editor");
        gate.watch(front);
        front.start([this] { spawn(platform.contexts.agent, [this] { return gate.releaseAll(); }); });
        platform.settle();
    }
    void comesToTheFront(std::string const& name, std::int32_t pid = 100)
    {
        platform.desktop.front = RunningApplication{pid, {{name}}, name};
        platform.fronts.changed();
    }
    void startTyping()
    {
        spawn(platform.contexts.agent, [this] { return driver.type(std::string(200, 'a')); });
        platform.settle();
        platform.time.advance(8ms);
        ASSERT_EQ(inner.posted.size(), 6u);
    }
};

TEST_F(WatchedGateTest, endsALongTextWhenAHiddenApplicationComesToTheFront)
{
    startTyping();

    comesToTheFront("secret");
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), 6u);
    EXPECT_GE(inner.releases, 1);
    EXPECT_EQ(inner.endedTexts, 1);
}

TEST_F(WatchedGateTest, endsALongTextWhenAWindowOfThisProgramComesToTheFront)
{
    startTyping();

    comesToTheFront(ownBundleIdentifier, platform.machineFacts.pid);
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), 6u);
    EXPECT_EQ(inner.endedTexts, 1);
}

TEST_F(WatchedGateTest, endsALongTextAlsoWhenTheHiddenApplicationIsGoneAgain)
{
    startTyping();

    comesToTheFront("secret");
    platform.settle();
    comesToTheFront("editor");
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), 6u);
}

TEST_F(WatchedGateTest, doesNotLookAtTheFrontForEveryKey)
{
    post(KeyEvent{});
    int const before = platform.desktop.looks;

    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(post(TextEvent{KeyEvent::Kind::down, "a"}));

    EXPECT_EQ(platform.desktop.looks, before);
}

TEST_F(WatchedGateTest, holdsAKeyBackUntilAChangedFrontIsKnown)
{
    platform.desktop.front = RunningApplication{100, {{"secret"}}, "Secret"};
    platform.fronts.changed(); // Reported, and not yet looked at.

    EXPECT_FALSE(post(KeyEvent{}));

    EXPECT_TRUE(inner.posted.empty());
}

TEST_F(WatchedGateTest, releasesAHeldKeyOrButtonWhenAHiddenApplicationComesToTheFront)
{
    EXPECT_TRUE(post(mouse(Kind::down, outside)));

    comesToTheFront("secret");
    platform.settle();

    EXPECT_EQ(inner.releases, 1);
}

TEST_F(WatchedGateTest, endsADragWhenAHiddenApplicationComesToTheFront)
{
    spawn(platform.contexts.agent, [&] { return driver.drag(outside, {20, 20}, MouseButton::left, 300); });
    platform.settle();
    platform.time.advance(50ms);
    std::size_t const before = inner.posted.size();

    comesToTheFront("secret");
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), before);
    EXPECT_GE(inner.releases, 1);
}

TEST_F(WatchedGateTest, endsAChordBetweenPressAndRelease)
{
    inner.onPost = [this](PostedEvent const&) { comesToTheFront("secret"); };
    spawn(platform.contexts.agent, [&] { return driver.pressKeys({"a"}); });
    platform.settle();

    EXPECT_EQ(inner.posted.size(), 1u);
    EXPECT_GE(inner.releases, 1);
}

TEST_F(WatchedGateTest, refusesTheClickOfAnActionThatWasCheckedBefore)
{
    run(platform.io, gate.beginAction());
    comesToTheFront("secret"); // Between the checks and the click.
    platform.settle();

    EXPECT_FALSE(post(mouse(Kind::down, outside)));
    EXPECT_FALSE(post(ScrollEvent{1, 0}));
    EXPECT_TRUE(post(mouse(Kind::moved, outside)));

    EXPECT_EQ(inner.posted.size(), 1u);
}

TEST_F(WatchedGateTest, passesAClickElsewhereThatIsCheckedWhileAHiddenApplicationIsInFront)
{
    comesToTheFront("secret");
    platform.settle();
    run(platform.io, gate.beginAction());

    EXPECT_TRUE(post(mouse(Kind::down, outside)));
    EXPECT_FALSE(post(KeyEvent{}));
}

TEST_F(WatchedGateTest, passesAClickThatIsCheckedRightAfterAHiddenApplicationCameToTheFront)
{
    comesToTheFront("secret"); // Reported, and not yet looked at.
    run(platform.io, gate.beginAction());

    EXPECT_TRUE(post(mouse(Kind::down, outside)));
}

TEST_F(WatchedGateTest, passesKeysAgainOnceThePersonShowsTheApplication)
{
    comesToTheFront("secret");
    platform.settle();
    EXPECT_FALSE(post(KeyEvent{}));

    run(platform.io, hiddenApps.remove("secret"));
    run(platform.io, gate.beginAction());

    EXPECT_TRUE(post(KeyEvent{}));
}

} // namespace
} // namespace zelvo
