#include "drivers/InputDriver.h"

#include "base/Text.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zelvo {
namespace {

using Kind = MouseEvent::Kind;

/// A driver on a machine in memory, with the times of its events.
class InputDriverTest : public testing::Test {
public:
    InputDriverTest()
    {
        platform.posting.onPost = [this](PostedEvent const&) {
            times.push_back(platform.time.now() - start);
        };
    }

    /// Starts an action that needs time.
    TaskHandle begin(std::function<Task<>()> body)
    {
        body = [this, body = std::move(body)]() -> Task<> {
            co_await body();
            finished = platform.time.now() - start;
        };
        TaskHandle handle = spawn(platform.contexts.agent, std::move(body));
        platform.settle();
        return handle;
    }

    TaskHandle beginDrag(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs)
    {
        return begin([=, this] { return driver.drag(from, to, button, durationMs); });
    }

    TaskHandle beginTyping(std::string const& text)
    {
        return begin([=, this] { return driver.type(text); });
    }

    /// Runs an action that needs no time.
    std::vector<PostedEvent> events(Task<> action)
    {
        run(platform.io, std::move(action));
        return platform.posting.posted;
    }

    FakePlatform platform;
    InputDriver driver{platform.posting, platform.time};
    std::vector<PostedEvent> const& posted = platform.posting.posted;
    Instant start = platform.time.now();
    std::vector<Duration> times;      // One per event, since the start.
    std::optional<Duration> finished; // When the started action ended.
};

PostedEvent mouse(Kind kind,
                  DesktopPoint point,
                  MouseButton button = MouseButton::left,
                  int clickState = 0,
                  ModifierFlags flags = {})
{
    return MouseEvent{kind, point, button, clickState, flags};
}

PostedEvent textEvent(KeyEvent::Kind kind, std::string text)
{
    return TextEvent{kind, std::move(text)};
}

std::vector<PostedEvent> chord(std::uint16_t code, ModifierFlags flags = {})
{
    return {KeyEvent{KeyEvent::Kind::down, code, flags}, KeyEvent{KeyEvent::Kind::up, code, flags}};
}

std::vector<PostedEvent> textPairs(std::vector<std::string> const& chunks)
{
    std::vector<PostedEvent> events;
    for (std::string const& chunk : chunks) {
        events.push_back(textEvent(KeyEvent::Kind::down, chunk));
        events.push_back(textEvent(KeyEvent::Kind::up, chunk));
    }
    return events;
}

TEST_F(InputDriverTest, movesWithOneMovedEvent)
{
    EXPECT_EQ(events(driver.move({3, 4})), std::vector{mouse(Kind::moved, {3, 4})});
}

TEST_F(InputDriverTest, clicksByDownAndUpAtThePointWithoutMovingFirst)
{
    EXPECT_EQ(events(driver.click({3, 4}, MouseButton::right, 1, {})),
              (std::vector{mouse(Kind::down, {3, 4}, MouseButton::right, 1),
                           mouse(Kind::up, {3, 4}, MouseButton::right, 1)}));
}

TEST_F(InputDriverTest, countsTheClickStateUpThroughASeries)
{
    auto const left = MouseButton::left;

    EXPECT_EQ(events(driver.click({1, 2}, left, 3, {})),
              (std::vector{mouse(Kind::down, {1, 2}, left, 1), mouse(Kind::up, {1, 2}, left, 1),
                           mouse(Kind::down, {1, 2}, left, 2), mouse(Kind::up, {1, 2}, left, 2),
                           mouse(Kind::down, {1, 2}, left, 3), mouse(Kind::up, {1, 2}, left, 3)}));
}

TEST_F(InputDriverTest, clicksOnceForACountBelowOne)
{
    EXPECT_EQ(events(driver.click({1, 2}, MouseButton::left, 0, {})).size(), 2u);
    EXPECT_EQ(events(driver.click({1, 2}, MouseButton::left, -7, {})).size(), 4u);
    EXPECT_EQ(
        events(driver.click({1, 2}, MouseButton::left, std::numeric_limits<std::int64_t>::min(), {})).size(),
        6u);
}

TEST_F(InputDriverTest, setsTheUnionOfTheModifiersOnBothEventsOfAClick)
{
    ModifierFlags const flags{.cmd = true, .shift = true};

    EXPECT_EQ(
        events(driver.click({1, 2}, MouseButton::left, 1, {Modifier::shift, Modifier::cmd, Modifier::shift})),
        (std::vector{mouse(Kind::down, {1, 2}, MouseButton::left, 1, flags),
                     mouse(Kind::up, {1, 2}, MouseButton::left, 1, flags)}));
}

TEST_F(InputDriverTest, knowsTheFlagOfEachModifier)
{
    auto const flagsOf = [this](Modifier modifier) {
        return std::get<MouseEvent>(events(driver.click({}, MouseButton::left, 1, {modifier})).back()).flags;
    };

    EXPECT_EQ(flagsOf(Modifier::cmd), (ModifierFlags{.cmd = true}));
    EXPECT_EQ(flagsOf(Modifier::shift), (ModifierFlags{.shift = true}));
    EXPECT_EQ(flagsOf(Modifier::alt), (ModifierFlags{.alt = true}));
    EXPECT_EQ(flagsOf(Modifier::ctrl), (ModifierFlags{.ctrl = true}));
    EXPECT_EQ(flagsOf(Modifier::fn), (ModifierFlags{.fn = true}));
}

TEST_F(InputDriverTest, dropsTheRemainingClicksWhenAnEventCannotBeMade)
{
    platform.posting.refusesAfter = 3;

    EXPECT_EQ(events(driver.click({1, 2}, MouseButton::left, 5, {})).size(), 3u);
    EXPECT_EQ(times.size(), 4u); // No event follows the refused one.
}

TEST_F(InputDriverTest, endsAClickOfAnyCountWhenEventsAreRefused)
{
    platform.posting.refusesAfter = 0;

    EXPECT_TRUE(events(driver.click({1, 2}, MouseButton::left, std::numeric_limits<std::int64_t>::max(), {}))
                    .empty());
}

TEST_F(InputDriverTest, pressesAndReleasesWithoutFlagsOrClickState)
{
    EXPECT_EQ(events(driver.mouseDown({1, 2}, MouseButton::middle)),
              std::vector{mouse(Kind::down, {1, 2}, MouseButton::middle)});
    EXPECT_EQ(events(driver.mouseUp({3, 4}, MouseButton::right)).back(),
              mouse(Kind::up, {3, 4}, MouseButton::right));
    EXPECT_EQ(posted.size(), 2u);
}

TEST(DragPlan, cutsTheDurationUp)
{
    EXPECT_EQ(DragPlan::of(0), (DragPlan{2, 1}));
    EXPECT_EQ(DragPlan::of(1), (DragPlan{2, 1}));
    EXPECT_EQ(DragPlan::of(31), (DragPlan{2, 15}));
    EXPECT_EQ(DragPlan::of(32), (DragPlan{2, 16}));
    EXPECT_EQ(DragPlan::of(47), (DragPlan{2, 23}));
    EXPECT_EQ(DragPlan::of(48), (DragPlan{3, 16}));
    EXPECT_EQ(DragPlan::of(300), (DragPlan{18, 16}));
    EXPECT_EQ(DragPlan::of(959), (DragPlan{59, 16}));
    EXPECT_EQ(DragPlan::of(960), (DragPlan{60, 16}));
    EXPECT_EQ(DragPlan::of(6000), (DragPlan{60, 100}));
}

TEST(DragPlan, takesTheLeastForANegativeDuration)
{
    EXPECT_EQ(DragPlan::of(-1), (DragPlan{2, 1}));
    EXPECT_EQ(DragPlan::of(-6000), (DragPlan{2, 1}));
    EXPECT_EQ(DragPlan::of(std::numeric_limits<std::int64_t>::min()), (DragPlan{2, 1}));
}

TEST_F(InputDriverTest, dragsByPressStepsAndReleaseExactlyAtTheEnd)
{
    beginDrag({0, 100}, {0.3, 40}, MouseButton::left, 48);
    platform.time.advance(1s);

    ASSERT_EQ(posted.size(), 5u);
    EXPECT_EQ(posted[0], mouse(Kind::down, {0, 100}));
    EXPECT_EQ(posted[1], mouse(Kind::dragged, {0.3 * (1.0 / 3.0), 100 - 60 * (1.0 / 3.0)}));
    EXPECT_EQ(posted[2], mouse(Kind::dragged, {0.3 * (2.0 / 3.0), 100 - 60 * (2.0 / 3.0)}));
    EXPECT_EQ(posted[3], mouse(Kind::dragged, {0.3, 40}));
    EXPECT_EQ(posted[4], mouse(Kind::up, {0.3, 40}));
}

TEST_F(InputDriverTest, waitsTheStepDelayAfterEachStepOfADrag)
{
    beginDrag({0, 0}, {10, 10}, MouseButton::left, 31);
    platform.time.advance(1s);

    EXPECT_EQ(times, (std::vector<Duration>{0ms, 0ms, 15ms, 30ms}));
    EXPECT_EQ(finished, 30ms);
}

TEST_F(InputDriverTest, keepsTheButtonOnEveryEventOfADrag)
{
    beginDrag({0, 0}, {10, 10}, MouseButton::middle, 0);
    platform.time.advance(1s);

    ASSERT_EQ(posted.size(), 4u);
    for (PostedEvent const& event : posted)
        EXPECT_EQ(std::get<MouseEvent>(event).button, MouseButton::middle);
}

TEST_F(InputDriverTest, postsAtMostSixtyStepsForALongDrag)
{
    beginDrag({0, 0}, {10, 10}, MouseButton::left, 6000);
    platform.time.advance(5999ms);
    EXPECT_FALSE(finished);

    platform.time.advance(1ms);

    EXPECT_EQ(finished, 6s);
    EXPECT_EQ(posted.size(), 62u);
}

TEST_F(InputDriverTest, releasesTheButtonOfACancelledDrag)
{
    TaskHandle drag = beginDrag({0, 0}, {10, 0}, MouseButton::left, 300);
    drag.cancel();
    platform.settle();
    platform.time.advance(1s);

    ASSERT_EQ(posted.size(), 20u);
    EXPECT_EQ(posted.back(), mouse(Kind::up, {10, 0}));
    EXPECT_EQ(finished, 17 * 16ms); // Only the cancelled wait ended early.
}

TEST_F(InputDriverTest, endsADragWhenAnEventCannotBeMade)
{
    platform.posting.refusesAfter = 2;
    beginDrag({0, 0}, {10, 0}, MouseButton::left, 300);
    platform.time.advance(1s);

    EXPECT_EQ(posted.size(), 2u);
    EXPECT_EQ(times.size(), 3u);
    EXPECT_EQ(finished, 16ms);
}

TEST_F(InputDriverTest, movesThePointerBeforeItScrolls)
{
    EXPECT_EQ(events(driver.scroll({5, 6}, 7.9, -8.9)),
              (std::vector<PostedEvent>{mouse(Kind::moved, {5, 6}), ScrollEvent{.dy = -8, .dx = 7}}));
}

TEST_F(InputDriverTest, postsAZeroScroll)
{
    EXPECT_EQ(events(driver.scroll({5, 6}, 0, 0)),
              (std::vector<PostedEvent>{mouse(Kind::moved, {5, 6}), ScrollEvent{}}));
}

TEST(WheelPixels, cutsTowardZero)
{
    EXPECT_EQ(wheelPixels(1.9), 1);
    EXPECT_EQ(wheelPixels(-1.9), -1);
    EXPECT_EQ(wheelPixels(0.5), 0);
    EXPECT_EQ(wheelPixels(-0.0), 0);
}

TEST(WheelPixels, keepsNumbersThatNoWheelHasAtTheEdge)
{
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();

    EXPECT_EQ(wheelPixels(2147483647.0), most);
    EXPECT_EQ(wheelPixels(2147483648.0), most);
    EXPECT_EQ(wheelPixels(-2147483648.0), least);
    EXPECT_EQ(wheelPixels(-1e300), least);
    EXPECT_EQ(wheelPixels(std::numeric_limits<double>::infinity()), most);
    EXPECT_EQ(wheelPixels(-std::numeric_limits<double>::infinity()), least);
    EXPECT_EQ(wheelPixels(std::nan("")), 0);
}

TEST_F(InputDriverTest, typesATextOfTwentyCharactersAsOneChunk)
{
    beginTyping("12345678901234567890");

    EXPECT_EQ(posted, textPairs({"12345678901234567890"}));
}

TEST_F(InputDriverTest, typesATextOfTwentyOneCharactersAsTwoChunks)
{
    beginTyping("12345678901234567890x");
    platform.time.advance(1s);

    EXPECT_EQ(posted, textPairs({"12345678901234567890", "x"}));
}

TEST_F(InputDriverTest, waitsFourMillisecondsAfterEachChunkTheLastOneToo)
{
    beginTyping(std::string(41, 'a'));
    platform.time.advance(1s);

    EXPECT_EQ(times, (std::vector<Duration>{0ms, 0ms, 4ms, 4ms, 8ms, 8ms}));
    EXPECT_EQ(finished, 12ms);
}

TEST_F(InputDriverTest, neverSplitsACharacter)
{
    std::string const family =
        "👨‍👩‍👧‍👦"; // One user-perceived character of seven code points.
    beginTyping("1234567890123456789" + family + "e\u0301");
    platform.time.advance(1s);

    EXPECT_EQ(posted, textPairs({"1234567890123456789" + family, "e\u0301"}));
}

TEST_F(InputDriverTest, postsOneEmptyPairForAnEmptyText)
{
    beginTyping("");
    platform.time.advance(1s);

    EXPECT_EQ(posted, textPairs({""}));
    EXPECT_EQ(finished, 4ms);
}

TEST_F(InputDriverTest, announcesTheWholeTextBeforeTheFirstChunkAndItsEnd)
{
    std::string const text(50, 'z');
    platform.posting.onPost = [&](PostedEvent const&) {
        EXPECT_EQ(platform.posting.texts, std::vector{text});
        EXPECT_EQ(platform.posting.endedTexts, 0);
    };
    beginTyping(text);
    platform.time.advance(1s);

    EXPECT_EQ(platform.posting.endedTexts, 1);
}

TEST_F(InputDriverTest, stopsQuietlyInTheMiddleOfATextAndStillEndsIt)
{
    for (std::size_t const made : {0u, 1u, 2u, 3u}) {
        platform.posting.posted.clear();
        platform.posting.endedTexts = 0;
        platform.posting.refusesAfter = made;

        beginTyping(std::string(100, 'a'));
        platform.time.advance(1s);

        EXPECT_EQ(posted.size(), made);
        EXPECT_EQ(platform.posting.endedTexts, 1);
    }
}

TEST_F(InputDriverTest, typesOnWhenAWaitIsCancelled)
{
    TaskHandle typing = beginTyping(std::string(60, 'a'));
    typing.cancel();
    platform.settle();
    platform.time.advance(1s);

    EXPECT_EQ(posted.size(), 6u);
    EXPECT_EQ(finished, 8ms);
}

TEST_F(InputDriverTest, pressesAChordWithItsModifiersAsFlags)
{
    EXPECT_EQ(events(driver.pressKeys({"cmd", "shift", "k"})), chord(40, {.cmd = true, .shift = true}));
    EXPECT_EQ(times, (std::vector<Duration>{0ms, 0ms}));
}

TEST_F(InputDriverTest, knowsTheFlagOfEachModifierOfAChord)
{
    auto const flagsOf = [this](std::string name) {
        return std::get<KeyEvent>(events(driver.pressKeys({std::move(name), "a"})).back()).flags;
    };

    EXPECT_EQ(flagsOf("cmd"), (ModifierFlags{.cmd = true}));
    EXPECT_EQ(flagsOf("shift"), (ModifierFlags{.shift = true}));
    EXPECT_EQ(flagsOf("alt"), (ModifierFlags{.alt = true}));
    EXPECT_EQ(flagsOf("ctrl"), (ModifierFlags{.ctrl = true}));
    EXPECT_EQ(flagsOf("fn"), (ModifierFlags{.fn = true}));
}

TEST_F(InputDriverTest, takesKeyNamesInAnyCase)
{
    EXPECT_EQ(events(driver.pressKeys({"CMD", "Return"})), chord(36, {.cmd = true}));
}

TEST_F(InputDriverTest, pressesOnlyTheLastKeyOfAChord)
{
    EXPECT_EQ(events(driver.pressKeys({"a", "b"})), chord(11));
}

TEST_F(InputDriverTest, takesAModifierAtAnyPlaceOfTheChord)
{
    EXPECT_EQ(events(driver.pressKeys({"a", "ctrl"})), chord(0, {.ctrl = true}));
}

TEST_F(InputDriverTest, pressesNothingWithoutAKey)
{
    EXPECT_TRUE(events(driver.pressKeys({"cmd"})).empty());
    EXPECT_TRUE(events(driver.pressKeys({"cmd", "shift"})).empty());
    EXPECT_TRUE(events(driver.pressKeys({})).empty());
}

TEST_F(InputDriverTest, pressesNothingWhenTheLastKeyIsUnknown)
{
    EXPECT_TRUE(events(driver.pressKeys({"a", "nosuchkey"})).empty());
    EXPECT_TRUE(events(driver.pressKeys({"cmd", "="})).empty());
}

TEST_F(InputDriverTest, pressesTheLastKeyAlthoughAnEarlierOneIsUnknown)
{
    EXPECT_EQ(events(driver.pressKeys({"nosuchkey", "a"})), chord(0));
}

TEST_F(InputDriverTest, postsNoKeyUpWhenTheKeyDownCannotBeMade)
{
    platform.posting.refusesAfter = 0;

    EXPECT_TRUE(events(driver.pressKeys({"a"})).empty());
    EXPECT_EQ(times.size(), 1u);
}

TEST_F(InputDriverTest, returnsThePointersPosition)
{
    platform.posting.pointer = {12, -3};

    EXPECT_EQ(driver.cursorPosition(), (DesktopPoint{12, -3}));
}

} // namespace
} // namespace zelvo
