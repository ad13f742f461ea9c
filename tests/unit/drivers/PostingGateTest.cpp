#include "drivers/InputDriver.h"
#include "unit/drivers/PostingGateFixture.h"
#include "wire/AgentError.h"

namespace zelvo {
namespace {

/// Event posting in which each event stays in flight until the test lets it pass.
class SlowEventPosting final : public EventPosting {
public:
    std::vector<std::string> log;
    int free = 0; ///< events that may still pass
    bool take()
    {
        if (free == 0)
            return false;
        --free;
        return true;
    }

    void letPass(int count = 1000)
    {
        list.notifyAll([this, count] { free += count; });
    }

    Task<> ready(PostedEvent) override { co_return; }
    Task<bool> post(PostedEvent) override
    {
        log.emplace_back("begun");
        while (!list.with([this] { return take(); }))
            co_await list.wait([this] { return free > 0; });
        log.emplace_back("posted");
        co_return true;
    }
    Task<> beginText(std::string) override
    {
        log.emplace_back("text begun");
        co_await list.wait([this] { return free > 0; });
        log.emplace_back("text ready");
    }
    Task<> endText() override { co_return; }
    Task<> releaseAll() override
    {
        log.emplace_back("released");
        co_return;
    }
    Task<> drained() override
    {
        log.emplace_back("drained");
        co_return;
    }
    Task<bool> delivered() override { co_return true; }
    DesktopPoint pointerLocation() override { return {}; }

private:
    AsyncCondition list;
};

/// A desktop that does not say where our windows are.
class BlindPosting final : public EventPosting {
public:
    std::vector<std::string> log;
    bool fails = false;

