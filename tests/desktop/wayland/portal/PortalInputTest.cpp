#include "desktop/wayland/portal/GnomePortal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

namespace zelvo::test {
namespace {

using State = DesktopGrant::State;
using ::testing::HasSubstr;

class PortalInputTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (auto const reason = PrivateGnome::missing())
            GTEST_SKIP() << *reason;
        if (auto const reason = missingProgram({{"/usr/libexec/xdg-desktop-portal", "xdg-desktop-portal"}}))
            GTEST_SKIP() << *reason;
    }

    /// Waits until the window got all that, and nothing else.
    static void expectNews(PortalClient& client, Listener& listener, std::string const& expected)
    {
        std::string got;
        auto const isThere = [&] {
            std::string const more = listener.news();
            got += (got.empty() || more.empty() ? "" : " ") + more;
            return got.size() >= expected.size();
        };
        try {
            runUntil(client.io, isThere);
        } catch (std::runtime_error const&) {
        }
        EXPECT_EQ(got, expected);
    }
};

TEST_F(PortalInputTest, reachesApplicationsWithTheFirstEvent)
{
    GnomePortal desktop;
    for (int const version : {4, 3}) {
        PortalClient client(desktop.gnome);
        Listener listener(desktop.gnome, version);
        client.grant->ask();
        client.reaches(State::granted);
        PortalHands hands(client, desktop.layout());
        ASSERT_TRUE(hands.input->isReady());

        EXPECT_TRUE(hands.tap(KEY_A));
        EXPECT_TRUE(hands.key(KEY_LEFTCTRL, true));
        EXPECT_TRUE(hands.key(KEY_LEFTSHIFT, true));
        EXPECT_TRUE(hands.tap(KEY_S));
        EXPECT_TRUE(hands.key(KEY_LEFTSHIFT, false));
        EXPECT_TRUE(hands.key(KEY_LEFTCTRL, false));
        expectNews(client, listener,
                   "down a up a down Control_L down Shift_L down S up S up Shift_L up Control_L");

        EXPECT_TRUE(hands.move(300.5, 200));
        EXPECT_TRUE(hands.button(BTN_LEFT, true));
        EXPECT_TRUE(hands.button(BTN_LEFT, false));
        // GTK 3 reports events of a pointer twice if that was added after the window.
        expectNews(client, listener,
                   version == 3 ? "press 1 press 1 release 1 release 1" : "press 1 release 1");
        EXPECT_THAT(listener.all(), HasSubstr("motion 300.5 200.0"));
    }
}

TEST_F(PortalInputTest, dragsAndTurnsTheWheelExactly)
{
    GnomePortal desktop;
    PortalClient client(desktop.gnome);
    Listener listener(desktop.gnome, 4);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHands hands(client, desktop.layout());

    EXPECT_TRUE(hands.move(100, 100));
    EXPECT_TRUE(hands.button(BTN_LEFT, true));
    for (int step = 1; step <= 20; ++step)
        EXPECT_TRUE(hands.move(100 + 10 * step, 100 + 5 * step));
    EXPECT_TRUE(hands.button(BTN_LEFT, false));
    expectNews(client, listener, "press 1 release 1");
    EXPECT_THAT(listener.all(), HasSubstr("motion 300.0 200.0"));

    EXPECT_TRUE(hands.scroll(3, 0));
    EXPECT_TRUE(hands.scroll(-1, 2));
    expectNews(client, listener, "scroll 0 1 scroll 0 1 scroll 0 1 scroll 0 -1 scroll 1 0 scroll 1 0");
    EXPECT_TRUE(hands.button(BTN_RIGHT, true));
    EXPECT_TRUE(hands.button(BTN_RIGHT, false));
    expectNews(client, listener, "press 3 release 3");
    EXPECT_FALSE(runToEnd(client.io, hands.input->type("text")));
}

TEST_F(PortalInputTest, pointsOnEachMonitorAndNowhereElse)
{
    GnomePortal desktop;
    PortalClient client(desktop.gnome);
    Listener listener(desktop.gnome, 4, 1);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHands hands(client, desktop.layout());

    EXPECT_TRUE(hands.move(1280 + 40, 30));
    EXPECT_TRUE(hands.move(1280 + 1023, 767));
    EXPECT_TRUE(hands.button(BTN_LEFT, true));
    EXPECT_TRUE(hands.button(BTN_LEFT, false));
    expectNews(client, listener, "press 1 release 1");
    EXPECT_THAT(listener.all(), HasSubstr("motion 1023.0 767.0"));
    EXPECT_FALSE(hands.move(1280 + 1024, 10));
    EXPECT_FALSE(hands.move(1300, 790)) << "below the smaller monitor";
}

TEST_F(PortalInputTest, losesAndSwapsNothingInALongText)
{
    GnomePortal desktop;
    PortalClient client(desktop.gnome);
    Listener listener(desktop.gnome, 4);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHands hands(client, desktop.layout());
    std::string expected;

    auto const begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 300; ++count) {
        int const key = KEY_1 + count % 9;
        EXPECT_TRUE(hands.tap(key));
        std::string const digit = std::to_string(1 + count % 9);
        expected += (count ? " down " : "down ") + digit + " up " + digit;
    }
    auto const posted = std::chrono::steady_clock::now();
    hands.drain();
    auto const drained = std::chrono::steady_clock::now();

    expectNews(client, listener, expected);
    using Milliseconds = std::chrono::duration<double, std::milli>;
    std::printf("%.2f ms an event, %.2f ms to drain\n", Milliseconds(posted - begin).count() / 600,
                Milliseconds(drained - posted).count());
}

