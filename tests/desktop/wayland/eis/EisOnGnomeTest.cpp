#include "desktop/wayland/portal/GnomePortal.h"
#include "platform/linux/wayland/portal/EisOpening.h"
#include "platform/linux/wayland/portal/PortalInputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

namespace zelvo::test {
namespace {

using State = DesktopGrant::State;
using ::testing::HasSubstr;

/// Input by EIS of GNOME's compositor, through the real front end of the portals.
class EisOnGnomeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (auto const reason = PrivateGnome::missing())
            GTEST_SKIP() << *reason;
        if (auto const reason = missingProgram({{"/usr/libexec/xdg-desktop-portal", "xdg-desktop-portal"}}))
            GTEST_SKIP() << *reason;
        if (!isEisBuilt())
            GTEST_SKIP() << "not installed: libei-dev";
    }

    /// Grants everything on a new desktop.
    void grant(double scale)
    {
        desktop = std::make_unique<GnomePortal>(scale);
        client = std::make_unique<PortalClient>(desktop->gnome);
        client->grant->ask();
        client->reaches(State::granted);
        input =
            makePortalInput(client->io.get_executor(), client->io.get_executor(), client->clock, *client->bus,
                            {.session = [this] { return client->grant->session(); },
                             .layout = [this] { return desktop->layout(); }});
    }

    bool isEisThere() const { return client->grant->session()->remoteDesktop() >= 2; }
    bool key(int code, bool isDown) { return runToEnd(client->io, input->key(code, isDown)); }
    bool button(int code, bool isDown) { return runToEnd(client->io, input->button(code, isDown)); }
    bool move(double x, double y) { return runToEnd(client->io, input->moveTo({x, y})); }

    void expectNews(Listener& listener, std::string const& expected)
    {
        std::string got;
        runToEnd(client->io, input->drained());
        auto const isThere = [&] {
            std::string const more = listener.news();
            got += (got.empty() || more.empty() ? "" : " ") + more;
            return got.size() >= expected.size();
        };
        try {
            runUntil(client->io, isThere);
        } catch (std::runtime_error const&) {
        }
        EXPECT_EQ(got, expected);
    }

    std::unique_ptr<GnomePortal> desktop;
    std::unique_ptr<PortalClient> client;
    std::shared_ptr<InputSink> input;
};

TEST_F(EisOnGnomeTest, reachesApplicationsWithTheFirstEvent)
{
    grant(1);
    if (!isEisThere())
        GTEST_SKIP() << "not installed: portals with RemoteDesktop 2";
    Listener listener(desktop->gnome, 4);

    EXPECT_TRUE(key(KEY_A, true));
    EXPECT_TRUE(key(KEY_A, false));
    expectNews(listener, "down a up a");
    auto const motion = [](sd_bus_message* message) { sd_bus_message_append(message, "dd", 1.0, 1.0); };
    EXPECT_FALSE(runToEnd(client->io, client->grant->session()->call("NotifyPointerMotion", motion)))
        << "the front end takes events either by EIS or by methods";
    EXPECT_TRUE(move(300.5, 200));
    EXPECT_TRUE(button(BTN_LEFT, true));
    EXPECT_TRUE(button(BTN_LEFT, false));
    expectNews(listener, "press 1 release 1");
    EXPECT_THAT(listener.all(), HasSubstr("motion 300.5 200.0"));
    EXPECT_TRUE(runToEnd(client->io, input->scroll(3, 0)));
    EXPECT_TRUE(runToEnd(client->io, input->scroll(-1, 2)));
    expectNews(listener, "scroll 0 1 scroll 0 1 scroll 0 1 scroll 0 -1 scroll 1 0 scroll 1 0");

    EXPECT_TRUE(key(KEY_LEFTSHIFT, true));
    EXPECT_TRUE(button(BTN_LEFT, true));
    input.reset();
    auto const isReleased = [&] {
        return listener.all().find("up Shift_L") != std::string::npos &&
               listener.all().find("release 1", listener.all().rfind("press 1")) != std::string::npos;
    };
    runUntil(client->io, isReleased);
    EXPECT_EQ(client->grant->state(), State::granted);
}

TEST_F(EisOnGnomeTest, pointsExactlyOnMonitorsWithAScale)
{
    grant(1.25);
    if (!isEisThere())
        GTEST_SKIP() << "not installed: portals with RemoteDesktop 2";
    Listener first(desktop->gnome, 4, 0);
    EXPECT_TRUE(move(500, 300));
    EXPECT_TRUE(button(BTN_LEFT, true));
    EXPECT_TRUE(button(BTN_LEFT, false));
    expectNews(first, "press 1 release 1");
    EXPECT_THAT(first.all(), HasSubstr("motion 500.0 300.0"));
}

} // namespace
} // namespace zelvo::test