    Task<> ready(PostedEvent) override { co_return; }
    Task<bool> post(PostedEvent) override
    {
        if (fails)
            throw DetailedAgentError{.error = AgentError::invalidRequest, .message = "lost", .details = {}};
        log.emplace_back("posted");
        co_return true;
    }
    Task<> beginText(std::string) override { co_return; }
    Task<> endText() override { co_return; }
    Task<> releaseAll() override
    {
        log.emplace_back("released");
        co_return;
    }
    Task<> drained() override { co_return; }
    Task<bool> delivered() override { co_return true; }
    DesktopPoint pointerLocation() override { return {}; }
    bool knowsOwnWindows() const override { return false; }
};

class PostingGateTest : public PostingGateFixture {};

TEST_F(PostingGateTest, makesNothingAtAllBesideAQuestionWhereOurWindowsMayBeAnywhere)
{
    BlindPosting blind;
    PostingGate closed(
        blind, platform.contexts.workers, [] { return false; },
        [] { return std::vector<DesktopRect>{{0, 0, 1, 1}}; });
    run(platform.io, closed.close());
    blind.log.clear();

    EXPECT_FALSE(
        run(platform.io, closed.post(MouseEvent{.kind = MouseEvent::Kind::moved, .point = {500, 500}})));
    EXPECT_FALSE(run(platform.io, closed.post(ScrollEvent{1, 2})));
    EXPECT_EQ(std::ranges::count(blind.log, "posted"), 0);

    closed.open();
    EXPECT_TRUE(run(platform.io, closed.post(ScrollEvent{1, 2})));
}

TEST_F(PostingGateTest, releasesWhatIsHeldWhenAnEventFails)
{
    BlindPosting broken;
    broken.fails = true;
    PostingGate open(
        broken, platform.contexts.workers, [] { return false; }, [] { return std::vector<DesktopRect>(); });

    EXPECT_THROW(run(platform.io, open.post(TextEvent{.text = "a"})), DetailedAgentError);
    EXPECT_EQ(broken.log, (std::vector<std::string>{"released"}));
}

TEST_F(PostingGateTest, passesEveryEventOnWhileItIsOpen)
{
    std::vector<PostedEvent> all = keyEvents();
    for (PostedEvent const& event : mouseEvents(inside))
        all.push_back(event);
    all.emplace_back(ScrollEvent{1, 2});

    for (PostedEvent const& event : all)
        EXPECT_TRUE(post(event));

    EXPECT_EQ(inner.posted, all);
    EXPECT_EQ(inner.releases, 0);
    EXPECT_EQ(windowLooks, 0); // The windows' frames are read only while the gate is closed.
}

TEST_F(PostingGateTest, makesNothingWhilePausedAndReleasesWhatIsHeld)
{
    paused = true;
    std::vector<PostedEvent> all = keyEvents();
    for (PostedEvent const& event : mouseEvents(outside))
        all.push_back(event);
    all.emplace_back(ScrollEvent{1, 2});

    for (PostedEvent const& event : all)
        EXPECT_FALSE(post(event));

    EXPECT_TRUE(inner.posted.empty());
    EXPECT_EQ(inner.releases, static_cast<int>(all.size()));
}

TEST_F(PostingGateTest, letsATextAskBetweenItsKeys)
{
    auto const mayContinue = [this] { return run(platform.io, inner.mayContinue()); };
    ASSERT_TRUE(inner.mayContinue);
    EXPECT_TRUE(mayContinue());

    paused = true;
    EXPECT_FALSE(mayContinue());

    paused = false;
    EXPECT_TRUE(mayContinue());
    close();
    EXPECT_FALSE(mayContinue());
    gate.open();
    EXPECT_TRUE(mayContinue());
}

TEST_F(PostingGateTest, decidesAfterAnEventHasWaited)
{
    inner.onReady = [this](PostedEvent const&) { paused = true; }; // The person pauses while it waits.

    EXPECT_FALSE(post(mouse(Kind::down, outside)));

    EXPECT_TRUE(inner.posted.empty());
}

TEST_F(PostingGateTest, passesEventsAgainAfterThePause)
{
    paused = true;
    post(KeyEvent{});
    paused = false;

    EXPECT_TRUE(post(KeyEvent{}));
}

TEST_F(PostingGateTest, makesNoKeyEventWhileClosed)
{
    close();

    for (PostedEvent const& event : keyEvents())
        EXPECT_FALSE(post(event));

    EXPECT_TRUE(inner.posted.empty());
}

TEST_F(PostingGateTest, makesNoButtonOrWheelEventInsideAnOwnWindowWhileClosed)
{
    close();
    inner.pointer = inside;

    EXPECT_FALSE(post(mouse(Kind::down, inside)));
    EXPECT_FALSE(post(mouse(Kind::dragged, inside)));
    EXPECT_FALSE(post(mouse(Kind::up, inside)));
    EXPECT_FALSE(post(ScrollEvent{1, 0}));

    EXPECT_TRUE(inner.posted.empty());
}

TEST_F(PostingGateTest, passesMovesEverywhereAndButtonsElsewhereWhileClosed)
{
    close();
    inner.pointer = outside;

    EXPECT_TRUE(post(mouse(Kind::moved, inside)));
    for (PostedEvent const& event : mouseEvents(outside))
        EXPECT_TRUE(post(event));
    EXPECT_TRUE(post(ScrollEvent{1, 0}));

    EXPECT_EQ(inner.posted.size(), 6u);
}

TEST_F(PostingGateTest, looksAtEveryOwnWindowAndAtItsEdges)
{
    ownWindows.push_back({.x = 0, .y = 0, .width = 5, .height = 5});
    close();

    EXPECT_FALSE(post(mouse(Kind::down, {4, 4})));
    EXPECT_FALSE(post(mouse(Kind::down, {100, 100})));
    EXPECT_FALSE(post(mouse(Kind::down, {149.5, 149.5})));
    EXPECT_TRUE(post(mouse(Kind::down, {150, 120})));
    EXPECT_TRUE(post(mouse(Kind::down, {120, 150})));
    EXPECT_TRUE(post(mouse(Kind::down, {99.5, 120})));
}

TEST_F(PostingGateTest, makesNoButtonEventWhileTheWindowThatItClosedForIsStillComingUp)
{
    ownWindows.clear();
    close();

    EXPECT_FALSE(post(mouse(Kind::down, inside)));
    EXPECT_TRUE(post(mouse(Kind::moved, inside)));
    ownWindows.push_back({.x = 0, .y = 0, .width = 5, .height = 5});
    EXPECT_TRUE(post(mouse(Kind::down, inside)));
}

TEST_F(PostingGateTest, releasesWhatIsHeldWhenItRefuses)
{
    close();
    int const before = inner.releases;

    post(KeyEvent{});
    post(mouse(Kind::up, inside));

    EXPECT_EQ(inner.releases, before + 2);
}

TEST_F(PostingGateTest, releasesWhatIsHeldWhenAnEventCannotBeMade)
{
    inner.refusesAfter = 1;

    EXPECT_TRUE(post(mouse(Kind::down, outside)));
    EXPECT_FALSE(post(mouse(Kind::up, outside)));

    EXPECT_EQ(inner.releases, 1);
}

TEST_F(PostingGateTest, releasesAndDrainsWhenItCloses)
{
    close();

    EXPECT_TRUE(gate.isClosed());
    EXPECT_EQ(inner.releases, 1);
    EXPECT_EQ(inner.drains, 1);
}

TEST_F(PostingGateTest, opensAfterAsManyOpensAsCloses)
{
    close();
    close();

    gate.open();
    EXPECT_TRUE(gate.isClosed());
    EXPECT_FALSE(post(KeyEvent{}));
    gate.open();

    EXPECT_FALSE(gate.isClosed());
    EXPECT_TRUE(post(KeyEvent{}));
}

TEST_F(PostingGateTest, isNotOpenedInAdvance)
{
    gate.open();
    close();

    EXPECT_TRUE(gate.isClosed());
}

TEST_F(PostingGateTest, announcesATextOnlyWhenItMayBeTyped)
{
    run(platform.io, gate.beginText("one"));
    paused = true;
    run(platform.io, gate.beginText("two"));
    paused = false;
    close();
    run(platform.io, gate.beginText("three"));

    EXPECT_EQ(inner.texts, std::vector<std::string>{"one"});
}

TEST_F(PostingGateTest, endsATextWhateverItsState)
{
    paused = true;
    close();

    run(platform.io, gate.endText());

    EXPECT_EQ(inner.endedTexts, 1);
}

TEST_F(PostingGateTest, passesTheOtherQuestionsOn)
{
    inner.pointer = {7, 8};

    run(platform.io, gate.releaseAll());
    run(platform.io, gate.drained());

    EXPECT_EQ(inner.releases, 1);
    EXPECT_EQ(inner.drains, 1);
    EXPECT_EQ(gate.pointerLocation(), (DesktopPoint{7, 8}));
}

TEST_F(PostingGateTest, stopsALongTextInTheMiddleWhenPaused)
{
    InputDriver driver(gate, platform.time);
    spawn(platform.contexts.agent, [&] { return driver.type(std::string(200, 'a')); });
    platform.settle();
    platform.time.advance(8ms);
    ASSERT_EQ(inner.posted.size(), 6u);

    paused = true;
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), 6u);
    EXPECT_EQ(inner.releases, 1);
    EXPECT_EQ(inner.endedTexts, 1);
}

