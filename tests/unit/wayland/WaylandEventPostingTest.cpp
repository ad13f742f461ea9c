#include "platform/linux/wayland/input/WaylandEventPosting.h"

#include "fakes/FakeInputSink.h"
#include "fakes/FakeLendableClipboard.h"
#include "fakes/FakeTextInsertion.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "wire/AgentError.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace zelvo {
namespace {

using Strings = std::vector<std::string>;

std::string keymapText(char const* layout)
{
    xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_rule_names const names{"evdev", "pc105", layout, "", ""};
    xkb_keymap* const keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    std::string const copy(text);
    std::free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return copy;
}

MouseEvent mouse(MouseEvent::Kind kind, DesktopPoint point)
{
    return {.kind = kind, .point = point, .clickState = 1};
}

class WaylandEventPostingTest : public testing::Test {
protected:
    WaylandEventPostingTest()
    {
        layout.monitors.push_back({.id = 1, .name = "DP-1", .area = {100, 50, 800, 600}});
    }

    bool post(PostedEvent event) { return run(io, posting.post(std::move(event))); }
    /// Runs a task that needs time.
    template <class T>
    T take(Task<T> task)
    {
        auto future = asio::co_spawn(io, std::move(task), asio::use_future);
        for (int turn = 0; turn < 400 && future.wait_for(0s) != std::future_status::ready; ++turn) {
            settle(io);
            if (future.wait_for(0s) != std::future_status::ready)
                clock.advance(15ms);
        }
        return future.get();
    }
    /// The window in front reads what is lent to the clipboard when it gets the keys to paste.
    void pasteWorks()
    {
        sink.onEvent = [this](std::string const& event) {
            if (event == "down 47")
                ++*copied.reads;
        };
    }
    /// Types a whole text; gives false as soon as a piece does not arrive. Time passes as it is needed.
    bool type(std::string text)
    {
        auto const body = [this, text]() -> Task<bool> {
            co_await posting.beginText(text);
            PostedEvent const event = TextEvent{.text = text};
            bool const arrived = co_await posting.post(event);
            co_await posting.endText();
            co_return arrived;
        };
        return take(body());
    }

