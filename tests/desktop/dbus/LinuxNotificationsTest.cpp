#include "platform/linux/dbus/LinuxNotifications.h"

#include "desktop/dbus/PrivateBuses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {

namespace {

using testing::HasSubstr;

constexpr char const* service = "org.freedesktop.Notifications";
constexpr char const* path = "/org/freedesktop/Notifications";

class Notifications : public testing::Test {
protected:
    void startService(std::string const& capabilities)
    {
        buses.mock(BusKind::session, service, path, service);
        buses.control(BusKind::session, service, path, "AddMethod",
                      {"sssss", service, "GetCapabilities", "", "as", "ret = " + capabilities});
        buses.control(BusKind::session, service, path, "AddMethod",
                      {"sssss", service, "Notify", "susssasa{sv}i", "u", "ret = 1"});
    }
    /// The calls that the service received, in the mock's format.
    std::string calls() { return buses.control(BusKind::session, service, path, "GetCalls", {}); }
    std::string callsAfterNotify()
    {
        std::string all;
        EXPECT_TRUE(
            running.eventually([&] { return (all = calls()).find("\"Notify\"") != std::string::npos; }));
        return all;
    }

    PrivateBuses buses;
    RunningContexts running;
    LinuxNotifications notifications{running.session};
};

TEST_F(Notifications, showTitleAndBodyWithASound)
{
    buses.start(BusKind::session);
    startService("['body']");

    notifications.show("Acme: 2 commands", "a < b & c");

    std::string const asked = callsAfterNotify();
    EXPECT_THAT(asked, HasSubstr("\"Acme: 2 commands\""));
    EXPECT_THAT(asked, HasSubstr("\"a < b & c\""));
    EXPECT_THAT(asked, HasSubstr("sound-name"));
    EXPECT_THAT(asked, HasSubstr("dev.zelvo.agent"));
}

TEST_F(Notifications, writeTheBodyAsMarkupWhereItIsReadAsSuch)
{
    buses.start(BusKind::session);
    startService("['body', 'body-markup']");

    notifications.show("<Acme>", "a < b & c");

    std::string const asked = callsAfterNotify();
    EXPECT_THAT(asked, HasSubstr("\"<Acme>\"")); // Titles are never markup.
    EXPECT_THAT(asked, HasSubstr("\"a &lt; b &amp; c\""));
}

TEST_F(Notifications, areNothingWhereNobodyShowsThem)
{
    notifications.show("Acme", "no bus");
    buses.start(BusKind::session);
    notifications.show("Acme", "no service");
    startService("['body']");
    notifications.show("Acme", "a service");
    EXPECT_THAT(callsAfterNotify(), HasSubstr("a service"));
}

} // namespace

} // namespace zelvo::test