TEST_F(PostingGateTest, stopsALongTextInTheMiddleWhenClosed)
{
    InputDriver driver(gate, platform.time);
    spawn(platform.contexts.agent, [&] { return driver.type(std::string(200, 'a')); });
    platform.settle();

    close();
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), 2u);
    EXPECT_EQ(inner.endedTexts, 1);
}

TEST_F(PostingGateTest, stopsATextBetweenKeyDownAndKeyUpAndReleasesTheKey)
{
    inner.onPost = [this](PostedEvent const&) { paused = true; }; // Right after the first key-down.
    InputDriver driver(gate, platform.time);

    spawn(platform.contexts.agent, [&] { return driver.type("a"); });
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted, (std::vector<PostedEvent>{TextEvent{KeyEvent::Kind::down, "a"}}));
    EXPECT_EQ(inner.releases, 1);
}

TEST_F(PostingGateTest, releasesTheButtonOfADragThatAPauseStops)
{
    InputDriver driver(gate, platform.time);
    spawn(platform.contexts.agent, [&] { return driver.drag(outside, {20, 20}, MouseButton::left, 300); });
    platform.settle();
    std::size_t const before = inner.posted.size();

    paused = true;
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted.size(), before);
    EXPECT_EQ(inner.releases, 1);
}

TEST_F(PostingGateTest, endsADragThatComesToAnOwnWindowWhileClosed)
{
    close();
    InputDriver driver(gate, platform.time);
    spawn(platform.contexts.agent, [&] { return driver.drag({80, 120}, {120, 120}, MouseButton::left, 32); });
    platform.time.advance(1s);

    EXPECT_EQ(inner.posted, (std::vector<PostedEvent>{mouse(Kind::down, {80, 120})}));
    EXPECT_EQ(inner.releases, 2); // One by close(), one by the step inside our window.
}

