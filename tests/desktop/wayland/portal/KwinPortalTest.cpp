#include "desktop/wayland/harness/PrivateKwin.h"
#include "desktop/wayland/harness/WaylandSession.h"
#include "desktop/wayland/portal/GnomePortal.h"
#include "platform/linux/wayland/client/SeatKeymaps.h"
#include "platform/linux/wayland/input/SeatKeyboard.h"
#include "platform/linux/wayland/kwin/KwinLayout.h"
#include "platform/linux/wayland/portal/PortalHotKey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

#include <sstream>

namespace zelvo::test {
namespace {

using State = DesktopGrant::State;
using ::testing::HasSubstr;

constexpr int kernelToX = 8; // An X server's numbers of keys are that much larger.
constexpr char const* backend = "/usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde";

/// KDE's compositor with its real portals, which grant to programs outside of sandboxes without a dialog.
class KwinPortalTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (std::string const package = PrivateKwin::missingPackage(); !package.empty())
            GTEST_SKIP() << package;
        if (auto const reason = missingProgram({{backend, "xdg-desktop-portal-kde"},
                                                {"/usr/libexec/xdg-desktop-portal", "xdg-desktop-portal"},
                                                {"wireplumber", "wireplumber"}}))
            GTEST_SKIP() << *reason;
    }

    static void startPortals(PrivateKwin& kwin)
    {
        Environment const extra = {{"XDG_CURRENT_DESKTOP", "KDE"}, {"QT_QPA_PLATFORM", "wayland"}};
        kwin.start({"pipewire"});
        require("pipewire", [&] { return std::filesystem::exists(kwin.runtimeFolder() / "pipewire-0"); });
        kwin.start({"wireplumber"});
        kwin.start({backend}, extra);
        require("the backend", [&] { return kwin.hasOwner("org.freedesktop.impl.portal.desktop.kde"); });
        kwin.start({"/usr/libexec/xdg-desktop-portal"}, extra);
        require("the portal", [&] { return kwin.hasOwner(PortalRequests::name); });
    }

    static MonitorLayout layout(int outputs)
    {
        MonitorLayout made;
        for (int at = 0; at < outputs; ++at) {
            std::string const name = "Virtual-" + std::to_string(at);
            made.monitors.push_back({.id = monitorId(name),
                                     .name = name,
                                     .area = {1280.0 * at, 0, 1280, 800},
                                     .widthPixels = 1280,
                                     .heightPixels = 800});
        }
        return made;
    }

    static LogicalPoint pointerOf(PrivateKwin& kwin)
    {
        std::stringstream text(kwin.run({"/usr/bin/python3", ZELVO_PORTAL_TESTS "/kwin_pointer.py"}));
        LogicalPoint point{-1, -1};
        text >> point.x >> point.y;
        return point;
    }

    /// The same lines with scrolls that follow each other as one: KWin sends both axes together or apart.
    static std::string withScrollsJoined(std::string const& lines)
    {
        std::stringstream words(lines);
        std::string joined;
        int right = 0;
        int down = 0;
        auto const finish = [&] {
            if (right != 0 || down != 0)
                joined += "scroll " + std::to_string(right) + " " + std::to_string(down) + " ";
            right = down = 0;
        };
        for (std::string word; words >> word;) {
            int x = 0;
            int y = 0;
            if (word == "scroll" && words >> x >> y) {
                right += x;
                down += y;
                continue;
            }
            finish();
            joined += word + " ";
        }
        finish();
        return joined;
    }

    static KwinOptions options(int outputs) { return {.width = 1280, .height = 800, .outputs = outputs}; }
};

TEST_F(KwinPortalTest, clicksTypesAndScrolls)
{
    PrivateKwin kwin(options(1));
    startPortals(kwin);
    PortalClient client(kwin);
    Listener listener(kwin, 4);
    client.grant->ask();
    client.reaches(State::granted);
    ASSERT_EQ(client.grant->session()->streams().size(), 1U);
    PortalHands hands(client, layout(1));

    EXPECT_TRUE(hands.move(300, 200));
    EXPECT_TRUE(hands.button(BTN_LEFT, true));
    EXPECT_TRUE(hands.button(BTN_LEFT, false));
    EXPECT_TRUE(hands.scroll(3, -2));
    EXPECT_TRUE(hands.tap(KEY_A));
    hands.drain();

    std::string got;
    auto const isThere = [&] {
        got += listener.news() + " ";
        return got.find("up a") != std::string::npos;
    };
    EXPECT_TRUE(waitFor(isThere)) << got;
    EXPECT_EQ(withScrollsJoined(got), "press 1 release 1 scroll -2 3 down a up a ");
    EXPECT_THAT(listener.all(), HasSubstr("motion 300.0 200.0"));
    LogicalPoint const pointer = pointerOf(kwin);
    EXPECT_NEAR(pointer.x, 300, 0.5);
    EXPECT_NEAR(pointer.y, 200, 0.5);
}

