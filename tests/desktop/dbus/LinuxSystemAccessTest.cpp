#include "platform/linux/dbus/LinuxSystemAccess.h"

#include "base/LockedBox.h"
#include "desktop/dbus/PrivateBuses.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>

namespace zelvo::test {

namespace {

using Names = std::vector<std::string>;
using Cause = PermissionCause;
using Kind = PermissionCause::Kind;

class Access : public testing::Test {
protected:
    void start(std::optional<std::string> address = std::nullopt)
    {
        access = std::make_unique<LinuxSystemAccess>(
            running.contexts(), running.clock, running.session,
            desktopFacts({.isReachable = [this] { return isReachable.load(); },
                          .hasTestExtension = [this] { return hasTest.load(); },
                          .isXwayland = [this] { return isXwayland.load(); },
                          .canCapture = [this] { return canCapture.load(); },
                          .missingForCapture = [] { return Names{"Composite"}; }}),
            std::move(address), [this] { return unreadable.get(); });
        access->observe([this] { ++changes; });
        running.session.start();
    }

    bool becomes(Permissions wanted)
    {
        return running.eventually([&] { return access->current() == wanted; });
    }

    /// The real launcher of at-spi2-core, started on demand.
    void offerLauncher()
    {
        std::ofstream(buses.folder() / "services" / "org.a11y.Bus.service")
            << "[D-BUS Service]\nName=org.a11y.Bus\nExec=/usr/libexec/at-spi-bus-launcher\n";
    }

