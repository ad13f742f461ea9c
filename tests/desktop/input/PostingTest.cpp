#include "desktop/input/EventWindow.h"
#include "desktop/input/InputFixture.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint16_t keyA = 0;
constexpr std::uint8_t personsShift = 62; // The right one.
constexpr std::uint16_t shiftMask = 0x01;
constexpr std::uint16_t controlMask = 0x04;
constexpr std::uint16_t firstButtonMask = 0x100;

class Posting : public testing::Test {
protected:
    std::vector<std::string> seen()
    {
        fixture.await(fixture.posting->drained());
        return window.take();
    }

    MouseEvent mouse(MouseEvent::Kind kind, MouseButton button = MouseButton::left, ModifierFlags flags = {})
    {
        return {kind, {40, 30}, button, 0, flags};
    }

    InputFixture fixture{{.width = 1280, .height = 800, .windowManager = false, .sessionBus = false}};
    EventWindow window{fixture.desktop.display()};
};

TEST_F(Posting, knowsTheThreeButtons)
{
    for (auto const button : {MouseButton::left, MouseButton::right, MouseButton::middle}) {
        EXPECT_TRUE(fixture.post(mouse(MouseEvent::Kind::down, button)));
        EXPECT_TRUE(fixture.post(mouse(MouseEvent::Kind::up, button)));
    }

    EXPECT_THAT(seen(), ElementsAre("button+1", "button-1", "button+3", "button-3", "button+2", "button-2"));
    EXPECT_EQ(window.lastX, 40);
    EXPECT_EQ(window.lastY, 30);
}

TEST_F(Posting, turnsPointsIntoPixels)
{
    fixture.layout = {.origin = {100, 200}, .widthPixels = 800, .heightPixels = 600, .scale = 2};

    fixture.post(mouse(MouseEvent::Kind::down));
    fixture.post(mouse(MouseEvent::Kind::up));

    EXPECT_THAT(seen(), ElementsAre("button+1", "button-1"));
    EXPECT_EQ(window.lastX, 180);
    EXPECT_EQ(window.lastY, 260);
    EXPECT_EQ(fixture.posting->pointerLocation(), (DesktopPoint{40, 30}));
}

TEST_F(Posting, pressesModifiersAroundAKey)
{
    fixture.chord(keyA, {.cmd = true, .shift = true, .alt = true, .ctrl = true, .fn = true});

    EXPECT_THAT(seen(),
                ElementsAre("key+37", "key+64", "key+50", "key+38", "key-38", "key-50", "key-64", "key-37"));
    EXPECT_EQ(fixture.heldMask(), 0);
}

TEST_F(Posting, pressesModifiersAroundAClick)
{
    fixture.post(mouse(MouseEvent::Kind::down, MouseButton::left, {.ctrl = true}));
    EXPECT_EQ(fixture.heldMask(), controlMask | firstButtonMask);
    fixture.post(mouse(MouseEvent::Kind::up, MouseButton::left, {.ctrl = true}));

    EXPECT_THAT(seen(), ElementsAre("key+37", "button+1", "button-1", "key-37"));
    EXPECT_EQ(fixture.heldMask(), 0);
}

TEST_F(Posting, leavesAModifierThatThePersonHoldsAlone)
{
    fixture.personKey(personsShift, true);
    window.take();

    fixture.chord(keyA, {.shift = true, .ctrl = true});

    EXPECT_THAT(seen(), ElementsAre("key+37", "key+38", "key-38", "key-37"));
    EXPECT_EQ(fixture.heldMask(), shiftMask);
    fixture.personKey(personsShift, false);
}

TEST_F(Posting, findsModifiersThatTheLayoutHasMoved)
{
    fixture.desktop.run({"setxkbmap", "-layout", "us", "-option", "ctrl:swapcaps"});

    fixture.chord(keyA, {.ctrl = true});

    EXPECT_THAT(seen(), ElementsAre("key+66", "key+38", "key-38", "key-66"));
}

