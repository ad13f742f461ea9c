#include "platform/linux/dbus/LinuxPowerAssertions.h"

#include "desktop/dbus/PrivateBuses.h"

#include <gtest/gtest.h>

namespace zelvo::test {

namespace {

constexpr char const* login = "org.freedesktop.login1";
constexpr char const* loginPath = "/org/freedesktop/login1";
constexpr char const* saver = "org.freedesktop.ScreenSaver";
constexpr char const* saverPath = "/org/freedesktop/ScreenSaver";

class Power : public testing::Test {
protected:
    std::string inhibitors()
    {
        return buses.call(BusKind::system, login, loginPath, "org.freedesktop.login1.Manager",
                          "ListInhibitors");
    }

    /// The calls that the screen saver received, in the mock's format.
    std::string saverCalls() { return buses.control(BusKind::session, saver, saverPath, "GetCalls", {}); }

    void startSaver(std::string const& inhibit)
    {
        buses.mock(BusKind::session, saver, saverPath, saver);
        buses.control(BusKind::session, saver, saverPath, "AddMethod",
                      {"sssss", saver, "Inhibit", "ss", "u", inhibit});
        buses.control(BusKind::session, saver, saverPath, "AddMethod",
                      {"sssss", saver, "UnInhibit", "u", "", ""});
    }

    bool contains(std::string const& text, std::string const& part)
    {
        return text.find(part) != std::string::npos;
    }

    PrivateBuses buses;
    RunningContexts running;
    LinuxPowerAssertions power{running.agent.get_executor(), running.system, running.session};
};

TEST_F(Power, holdsAnIdleLockOfLogindUntilItGoes)
{
    buses.start(BusKind::system);
    buses.mockTemplate(BusKind::system, login, "logind");

    auto assertion = power.preventIdleSleep("An agent is working");

    ASSERT_TRUE(running.eventually(
        [&] { return contains(inhibitors(), "\"idle\" \"Zelvo\" \"An agent is working\" \"block\""); }));
    assertion.reset();
    EXPECT_TRUE(running.eventually([&] { return contains(inhibitors(), "a(ssssuu) 0"); }));
}

TEST_F(Power, replacedOneOverlapsTheNext)
{
    buses.start(BusKind::system);
    buses.mockTemplate(BusKind::system, login, "logind");

    auto assertion = power.preventIdleSleep("one");
    assertion = power.preventIdleSleep("two");

    ASSERT_TRUE(running.eventually([&] {
        auto const text = inhibitors();
        return contains(text, "\"two\"") && !contains(text, "\"one\"");
    }));
}

TEST_F(Power, asksTheScreenSaverWhereThereIsNoLogind)
{
    buses.start(BusKind::session);
    startSaver("ret = 77");

    auto assertion = power.preventIdleSleep("An agent is working");

    ASSERT_TRUE(running.eventually(
        [&] { return contains(saverCalls(), "\"Inhibit\" 2 s \"Zelvo\" s \"An agent is working\""); }));
    running.staysSo([] { return true; });
    assertion.reset();
    EXPECT_TRUE(running.eventually([&] { return contains(saverCalls(), "\"UnInhibit\" 1 u 77"); }));
}

TEST_F(Power, givesBackWhatIsGrantedTooLate)
{
    buses.start(BusKind::session);
    startSaver("import time; time.sleep(0.3); ret = 78");

    auto assertion = power.preventIdleSleep("late");
    running.await(running.clock.sleep(100ms));
    assertion.reset();

    EXPECT_TRUE(running.eventually([&] { return contains(saverCalls(), "\"UnInhibit\" 1 u 78"); }));
}

TEST_F(Power, withoutAnyBusIsHeldAllTheSame)
{
    EXPECT_TRUE(power.preventIdleSleep("nobody hears"));
    auto const assertion = power.preventIdleSleep("nobody hears");
    EXPECT_TRUE(running.staysSo([&] { return assertion != nullptr; }));
}

TEST_F(Power, releasedWhileLogindIsSilentLeavesNothing)
{
    buses.start(BusKind::system);
    BusPtr const silent = openSystemBus();
    ASSERT_GE(sd_bus_request_name(silent.get(), login, 0), 0);

    power.preventIdleSleep("silent").reset();

    EXPECT_TRUE(running.staysSo([] { return true; }));
}

} // namespace

} // namespace zelvo::test