TEST_F(PostingGateTest, waitsForTheEventInFlightBeforeItIsClosed)
{
    SlowEventPosting slow;
    PostingGate slowGate(
        slow, platform.contexts.workers, [] { return false; }, [] { return std::vector<DesktopRect>{}; });
    spawn(platform.contexts.agent, [&]() -> Task<> { co_await slowGate.post(KeyEvent{}); });
    platform.settle();

    spawn(platform.contexts.main, [&] { return slowGate.close(); });
    platform.settle();
    EXPECT_EQ(slow.log, std::vector<std::string>{"begun"});
    EXPECT_TRUE(slowGate.isClosed()); // No further event passes in the meantime.
    slow.letPass();
    platform.settle();

    EXPECT_EQ(slow.log, (std::vector<std::string>{"begun", "posted", "released", "drained"}));
}

TEST_F(PostingGateTest, isNotKeptFromClosingByEventsThatFollowEachOtherWithoutEnd)
{
    SlowEventPosting slow;
    PostingGate slowGate(
        slow, platform.contexts.workers, [] { return false; }, [] { return std::vector<DesktopRect>{}; });
    auto const begin = [&] {
        spawn(platform.contexts.agent,
              [&]() -> Task<> { co_await slowGate.post(mouse(Kind::moved, outside)); });
        platform.settle();
    };
    begin();
    spawn(platform.contexts.main, [&] { return slowGate.close(); });
    platform.settle();
    begin(); // Before the first has ended.

    slow.letPass(1);
    platform.settle();

    EXPECT_EQ(slow.log, (std::vector<std::string>{"begun", "begun", "posted", "released", "drained"}));
    slow.letPass();
    platform.settle();
}

TEST_F(PostingGateTest, waitsForATextThatIsBeingMadeReadyBeforeItIsClosed)
{
    SlowEventPosting slow;
    PostingGate slowGate(
        slow, platform.contexts.workers, [] { return false; }, [] { return std::vector<DesktopRect>{}; });
    spawn(platform.contexts.agent, [&] { return slowGate.beginText("a"); });
    platform.settle();

    spawn(platform.contexts.main, [&] { return slowGate.close(); });
    platform.settle();
    EXPECT_EQ(slow.log, std::vector<std::string>{"text begun"});
    slow.letPass();
    platform.settle();

    EXPECT_EQ(slow.log, (std::vector<std::string>{"text begun", "text ready", "released", "drained"}));
}

TEST_F(PostingGateTest, releasesOnlyAfterTheEventInFlight)
{
    SlowEventPosting slow;
    bool slowPaused = false;
    PostingGate slowGate(
        slow, platform.contexts.workers, [&] { return slowPaused; },
        [] { return std::vector<DesktopRect>{}; });
    spawn(platform.contexts.agent, [&]() -> Task<> { co_await slowGate.post(mouse(Kind::down, outside)); });
    platform.settle();

    slowPaused = true; // The person pauses while a button is being pressed.
    spawn(platform.contexts.agent, [&] { return slowGate.releaseAll(); });
    platform.settle();
    slow.letPass();
    platform.settle();

    EXPECT_EQ(slow.log, (std::vector<std::string>{"begun", "posted", "released"}));
}

TEST_F(PostingGateTest, letsAHeldButtonGoWhereItIsToldTo)
{
    std::vector<DesktopPoint> asked;
    gate.setFindRelease([&](DesktopPoint at) -> Task<std::optional<DesktopPoint>> {
        asked.push_back(at);
        co_return DesktopPoint{5, 6};
    });
    post(mouse(Kind::down, outside));
    std::size_t const before = inner.posted.size();

    close();

    EXPECT_EQ(asked, std::vector<DesktopPoint>{outside});
    ASSERT_EQ(inner.posted.size(), before + 1);
    EXPECT_EQ(inner.posted.back(), mouse(Kind::dragged, {5, 6}));
    EXPECT_EQ(inner.releases, 1);
    run(platform.io, gate.releaseAll()); // Nothing is held any more.
    EXPECT_EQ(asked.size(), 1u);
}

} // namespace
} // namespace zelvo