TEST_F(Posting, scrollsByClicksOfTheWheel)
{
    fixture.post(ScrollEvent{.dy = -106});
    EXPECT_THAT(seen(), ElementsAre("button+5", "button-5", "button+5", "button-5"));
    fixture.post(ScrollEvent{.dy = 10, .dx = -1});
    EXPECT_THAT(seen(), ElementsAre("button+4", "button-4", "button+7", "button-7"));
    fixture.post(ScrollEvent{.dy = std::numeric_limits<std::int32_t>::min()});
    EXPECT_EQ(seen().size(), 400U);
    fixture.post(ScrollEvent{});
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(Posting, refusesAKeyThatDoesNotExist)
{
    EXPECT_FALSE(fixture.post(KeyEvent{KeyEvent::Kind::down, 10, {.ctrl = true}}));

    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(Posting, releasesAllThatItHolds)
{
    fixture.post(mouse(MouseEvent::Kind::down, MouseButton::left, {.alt = true}));
    fixture.post(KeyEvent{KeyEvent::Kind::down, keyA, {.shift = true}});
    seen();

    fixture.await(fixture.posting->releaseAll());

    EXPECT_THAT(seen(), ElementsAre("key-38", "button-1", "key-50", "key-64"));
    EXPECT_EQ(fixture.heldMask(), 0);
    fixture.await(fixture.posting->releaseAll());
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(Posting, typesNoCommandsWhileThePersonHoldsControl)
{
    fixture.personKey(37, true);
    window.take();

    EXPECT_FALSE(fixture.post(TextEvent{KeyEvent::Kind::down, "w"}));

    EXPECT_THAT(seen(), IsEmpty());
    fixture.personKey(37, false);
}

TEST_F(Posting, typesOnWhenThePersonLetsGoOfControl)
{
    fixture.personKey(37, true);
    std::thread person([this] {
        std::this_thread::sleep_for(300ms);
        fixture.personKey(37, false);
    });

    EXPECT_TRUE(fixture.post(TextEvent{KeyEvent::Kind::down, "w"}));

    person.join();
    EXPECT_THAT(seen(), ElementsAre("key+37", "key-37", "key+25", "key-25"));
}

TEST_F(Posting, typesAnEmptyTextAndControlCharacters)
{
    fixture.typeText("");
    fixture.typeText(std::string("\0\x1B\x7F", 3));

    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(Posting, keepsFirstClicksApartByTheDesktopsTime)
{
    Instant const start = fixture.clock.now();
    fixture.click({40, 30}, 3); // Within one action nothing waits.
    Duration const together = fixture.clock.now() - start;
    fixture.click({60, 30}); // Far enough away.
    Duration const elsewhere = fixture.clock.now() - start;
    fixture.click({60, 30});
    Duration const apart = fixture.clock.now() - start;

    EXPECT_LT(together, 300ms);
    EXPECT_LT(elsewhere, 300ms);
    EXPECT_GE(apart, 500ms);
    EXPECT_EQ(seen().size(), 10U);
}

/// A settings manager with one setting.
class SettingsManager {
public:
    SettingsManager(std::string const& display, std::uint8_t doubleClickTime) : x(connectTo(display))
    {
        xcb_window_t const window = xcb_generate_id(x.get());
        xcb_create_window(x.get(), 0, window, screenOf(x.get())->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        std::string settings("\0\0\0\0\1\0\0\0\1\0\0\0\0\0\x13\0Net/DoubleClickTime\0\0\0\0\0", 40);
        settings += std::string{static_cast<char>(doubleClickTime), 0, 0, 0};
        xcb_change_property(x.get(), XCB_PROP_MODE_REPLACE, window, atomOf(x.get(), "_XSETTINGS_SETTINGS"),
                            atomOf(x.get(), "_XSETTINGS_SETTINGS"), 8,
                            static_cast<std::uint32_t>(settings.size()), settings.data());
        xcb_set_selection_owner(x.get(), window, atomOf(x.get(), "_XSETTINGS_S0"), XCB_CURRENT_TIME);
        syncWith(x.get());
    }

private:
    XConnection x;
};

TEST_F(Posting, asksTheSettingsManagerForTheTime)
{
    SettingsManager const manager(fixture.desktop.display(), 120);
    fixture.click({40, 30});
    Instant const start = fixture.clock.now();

    fixture.click({40, 30});

    EXPECT_GE(fixture.clock.now() - start, 110ms);
    EXPECT_LT(fixture.clock.now() - start, 400ms);
}

TEST(PostingWithoutAServer, makesNothing)
{
    ::setenv("DISPLAY", ":59999", 1);
    LiveContexts live;
    LinuxClock clock(live.contexts().agent);
    X11EventPosting posting(live.contexts(), clock, [] { return DisplayLayout{}; });

    EXPECT_FALSE(live.run(posting.post(ScrollEvent{.dy = 1})));
    EXPECT_FALSE(live.run(posting.post(TextEvent{KeyEvent::Kind::down, "a"})));
    live.run(posting.beginText("a"));
    live.run(posting.endText());
    live.run(posting.releaseAll());
    live.run(posting.drained());
    EXPECT_EQ(posting.pointerLocation(), DesktopPoint{});
    live.stop();
}

TEST_F(Posting, makesNothingOnceTheServerIsGone)
{
    pid_t const server =
        fixture.desktop.start({"sh", "-c", "exec Xvfb -displayfd 1 -nolisten tcp 2>/dev/null"});
    require("the server",
            [&] { return fixture.desktop.processes().output(server).find('\n') != std::string::npos; });
    std::string const number = fixture.desktop.processes().output(server);
    ::setenv("DISPLAY", (":" + number.substr(0, number.find('\n'))).c_str(), 1);
    fixture.restartPosting();
    ASSERT_TRUE(fixture.post(mouse(MouseEvent::Kind::down)));

    fixture.desktop.processes().end(server, SIGKILL);

    EXPECT_FALSE(fixture.post(mouse(MouseEvent::Kind::up)));
    EXPECT_FALSE(fixture.post(KeyEvent{KeyEvent::Kind::down, keyA, {.ctrl = true}}));
    EXPECT_FALSE(fixture.post(TextEvent{KeyEvent::Kind::down, "a"}));
    fixture.await(fixture.posting->beginText("я"));
    fixture.await(fixture.posting->endText());
    fixture.await(fixture.posting->releaseAll());
    EXPECT_EQ(fixture.posting->pointerLocation(), DesktopPoint{});
}

TEST_F(Posting, readsTheChordsOfTheLayoutOfTheMoment)
{
    constexpr std::uint16_t semicolon = 41;
    KeyEvent const event{KeyEvent::Kind::down, semicolon, {.ctrl = true}};
    std::vector<std::string> const save{"cmd", "s"};
    std::vector<std::string> const named{"cmd", "semicolon"};

    EXPECT_THAT(fixture.await(fixture.posting->chordsOf(event)), ElementsAre(named));
    fixture.desktop.run({"setxkbmap", "-layout", "us", "-variant", "dvorak"});
    EXPECT_THAT(fixture.await(fixture.posting->chordsOf(event)), ElementsAre(save));
    fixture.desktop.run({"setxkbmap", "-layout", "us,us", "-variant", ",dvorak"});
    EXPECT_THAT(fixture.await(fixture.posting->chordsOf(event)), ElementsAre(named, save));
}

} // namespace
} // namespace zelvo::test