TEST_F(KwinPortalTest, typesInTheLayoutThatThePersonSwitchedTo)
{
    KwinOptions chosen = options(1);
    chosen.layouts = "us,ru";
    PrivateKwin kwin(std::move(chosen));
    startPortals(kwin);
    PortalClient client(kwin);
    Listener listener(kwin, 4);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHands hands(client, layout(1));
    EXPECT_TRUE(hands.tap(KEY_LEFTSHIFT)); // The seat has a keyboard from now on.
    hands.drain();
    kwin.adoptEnvironment();
    SeatKeymaps const keymaps(contextsOn(client.io), WaylandClient::open());
    SeatKeyboard keyboard([&] { return SeatKeymap{keymaps.current(), activeKwinLayout()}; });
    ASSERT_TRUE(keyboard.refresh());
    EXPECT_TRUE(keyboard.isCertain());
    EXPECT_EQ(keyboard.strokeFor(U'м'), nullptr);

    kwin.call("org.kde.keyboard", "/Layouts", "org.kde.KeyboardLayouts.setLayout", {"1"});

    ASSERT_TRUE(keyboard.refresh());
    EXPECT_TRUE(keyboard.isCertain());
    for (char32_t const character : std::u32string(U"мир")) {
        KeyStroke const* const stroke = keyboard.strokeFor(character);
        ASSERT_TRUE(stroke);
        EXPECT_TRUE(hands.tap(stroke->keycode - kernelToX));
    }
    hands.drain();
    std::string const expected = "down Cyrillic_em\nup Cyrillic_em\ndown Cyrillic_i\nup Cyrillic_i\n"
                                 "down Cyrillic_er\nup Cyrillic_er\n";
    EXPECT_TRUE(waitFor([&] { return listener.all().find(expected) != std::string::npos; }, 5s))
        << listener.all();
}

TEST_F(KwinPortalTest, findsItsWayOnTwoOutputsOnlyBySeeingThePointer)
{
    PrivateKwin kwin(options(2));
    startPortals(kwin);
    PortalClient client(kwin);
    client.grant->ask();
    client.reaches(State::granted);
    ASSERT_EQ(client.grant->session()->streams().size(), 2U);

    PortalHands blind(client, layout(2));
    EXPECT_FALSE(blind.move(100, 100)) << "streams without a position may be confused";

    PortalHands seeing(client, layout(2), [&kwin] { return pointerOf(kwin); });
    for (LogicalPoint const target :
         {LogicalPoint{100, 100}, LogicalPoint{1400, 700}, LogicalPoint{640, 20}}) {
        EXPECT_TRUE(seeing.move(target.x, target.y));
        LogicalPoint const pointer = pointerOf(kwin);
        EXPECT_NEAR(pointer.x, target.x, 1);
        EXPECT_NEAR(pointer.y, target.y, 1);
    }
}

TEST_F(KwinPortalTest, saysWhetherTheHotKeyIsBound)
{
    PrivateKwin kwin(options(1));
    startPortals(kwin);
    PortalClient client(kwin);
    Listener listener(kwin, 4);
    client.grant->ask();
    client.reaches(State::granted);
    PortalHotKey hotKey(contextsOn(client.io), client.clock, client.requests, "Pause");
    int presses = 0;
    hotKey.start([&presses] { ++presses; });
    hotKey.bind();
    auto const isDecided = [&] {
        return hotKey.state() == PortalHotKey::State::available ||
               hotKey.state() == PortalHotKey::State::refused;
    };
    runUntil(client.io, isDecided);
    // KDE binds nothing for a program without an identifier, which is what a test is to an older front end.
    if (hotKey.state() == PortalHotKey::State::refused)
        return;

    PortalHands hands(client, layout(1));
    for (int const key : {KEY_LEFTCTRL, KEY_LEFTALT, KEY_LEFTMETA, KEY_P})
        EXPECT_TRUE(hands.key(key, true));
    runUntil(client.io, [&] { return presses > 0; });
    for (int const key : {KEY_P, KEY_LEFTMETA, KEY_LEFTALT, KEY_LEFTCTRL})
        EXPECT_TRUE(hands.key(key, false));
    EXPECT_EQ(presses, 1);
}

} // namespace
} // namespace zelvo::test
