#include "unit/wayland/PostingFixture.h"

namespace zelvo {
namespace {

MouseEvent mouse(MouseEvent::Kind kind, DesktopPoint point)
{
    return {.kind = kind, .point = point, .clickState = 1};
}

/// Nobody can say whom an event would reach.
TEST_F(WaylandEventPostingTest, makesNothingWhileNobodySeesTheWindows)
{
    KeyEvent key{.kind = KeyEvent::Kind::down, .keyCode = 0};
    EXPECT_TRUE(post(mouse(MouseEvent::Kind::down, {0, 0})));
    EXPECT_TRUE(post(key));
    sink.log.clear();

    seesWindows = false;

    EXPECT_FALSE(post(mouse(MouseEvent::Kind::moved, {1, 1})));
    EXPECT_FALSE(post(mouse(MouseEvent::Kind::dragged, {1, 1})));
    EXPECT_THROW(post(mouse(MouseEvent::Kind::down, {1, 1})), AgentError);
    EXPECT_THROW(post(key), AgentError);
    EXPECT_THROW(post(ScrollEvent{.dy = 1}), AgentError);
    EXPECT_THROW(type("a"), AgentError);
    EXPECT_EQ(sink.log, Strings());

    EXPECT_TRUE(post(mouse(MouseEvent::Kind::up, {1, 1}))); // What is held is let go all the same.
    run(io, posting.releaseAll());
    EXPECT_EQ(sink.log, (Strings{"let go 272", "up 30"}));
}

TEST_F(WaylandEventPostingTest, movesToTheCompositorsCoordinates)
{
    EXPECT_TRUE(post(mouse(MouseEvent::Kind::moved, {5, 6})));

    EXPECT_EQ(sink.log, (Strings{"move 105,56"}));
}

TEST_F(WaylandEventPostingTest, clicksWithTheKernelsButtons)
{
    MouseEvent down = mouse(MouseEvent::Kind::down, {0, 0});
    down.button = MouseButton::right;
    MouseEvent up = down;
    up.kind = MouseEvent::Kind::up;

    EXPECT_TRUE(post(down));
    EXPECT_TRUE(post(up));

    EXPECT_EQ(sink.log, (Strings{"move 100,50", "press 273", "move 100,50", "let go 273"}));
}

TEST_F(WaylandEventPostingTest, pressesModifiersAroundAKey)
{
    KeyEvent const down{.keyCode = 8, .flags = {.cmd = true, .shift = true}}; // C
    KeyEvent up = down;
    up.kind = KeyEvent::Kind::up;

    EXPECT_TRUE(post(down));
    EXPECT_TRUE(post(up));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 42", "down 46", "up 46", "up 42", "up 29"}));
}

TEST_F(WaylandEventPostingTest, turnsTheWheelDownForNegativeDistances)
{
    EXPECT_TRUE(post(ScrollEvent{.dy = -106, .dx = 53}));

    EXPECT_EQ(sink.log, (Strings{"wheel 1,0", "wheel 1,0", "wheel 0,-1"}));
}

TEST_F(WaylandEventPostingTest, releasesEverythingThatIsHeld)
{
    post(mouse(MouseEvent::Kind::down, {0, 0}));
    post(KeyEvent{.keyCode = 8, .flags = {.alt = true}});
    sink.log.clear();

    run(io, posting.releaseAll());

    EXPECT_EQ(sink.log, (Strings{"up 46", "let go 272", "up 56"}));
}

TEST_F(WaylandEventPostingTest, makesNothingWithoutADoor)
{
    door = nullptr;

    EXPECT_FALSE(post(mouse(MouseEvent::Kind::moved, {0, 0})));
    EXPECT_FALSE(post(KeyEvent{.keyCode = 8}));
    EXPECT_FALSE(post(ScrollEvent{.dy = 53}));
    EXPECT_FALSE(type("text"));
}

TEST_F(WaylandEventPostingTest, holdsNothingDownThatBrokeWithTheDoor)
{
    post(mouse(MouseEvent::Kind::down, {0, 0}));
    sink.ready = false;
    run(io, posting.releaseAll());
    sink.ready = true;
    sink.log.clear();

    run(io, posting.releaseAll());

    EXPECT_TRUE(sink.log.empty());
}

TEST_F(WaylandEventPostingTest, waitsBeforeAClickThatMustNotBecomeADoubleClick)
{
    post(mouse(MouseEvent::Kind::down, {0, 0}));
    post(mouse(MouseEvent::Kind::up, {0, 0}));
    bool isReady = false;

    spawn(io.get_executor(), [&]() -> Task<> {
        PostedEvent const next = mouse(MouseEvent::Kind::down, {1, 1});
        co_await posting.ready(next);
        isReady = true;
    });

    clock.advance(499ms);
    EXPECT_FALSE(isReady);
    clock.advance(10ms);
    EXPECT_TRUE(isReady);
}

TEST_F(WaylandEventPostingTest, typesWithAKeymapOfItsOwnWhereThereIsOne)
{
    sink.hasKeymap = true;

    EXPECT_TRUE(type("Привет 😀"));

    EXPECT_EQ(sink.log, (Strings{"type Привет 😀"}));
}

TEST_F(WaylandEventPostingTest, typesWithTheKeysOfTheLayout)
{
    EXPECT_TRUE(type("aB\n"));

    EXPECT_EQ(sink.log,
              (Strings{"down 30", "up 30", "down 42", "down 48", "up 48", "up 42", "down 28", "up 28"}));
}

TEST_F(WaylandEventPostingTest, typesWithTheActiveLayoutOfSeveral)
{
    keymap = SeatKeymap{.text = keymapText("us,ru"), .group = 1};

    EXPECT_TRUE(type("ф"));

    EXPECT_EQ(sink.log, (Strings{"down 30", "up 30"}));
}

TEST_F(WaylandEventPostingTest, trustsNoKeysIfTheActiveLayoutIsUnknown)
{
    keymap = SeatKeymap{.text = keymapText("us,ru")};
    insertion.place = TextInsertion::Place{.isEditable = true, .isReadable = true};

    EXPECT_TRUE(type("plain"));

    EXPECT_TRUE(sink.log.empty());
    EXPECT_EQ(insertion.text, "plain");
}

TEST_F(WaylandEventPostingTest, writesCapitalsRightWhileCapsLockIsOn)
{
    keymap->hasCapsLock = true;

    EXPECT_TRUE(type("A"));

    EXPECT_EQ(sink.log, (Strings{"down 30", "up 30"}));
}

TEST_F(WaylandEventPostingTest, insertsWhatTheLayoutLacks)
{
    insertion.place = TextInsertion::Place{.isEditable = true, .isReadable = true};

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(insertion.text, "漢字");
    EXPECT_TRUE(sink.log.empty());
}

TEST_F(WaylandEventPostingTest, saysWhenInsertedTextIsNotThere)
{
    insertion.place = TextInsertion::Place{.isEditable = true, .isReadable = true};
    insertion.loses = true;

    EXPECT_THROW(type("漢字"), DetailedAgentError);
}

TEST_F(WaylandEventPostingTest, insertsNothingAnyMoreOnceTheGrantHasEnded)
{
    insertion.place = TextInsertion::Place{.isEditable = true, .isReadable = true};
    run(io, posting.beginText("漢字"));
    sink.ready = false;

    EXPECT_FALSE(post(TextEvent{.text = "漢"}));
    EXPECT_EQ(insertion.text, "");
}

TEST_F(WaylandEventPostingTest, givesLineEndsInOneFormAndNoOtherControlCharacters)
{
    sink.hasKeymap = true;

    EXPECT_TRUE(type("a\r\nb\rc\x01\x7F\td"));

    EXPECT_EQ(sink.log, (Strings{"type a", "type \nb", "type \nc\td"}));
}

TEST_F(WaylandEventPostingTest, refusesATextThatNothingCanCarry)
{
    copied.refuses = true;
    WaylandEventPosting blind{{.contexts = contextsOn(io),
                               .clock = clock,
                               .sink = [this] { return door; },
                               .monitors = [this] { return layout; },
                               .keymap = [this] { return keymap; },
                               .pointer = [this] { return pointer; },
                               .front = [] { return std::nullopt; },
                               .insertion = insertion}};

    EXPECT_THROW(run(io, blind.beginText("漢字")), DetailedAgentError);
    EXPECT_TRUE(sink.log.empty());
}

TEST_F(WaylandEventPostingTest, stopsAtAKeyThatTheDoorRefuses)
{
    sink.failsAfter = 4;

    EXPECT_THROW(type("abc"), DetailedAgentError);

    EXPECT_EQ(sink.log.size(), 4U);
}

TEST_F(WaylandEventPostingTest, saysAtOnceThatNoChordCanBePressedOnAKeymapThatIsNone)
{
    keymap->text = "xkb_keymap { broken";
    Instant const start = clock.now();

    EXPECT_THROW(post(KeyEvent{.keyCode = 8, .flags = {.cmd = true}}), DetailedAgentError);

    EXPECT_EQ(clock.now(), start);
    EXPECT_TRUE(sink.log.empty());
    EXPECT_TRUE(post(KeyEvent{.keyCode = 8}));
}

TEST_F(WaylandEventPostingTest, saysThatNoChordCanBePressedWithoutAKeymap)
{
    keymap.reset();
    KeyEvent const copy{.keyCode = 8, .flags = {.cmd = true}};
    MouseEvent click = mouse(MouseEvent::Kind::down, {0, 0});
    click.flags = {.cmd = true};

    EXPECT_THROW(take(posting.post(copy)), DetailedAgentError);
    EXPECT_THROW(take(posting.post(click)), DetailedAgentError);

    EXPECT_EQ(std::ranges::count(sink.log, "down 46"), 0);
    EXPECT_EQ(std::ranges::count(sink.log, "press 272"), 0);
}

TEST_F(WaylandEventPostingTest, pressesAChordOnceTheFirstKeyBroughtTheKeymap)
{
    auto const known = std::exchange(keymap, std::nullopt);
    sink.onEvent = [&](std::string const&) { keymap = known; };
    KeyEvent const copy{.keyCode = 8, .flags = {.cmd = true}};

    EXPECT_TRUE(take(posting.post(copy)));

    EXPECT_EQ(sink.log.back(), "down 46");
}

TEST_F(WaylandEventPostingTest, knowsThePointerFromTheCompositorElseFromItsOwnMoves)
{
    EXPECT_EQ(posting.pointerLocation(), (DesktopPoint{0, 0}));

    post(mouse(MouseEvent::Kind::moved, {5, 6}));
    EXPECT_EQ(posting.pointerLocation(), (DesktopPoint{5, 6}));

    pointer = LogicalPoint{110, 60};
    EXPECT_EQ(posting.pointerLocation(), (DesktopPoint{10, 10}));
}

TEST_F(WaylandEventPostingTest, readsChordsByThePositionOfKeys)
{
    auto const chords = run(io, posting.chordsOf(KeyEvent{.keyCode = 8, .flags = {.cmd = true}}));

    ASSERT_FALSE(chords.empty());
    EXPECT_EQ(chords.front().back(), "c");
}

} // namespace
} // namespace zelvo
