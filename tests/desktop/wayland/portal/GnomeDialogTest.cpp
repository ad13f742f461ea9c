#include "desktop/wayland/portal/GnomePortal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

namespace zelvo::test {
namespace {

using State = DesktopGrant::State;
using ::testing::HasSubstr;

/// GNOME with its real dialog, in which the test presses keys.
class GnomeDialogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (auto const reason = PrivateGnome::missing())
            GTEST_SKIP() << *reason;
        if (auto const reason =
                missingProgram({{"/usr/libexec/xdg-desktop-portal", "xdg-desktop-portal"},
                                {"/usr/libexec/xdg-desktop-portal-gnome", "xdg-desktop-portal-gnome"}}))
            GTEST_SKIP() << *reason;
        gnome.emplace(GnomeOptions{.monitors = {{.width = 1280, .height = 800}}, .accessibility = true});
        gnome->startPortal("gnome");
    }

    /// Asks, and presses keys in the dialog.
    void ask(PortalClient& client, std::vector<std::string> const& keys)
    {
        client.grant->ask();
        runUntil(client.io, [&] { return client.grant->state() == State::asking; });
        std::vector<std::string> command = {"/usr/bin/python3", ZELVO_PORTAL_TESTS "/press_dialog.py"};
        command.insert(command.end(), keys.begin(), keys.end());
        pid_t const hands = gnome->start(command);
        runUntil(client.io, [&] {
            return client.grant->state() != State::asking || !gnome->processes().isRunning(hands);
        });
        EXPECT_EQ(gnome->processes().waitForEnd(hands, 10), 0) << gnome->processes().output(hands);
    }

    static std::string code(int key) { return std::to_string(key); }
    static std::string share() { return code(KEY_LEFTALT) + "+" + code(KEY_S); }

    std::optional<PrivateGnome> gnome;
};

TEST_F(GnomeDialogTest, isGrantedPartlyGrantedAndRefused)
{
    PortalClient client(*gnome);
    Listener listener(*gnome, 4);

    ask(client, {code(KEY_ESC)});
    client.reaches(State::refused);

    ask(client, {code(KEY_SPACE), share()});
    client.reaches(State::partly);
    EXPECT_FALSE(client.grant->session()->hasInput());

    ask(client, {code(KEY_SPACE), code(KEY_TAB), code(KEY_SPACE), share()});
    client.reaches(State::granted);
    auto const session = client.grant->session();
    ASSERT_EQ(session->streams().size(), 1U);
    EXPECT_EQ(session->streams()[0].position, (std::array{0, 0}));
    EXPECT_EQ(session->streams()[0].size, (std::array{1280, 800}));
    EXPECT_TRUE(runToEnd(client.io, session->openPipeWire()));

    Monitor const monitor{
        .id = 1, .name = "Meta-0", .area = {0, 0, 1280, 800}, .widthPixels = 1280, .heightPixels = 800};
    PortalHands hands(client, {{monitor}});
    listener.news();
    EXPECT_TRUE(hands.tap(KEY_A));
    EXPECT_TRUE(hands.move(300, 200));
    EXPECT_TRUE(hands.button(BTN_LEFT, true));
    EXPECT_TRUE(hands.button(BTN_LEFT, false));
    hands.drain();
    EXPECT_TRUE(waitFor([&] { return listener.all().ends_with("release 1\n"); }));
    EXPECT_THAT(listener.all(), HasSubstr("down a\nup a\n"));
    EXPECT_THAT(listener.all(), HasSubstr("motion 300.0 200.0\npress 1\nrelease 1\n"));
}

} // namespace
} // namespace zelvo::test