    asio::io_context io;
    ManualClock clock{&io};
    MonitorLayout layout;
    FakeInputSink sink;
    InputSink* door = &sink;
    bool seesWindows = true;
    std::optional<SeatKeymap> keymap = SeatKeymap{.text = keymapText("us"), .group = 0};
    std::optional<LogicalPoint> pointer;
    FakeTextInsertion insertion;
    FakeLendableClipboard copied;
    LentPasteboard clipboard{copied};
    WaylandEventPosting posting{{.contexts = contextsOn(io),
                                 .clock = clock,
                                 .sink = [this] { return door; },
                                 .monitors = [this] { return layout; },
                                 .keymap = [this] { return keymap; },
                                 .pointer = [this] { return pointer; },
                                 .front = [] { return std::optional<std::int32_t>(::getpid()); },
                                 .insertion = insertion,
                                 .clipboard = &clipboard,
                                 .seesWindows = [this] { return seesWindows; }}};
};

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

TEST_F(WaylandEventPostingTest, pastesWhereTextCannotBeInsertedAndPutsTheClipboardBack)
{
    copied.copy("theirs");
    insertion.place = TextInsertion::Place{.isReadable = true};
    insertion.text = "漢字";

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29"}));
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(WaylandEventPostingTest, pastesIntoTerminalsWithShift)
{
    insertion.place = TextInsertion::Place{.isTerminal = true};
    pasteWorks();

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 42", "down 47", "up 47", "up 42", "up 29"}));
}

TEST_F(WaylandEventPostingTest, strikesLineEndsBetweenPastes)
{
    pasteWorks();

    EXPECT_TRUE(type("漢\r\n字\t"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29", "down 28", "up 28", "down 29",
                                 "down 47", "up 47", "up 29", "down 15", "up 15"}));
}

TEST_F(WaylandEventPostingTest, saysWhenPastedTextDoesNotArrive)
{
    insertion.place = TextInsertion::Place{.isReadable = true};
    insertion.text = "something else";

    EXPECT_THROW(type("漢字"), DetailedAgentError);
}

TEST_F(WaylandEventPostingTest, keepsWhatSomebodyCopiedWhileItPasted)
{
    copied.copy("theirs");
    insertion.place = TextInsertion::Place{.isReadable = true};
    run(io, posting.beginText("漢"));
    insertion.text = "漢";
    ASSERT_TRUE(post(TextEvent{.text = "漢"}));
    copied.copy("newer");

    run(io, posting.endText());

    EXPECT_EQ(copied.plain(), "newer");
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

TEST_F(WaylandEventPostingTest, givesTheClipboardBackAsSoonAsThePasteWasRead)
{
    ClipboardForms const theirs{{"image/png", "picture"}, {"text/html", "<b>"}};
    copied.copy(theirs);
    pasteWorks();
    Instant const start = clock.now();

    EXPECT_TRUE(type("漢字"));

    EXPECT_LT(clock.now() - start, 200ms);
    EXPECT_EQ(copied.content, theirs);
    EXPECT_EQ(copied.lent, (Strings{"漢字"}));
}

TEST_F(WaylandEventPostingTest, saysWhenNobodyReadsThePaste)
{
    copied.copy("theirs");

    EXPECT_THROW(type("漢字"), DetailedAgentError);
    EXPECT_EQ(copied.waits, (std::vector<Duration>{1500ms}));
    run(io, posting.endText());

    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(WaylandEventPostingTest, trustsAProgramThatReadsBeforeItHasTheKeys)
{
    copied.copy("theirs");
    copied.onLend = [this] { ++*copied.reads; };

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(WaylandEventPostingTest, leavesTimeToReadWhereNobodySaysWhoReads)
{
    copied.copy("theirs");
    copied.reads.reset();
    Instant const start = clock.now();

    EXPECT_TRUE(type("漢字"));

    EXPECT_GE(clock.now() - start, 1500ms);
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(WaylandEventPostingTest, replacesNothingThatItCannotPutBack)
{
    copied.copy("theirs");
    copied.canKeep = false;

    EXPECT_THROW(type("漢字"), DetailedAgentError);

    EXPECT_TRUE(copied.lent.empty());
    EXPECT_TRUE(sink.log.empty());
}

TEST_F(WaylandEventPostingTest, keepsWhatSomebodyCopiesBetweenPieces)
{
    copied.copy("theirs");
    pasteWorks();
    run(io, posting.beginText("漢字"));
    TextEvent const first{.text = "漢"};
    EXPECT_TRUE(take(posting.post(first)));
    copied.copy("newer");
    TextEvent const second{.text = "字"};

    EXPECT_TRUE(take(posting.post(second)));
    take(posting.endText());

    EXPECT_EQ(copied.plain(), "newer");
}

/// Texts that must end in the middle.
class StoppedTextTest : public WaylandEventPostingTest {
protected:
    StoppedTextTest()
    {
        posting.setMayContinue([this]() -> Task<bool> { co_return mayContinue; });
    }
    /// Calls `happen` after an event of this name.
    void after(std::string const& name, std::function<void()> happen)
    {
        sink.onEvent = [this, name, happen = std::move(happen)](std::string const& event) {
            if (event == "down 47")
                ++*copied.reads;
            if (event == name)
                happen();
        };
    }

    bool mayContinue = true; ///< false as after a lock of the screen, a pause, or a question that opens
};

TEST_F(StoppedTextTest, strikesNoKeyAfterTheGateHasClosed)
{
    after("up 30", [this] { mayContinue = false; });

    EXPECT_FALSE(type("a\nb\n"));

    EXPECT_EQ(sink.log, (Strings{"down 30", "up 30"}));
}

TEST_F(StoppedTextTest, pastesNothingAfterTheGateHasClosed)
{
    copied.copy("theirs");
    after("up 28", [this] { mayContinue = false; });

    EXPECT_FALSE(type("漢\n字\n"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29", "down 28", "up 28"}));
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(StoppedTextTest, commitsNoLineAfterTheGateHasClosed)
{
    sink.hasKeymap = true;
    after("type a", [this] { mayContinue = false; });

    EXPECT_FALSE(type("a\nb"));

    EXPECT_EQ(sink.log, (Strings{"type a"}));
}

TEST_F(StoppedTextTest, typesTheNextTextWhenTheGateIsOpenAgain)
{
    mayContinue = false;
    EXPECT_FALSE(type("a"));
    mayContinue = true;

    EXPECT_TRUE(type("a"));
}

TEST_F(StoppedTextTest, endsWithTheGrantAndGivesTheClipboardBack)
{
    copied.copy("theirs");
    after("up 28", [this] { sink.ready = false; });

    EXPECT_FALSE(type("漢\n字"));

    EXPECT_EQ(copied.lent, (Strings{"漢"}));
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(StoppedTextTest, typesNothingWithTheKeysOfAnotherLayout)
{
    keymap = SeatKeymap{.text = keymapText("us,ru"), .group = 0};
    after("up 30", [this] {
        keymap->group = 1;
        clock.jump(11ms);
    });

    EXPECT_THROW(type("ab"), DetailedAgentError);

    EXPECT_EQ(sink.log, (Strings{"down 30", "up 30"}));
}

TEST_F(StoppedTextTest, pastesWithTheKeyOfTheLayoutOfTheMoment)
{
    keymap->text = keymapText("us");
    after("up 28", [this] { keymap->text = keymapText("dvorak"); });
    insertion.place = TextInsertion::Place{.isReadable = true};
    insertion.text = "漢";

    EXPECT_TRUE(type("漢\n漢"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29", "down 28", "up 28", "down 29",
                                 "down 52", "up 52", "up 29"}));
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