TEST_F(PortalInputTest, isReleasedWhenThePersonEndsTheSessionInADrag)
{
    GnomePortal desktop;
    PortalClient client(desktop.gnome);
    Listener listener(desktop.gnome, 4);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHands hands(client, desktop.layout());
    EXPECT_TRUE(hands.key(KEY_LEFTCTRL, true));
    EXPECT_TRUE(hands.move(100, 100));
    EXPECT_TRUE(hands.button(BTN_LEFT, true));
    EXPECT_TRUE(hands.move(200, 100));
    expectNews(client, listener, "down Control_L press 1");

    desktop.withdraw(0);
    auto const begin = std::chrono::steady_clock::now();
    client.reaches(State::withdrawn);

    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_FALSE(hands.input->isReady());
    EXPECT_FALSE(hands.button(BTN_LEFT, false));
    EXPECT_FALSE(hands.move(300, 100));
    EXPECT_FALSE(hands.tap(KEY_A));
    auto const isReleased = [&] {
        return listener.all().find("release 1") != std::string::npos &&
               listener.all().find("up Control_L") != std::string::npos;
    };
    runUntil(client.io, isReleased);

    client.grant->ask();
    client.reaches(State::granted);
    listener.news();
    EXPECT_TRUE(hands.tap(KEY_B)) << "a new session works";
    expectNews(client, listener, "down b up b");
}

TEST_F(PortalInputTest, releasesWhatItHoldsAtItsEnd)
{
    GnomePortal desktop;
    PortalClient client(desktop.gnome);
    Listener listener(desktop.gnome, 4);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHands hands(client, desktop.layout());
    EXPECT_TRUE(hands.move(100, 100));
    EXPECT_TRUE(hands.key(KEY_LEFTSHIFT, true));
    EXPECT_TRUE(hands.button(BTN_LEFT, true));
    expectNews(client, listener, "down Shift_L press 1");

    hands.input.reset();

    expectNews(client, listener, "release 1 up Shift_L");
    EXPECT_EQ(client.grant->state(), State::granted);
}

TEST_F(PortalInputTest, makesNoEventWithoutThePersonsYes)
{
    GnomePortal desktop;
    PortalClient client(desktop.gnome);
    Listener listener(desktop.gnome, 4);
    PortalHands hands(client, desktop.layout());
    EXPECT_FALSE(hands.input->isReady());
    EXPECT_FALSE(hands.tap(KEY_A));

    desktop.answer("deny");
    client.grant->ask();
    client.reaches(State::refused);
    EXPECT_FALSE(hands.move(10, 10));

    desktop.answer("noInput");
    client.grant->ask();
    client.reaches(State::partly);
    EXPECT_FALSE(hands.input->isReady());
    EXPECT_FALSE(hands.tap(KEY_A));
    EXPECT_EQ(client.grant->session()->streams().size(), 2U);

    desktop.answer("allow");
    client.grant->ask();
    client.reaches(State::granted);
    EXPECT_TRUE(hands.tap(KEY_B));
    expectNews(client, listener, "down b up b");
}

TEST_F(PortalInputTest, keepsPicturesByTheTokenOfTheRealFrontEnd)
{
    GnomePortal desktop(1, {"ScreenCast"});
    PortalClient client(desktop.gnome);
    client.grant->ask();
    client.reaches(State::partly);
    EXPECT_EQ(desktop.dialogs(), 1);
    ASSERT_TRUE(client.token());

    client.restart();
    client.grant->resume();
    client.reaches(State::partly);
    EXPECT_EQ(desktop.dialogs(), 1);
    EXPECT_EQ(client.grant->session()->streams().size(), 2U);

    client.keep("machine\n01234567-89ab-cdef-0123-456789abcdef");
    client.restart();
    client.grant->resume();
    runUntil(client.io, [&] { return !client.token(); });
    client.reaches(State::notAsked);
    EXPECT_EQ(desktop.dialogs(), 1) << "an unknown token must not open a dialog";
}

TEST_F(PortalInputTest, refusesPlacesThatItCannotBeSureOf)
{
    GnomePortal desktop(1.25);
    PortalClient client(desktop.gnome);
    client.grant->ask();
    client.reaches(State::granted);

    PortalHands blind(client, desktop.layout());
    EXPECT_FALSE(blind.move(100, 100)) << "this monitor's stream takes pixels, whatever its size says";
    EXPECT_TRUE(blind.move(1024 + 100, 100)) << "the other one has no scale";

    int looks = 0;
    PortalHands misled(client, desktop.layout(), [&] {
        ++looks;
        return LogicalPoint{5, 5};
    });
    EXPECT_FALSE(misled.move(100, 100)) << "the pointer does not get there";
    EXPECT_GT(looks, 1);
}

} // namespace
} // namespace zelvo::test