    std::atomic<bool> isReachable = true;
    std::atomic<bool> hasTest = true;
    std::atomic<bool> isXwayland = false;
    std::atomic<bool> canCapture = true;
    LockedBox<Names> unreadable;
    int changes = 0; // main
    PrivateBuses buses;
    RunningContexts running;
    std::unique_ptr<LinuxSystemAccess> access;
};

constexpr Permissions all{.accessibility = true, .screenRecording = true};
constexpr Permissions none{};
constexpr Permissions onlyScreen{.accessibility = false, .screenRecording = true};
constexpr Permissions onlyElements{.accessibility = true, .screenRecording = false};

TEST_F(Access, isGivenByTheRealAccessibilityBusAndX)
{
    offerLauncher();
    buses.start(BusKind::session);
    start();

    ASSERT_TRUE(becomes(all));
    hasTest = false;
    EXPECT_EQ(access->current(), onlyScreen);
    hasTest = true;
    canCapture = false;
    EXPECT_EQ(access->current(), onlyElements);
    canCapture = true;
    isXwayland = true;
    EXPECT_EQ(access->current(), none);
    isXwayland = false;
    isReachable = false;
    EXPECT_EQ(access->current(), none);
}

TEST_F(Access, toElementsIsMissingWithoutTheAccessibilityBus)
{
    buses.start(BusKind::session);
    start();

    EXPECT_TRUE(running.staysSo([&] { return access->current() == onlyScreen; }));
}

TEST_F(Access, comesWhenTheLauncherDoes)
{
    buses.start(BusKind::session);
    start();
    ASSERT_TRUE(running.staysSo([&] { return access->current() == onlyScreen; }));

    buses.run({"/usr/libexec/at-spi-bus-launcher"});

    EXPECT_TRUE(becomes(all));
}

TEST_F(Access, goesWithTheAccessibilityBusAndComesBackWithTheNext)
{
    buses.start(BusKind::session);
    buses.start(BusKind::system); // Acts as the accessibility bus.
    char const* const launcher = "org.a11y.Bus";
    buses.mock(BusKind::session, launcher, "/org/a11y/bus", launcher);
    buses.control(
        BusKind::session, launcher, "/org/a11y/bus", "AddMethod",
        {"sssss", launcher, "GetAddress", "", "s", "ret = '" + buses.addressOf(BusKind::system) + "'"});
    start();
    buses.stop(BusKind::session); // An earlier call may have failed; now the agent asks again.
    buses.start(BusKind::session);
    buses.mock(BusKind::session, launcher, "/org/a11y/bus", launcher);
    buses.control(
        BusKind::session, launcher, "/org/a11y/bus", "AddMethod",
        {"sssss", launcher, "GetAddress", "", "s", "ret = '" + buses.addressOf(BusKind::system) + "'"});
    ASSERT_TRUE(becomes(all));

    buses.stop(BusKind::system);
    ASSERT_TRUE(becomes(onlyScreen));
    buses.start(BusKind::system);

    EXPECT_TRUE(becomes(all));
}

TEST_F(Access, goesByAnAddressThatIsKnownBeforehand)
{
    buses.start(BusKind::system);
    start(buses.addressOf(BusKind::system)); // There is no session bus.

    EXPECT_TRUE(becomes(all));
}

TEST_F(Access, hasNoCausesWhileNothingIsMissing)
{
    buses.start(BusKind::system);
    start(buses.addressOf(BusKind::system));
    ASSERT_TRUE(becomes(all));

    EXPECT_EQ(access->causes(), PermissionCauses{});
}

TEST_F(Access, namesWhatTheServerLacks)
{
    buses.start(BusKind::system);
    hasTest = false;
    canCapture = false;
    start(buses.addressOf(BusKind::system));
    ASSERT_TRUE(running.eventually([&] { return changes > 0; }));

    EXPECT_EQ(access->causes(),
              (PermissionCauses{.accessibility = {Cause{Kind::incompleteServer, {"XTEST"}}},
                                .screenRecording = {Cause{Kind::incompleteServer, {"Composite"}}}}));
}

TEST_F(Access, saysThatASessionIsWaylandAndNothingElse)
{
    buses.start(BusKind::session);
    isXwayland = true;
    hasTest = false;
    canCapture = false;
    start();

    PermissionCauses const wayland{.accessibility = {Cause{Kind::waylandSession}},
                                   .screenRecording = {Cause{Kind::waylandSession}}};
    EXPECT_EQ(access->causes(), wayland);
    isReachable = false;
    PermissionCauses const unreachable{.accessibility = {Cause{Kind::noDisplay}},
                                       .screenRecording = {Cause{Kind::noDisplay}}};
    EXPECT_EQ(access->causes(), unreachable);
}

TEST_F(Access, saysThatTheAccessibilityBusIsMissingAndReportsThatItComes)
{
    buses.start(BusKind::session);
    start();
    ASSERT_TRUE(running.staysSo([&] { return access->current() == onlyScreen; }));
    EXPECT_EQ(access->causes().accessibility, (std::vector<Cause>{{Kind::noAccessibilityBus}}));
    EXPECT_TRUE(access->causes().screenRecording.empty());
    EXPECT_EQ(changes, 0);

    buses.run({"/usr/libexec/at-spi-bus-launcher"});

    EXPECT_TRUE(running.eventually([&] { return changes == 1; }));
    EXPECT_EQ(access->current(), all);
    EXPECT_EQ(access->causes(), PermissionCauses{});
}

TEST_F(Access, reportsThatTheAccessibilityBusGoes)
{
    buses.start(BusKind::system);
    start(buses.addressOf(BusKind::system));
    ASSERT_TRUE(becomes(all));
    ASSERT_TRUE(running.eventually([&] { return changes == 1; }));

    buses.stop(BusKind::system);

    EXPECT_TRUE(running.eventually([&] { return changes == 2; }));
    EXPECT_EQ(access->current(), onlyScreen);
}

TEST_F(Access, namesApplicationsThatStartedTooEarlyWhileItIsGiven)
{
    buses.start(BusKind::system);
    start(buses.addressOf(BusKind::system));
    ASSERT_TRUE(becomes(all));
    ASSERT_TRUE(running.eventually([&] { return changes == 1; }));

    unreadable.set({"Files", "Mail"});
    access->noteChange();

    EXPECT_TRUE(running.eventually([&] { return changes == 2; }));
    EXPECT_EQ(access->current(), all);
    EXPECT_EQ(access->causes().accessibility,
              (std::vector<Cause>{{Kind::startedTooEarly, {"Files", "Mail"}}}));
}

TEST_F(Access, reportsNothingToAnObserverThatHasLeft)
{
    buses.start(BusKind::system);
    start(buses.addressOf(BusKind::system));
    ASSERT_TRUE(running.eventually([&] { return changes == 1; }));
    int calls = 0;
    {
        boost::signals2::scoped_connection const briefly = access->observe([&] { ++calls; });
        access->noteChange();
        ASSERT_TRUE(running.eventually([&] { return calls == 1; }));
    }

    access->noteChange();

    EXPECT_TRUE(running.eventually([&] { return changes == 3; }));
    EXPECT_EQ(calls, 1);
}

} // namespace

} // namespace zelvo::test
