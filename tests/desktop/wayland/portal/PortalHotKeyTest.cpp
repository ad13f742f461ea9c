#include "platform/linux/wayland/portal/PortalHotKey.h"

#include "desktop/wayland/portal/ScriptedPortal.h"
#include "fakes/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using State = PortalHotKey::State;
using ::testing::HasSubstr;

struct Key {
    explicit Key(ScriptedPortal& desktop) : client(desktop, &clock)
    {
        hotKey = std::make_unique<PortalHotKey>(contextsOn(client.io), clock, client.requests, "Pause");
        hotKey->start([this] { ++presses; });
    }
    ~Key()
    {
        hotKey.reset();
        settle(client.io);
    }
    void expect(State state)
    {
        runUntil(client.io, [&] { return hotKey->state() == state; });
    }
    bool isPressed(int times)
    {
        runUntil(client.io, [&] { return presses >= times; });
        return presses == times;
    }

    ManualClock clock;
    PortalClient client;
    std::unique_ptr<PortalHotKey> hotKey;
    int presses = 0;
};

TEST(PortalHotKey, isPressedOnceBoundAndNotByRepeats)
{
    ScriptedPortal desktop({"GlobalShortcuts=1"});
    Key key(desktop);
    settle(key.client.io);
    EXPECT_EQ(desktop.calls(), "(@as [],)\n");

    key.hotKey->bind();
    key.expect(State::available);
    EXPECT_THAT(desktop.calls(), HasSubstr("'GlobalShortcuts.BindShortcuts', 'dialog'"));
    key.hotKey->bind();
    settle(key.client.io);
    EXPECT_EQ(desktop.dialogs(), 1);

    desktop.activate("other");
    desktop.activate("pause");
    EXPECT_TRUE(key.isPressed(1));
    desktop.activate("pause");
    runToEnd(key.client.io, key.client.requests->version("GlobalShortcuts")); // Answered after the signal.
    EXPECT_EQ(key.presses, 1) << "a repeat";
    key.clock.advance(PortalHotKey::repeatGap);
    desktop.activate("pause");
    EXPECT_TRUE(key.isPressed(2));
}

TEST(PortalHotKey, saysHonestlyWhenThereIsNone)
{
    ScriptedPortal without;
    Key missing(without);
    missing.hotKey->bind();
    missing.expect(State::missing);

    for (char const* how : {"answer=deny", "answer=noKey"}) {
        ScriptedPortal desktop({"GlobalShortcuts=1", how});
        Key refused(desktop);
        refused.hotKey->bind();
        refused.expect(State::refused);
        desktop.set("answer", "allow");
        refused.hotKey->bind();
        refused.expect(State::available);
    }
}

TEST(PortalHotKey, isGoneWithItsSession)
{
    ScriptedPortal desktop({"GlobalShortcuts=1"});
    Key key(desktop);
    key.hotKey->bind();
    key.expect(State::available);

    desktop.withdraw();
    key.expect(State::notAsked);

    key.hotKey->bind();
    key.expect(State::available);
    desktop.activate("pause");
    EXPECT_TRUE(key.isPressed(1));
}

} // namespace
} // namespace zelvo::test
