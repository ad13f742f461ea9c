#include "platform/linux/dbus/LinuxSessionEvents.h"

#include "desktop/dbus/PrivateBuses.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zelvo::test {

namespace {

using enum SessionEvent;
using Events = std::vector<SessionEvent>;

constexpr char const* login = "org.freedesktop.login1";
constexpr char const* loginPath = "/org/freedesktop/login1";
constexpr char const* manager = "org.freedesktop.login1.Manager";
constexpr char const* sessionInterface = "org.freedesktop.login1.Session";

class Session : public testing::Test {
protected:
    void SetUp() override
    {
        buses.start(BusKind::system);
        buses.start(BusKind::session);
    }

    static std::string pathOf(std::string const& id) { return std::string(loginPath) + "/session/" + id; }

    pid_t startLogin() { return buses.mockTemplate(BusKind::system, login, "logind"); }

    void
    addSession(std::string const& id, std::string const& display, bool active = true, bool locked = false)
    {
        buses.control(BusKind::system, login, loginPath, "AddSession",
                      {"ssusb", id, "seat0", "0", "me", active ? "true" : "false"});
        set(id, "Display", "s", display);
        set(id, "LockedHint", "b", locked ? "true" : "false");
    }

    void
    set(std::string const& id, std::string const& property, std::string const& type, std::string const& value)
    {
        buses.control(BusKind::system, login, pathOf(id), "UpdateProperties",
                      {"sa{sv}", sessionInterface, "1", property, type, value});
    }

    void emit(std::string const& signal, std::string const& signature, std::vector<std::string> const& values)
    {
        std::vector<std::string> arguments = {"sssav", manager, signal, signature};
        arguments.insert(arguments.end(), values.begin(), values.end());
        buses.control(BusKind::system, login, loginPath, "EmitSignal", arguments);
    }

    void emitSleep(bool goesToSleep)
    {
        emit("PrepareForSleep", "b", {"1", "b", goesToSleep ? "true" : "false"});
    }

    void emitShutdown(bool shutsDown)
    {
        emit("PrepareForShutdown", "b", {"1", "b", shutsDown ? "true" : "false"});
    }

    bool isShutdownDelayed()
    {
        std::string const locks = buses.call(BusKind::system, login, loginPath, manager, "ListInhibitors");
        return locks.find(R"("shutdown" "Zelvo")") != std::string::npos &&
               locks.find("\"delay\"") != std::string::npos;
    }

    void start(std::string const& display = ":7")
    {
        session = std::make_unique<LinuxSessionEvents>(
            running.contexts(), running.clock, running.system, running.session,
            OwnSession{.display = displayOf(display)}, [this] { return displayReachable.load(); });
        session->observe([this](SessionEvent event) { events.push_back(event); });
        running.system.start();
        running.session.start();
    }

    bool becomes(Availability wanted)
    {
        return running.eventually([&] { return session->current() == wanted; });
    }

    bool hears(Events const& wanted)
    {
        return running.eventually([&] { return events == wanted; });
    }

    std::atomic<bool> displayReachable = true;
    Events events;
    PrivateBuses buses;
    RunningContexts running;
    std::unique_ptr<LinuxSessionEvents> session;
};

TEST_F(Session, ofOurDisplayDecides)
{
    startLogin();
    addSession("c1", ":7", false);
    addSession("c2", ":8", true);

    start(":7.0");

    EXPECT_TRUE(becomes(Availability::noGUISession));
    EXPECT_TRUE(hears({sessionResignedActive}));
}

TEST_F(Session, endsWithTheMachineWhichWaitsForUs)
{
    startLogin();
    start();
    ASSERT_TRUE(running.eventually([&] { return isShutdownDelayed(); }));

    emitShutdown(true);
    EXPECT_TRUE(hears({willShutDown}));
    emitShutdown(false); // Called off.
    EXPECT_TRUE(running.staysSo([&] { return events == Events({willShutDown}); }));

    session.reset();
    EXPECT_TRUE(running.eventually([&] { return !isShutdownDelayed(); }));
}

TEST_F(Session, delaysTheShutdownOfALogindThatRestarted)
{
    pid_t const first = startLogin();
    start();
    ASSERT_TRUE(running.eventually([&] { return isShutdownDelayed(); }));

    buses.end(first);
    startLogin();

    EXPECT_TRUE(running.eventually([&] { return isShutdownDelayed(); }));
}

TEST_F(Session, lockedAtStart)
{
    startLogin();
    addSession("c1", ":7", true, true);

    start();

    EXPECT_TRUE(becomes(Availability::screenLocked));
    EXPECT_TRUE(hears({screenLocked}));
}

TEST_F(Session, withoutLogindAReachableDisplayIsOnTheConsole)
{
    start();

    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::ready; }));
    displayReachable = false;
    EXPECT_EQ(session->current(), Availability::noGUISession);
    EXPECT_TRUE(events.empty());
}

TEST_F(Session, logindThatOwnsOnlyARemoteSessionCountsAsNone)
{
    startLogin();
    addSession("ssh1", "", false);
    set("ssh1", "Type", "s", "tty");
    set("ssh1", "Remote", "b", "true");

    start();

    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::ready; }));
    set("ssh1", "LockedHint", "b", "true"); // Another session.
    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::ready; }));
}

TEST_F(Session, withoutADisplayOfOursNoSessionFits)
{
    startLogin();
    addSession("c1", "", false);
    displayReachable = false;

    start("");

    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::noGUISession; }));
}

TEST_F(Session, lockSleepWakeUnlock)
{
    startLogin();
    addSession("c1", ":7");
    start();
    running.staysSo([] { return true; });

    set("c1", "LockedHint", "b", "true");
    ASSERT_TRUE(hears({screenLocked}));
    EXPECT_EQ(session->current(), Availability::screenLocked);
    emitSleep(true);
    ASSERT_TRUE(hears({screenLocked, willSleep}));
    emitSleep(false);
    ASSERT_TRUE(hears({screenLocked, willSleep, didWake}));
    EXPECT_EQ(session->current(), Availability::screenLocked);
    set("c1", "LockedHint", "b", "false");
    ASSERT_TRUE(hears({screenLocked, willSleep, didWake, screenUnlocked}));
    EXPECT_EQ(session->current(), Availability::ready);
}

TEST_F(Session, sleepLockWakeUnlock)
{
    startLogin();
    addSession("c1", ":7");
    start();
    running.staysSo([] { return true; });

    emitSleep(true);
    set("c1", "LockedHint", "b", "true");
    emitSleep(false);
    set("c1", "LockedHint", "b", "false");

    EXPECT_TRUE(hears({willSleep, screenLocked, didWake, screenUnlocked}));
}

TEST_F(Session, switchingAwayAndBack)
{
    startLogin();
    addSession("c1", ":7");
    start();
    running.staysSo([] { return true; });

    set("c1", "Active", "b", "false");
    ASSERT_TRUE(hears({sessionResignedActive}));
    EXPECT_EQ(session->current(), Availability::noGUISession);
    set("c1", "LockedHint", "b", "true");
    ASSERT_TRUE(hears({sessionResignedActive, screenLocked}));
    EXPECT_EQ(session->current(), Availability::screenLocked);
    set("c1", "Active", "b", "true");
    set("c1", "LockedHint", "b", "false");
    ASSERT_TRUE(hears({sessionResignedActive, screenLocked, sessionBecameActive, screenUnlocked}));
    EXPECT_EQ(session->current(), Availability::ready);
}

TEST_F(Session, logindThatAppearsLater)
{
    start();
    running.staysSo([] { return true; });

    startLogin();
    addSession("c1", ":7", true, true);
    emit("SessionNew", "so", {"2", "s", "c1", "o", pathOf("c1")});

    EXPECT_TRUE(becomes(Availability::screenLocked));
}

TEST_F(Session, logindThatRestartsIsForgivenForAMoment)
{
    pid_t const first = startLogin();
    addSession("c1", ":7", true, true);
    start();
    ASSERT_TRUE(becomes(Availability::screenLocked));

    buses.end(first);
    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::screenLocked; }));
    startLogin();
    addSession("c2", ":7", false, false);
    emit("SessionNew", "so", {"2", "s", "c2", "o", pathOf("c2")});

    EXPECT_TRUE(becomes(Availability::noGUISession));
}

TEST_F(Session, newLoginOnTheSameDisplayBeforeTheEndingOne)
{
    startLogin();
    addSession("c1", ":7", false);
    set("c1", "State", "s", "closing");
    addSession("c2", ":7", true);

    start();

    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::ready; }));
    set("c1", "LockedHint", "b", "true");
    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::ready; }));
    set("c2", "LockedHint", "b", "true");
    EXPECT_TRUE(becomes(Availability::screenLocked));
}

struct SaverPlace {
    char const* name;
    char const* path;
};

class Saver : public Session, public testing::WithParamInterface<SaverPlace> {
protected:
    pid_t startSaver(bool active)
    {
        auto const [name, path] = GetParam();
        pid_t const pid = buses.mock(BusKind::session, name, path, name);
        buses.control(BusKind::session, name, path, "AddMethod",
                      {"sssss", name, "GetActive", "", "b", active ? "ret = True" : "ret = False"});
        return pid;
    }

    void emitActive(bool active)
    {
        auto const [name, path] = GetParam();
        buses.control(BusKind::session, name, path, "EmitSignal",
                      {"sssav", name, "ActiveChanged", "b", "1", "b", active ? "true" : "false"});
    }
};

INSTANTIATE_TEST_SUITE_P(
    All,
    Saver,
    testing::Values(SaverPlace{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
                    SaverPlace{"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
                    SaverPlace{"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver"},
                    SaverPlace{"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"}));

TEST_P(Saver, activeAtStartAndThenBySignals)
{
    startSaver(true);
    start();
    ASSERT_TRUE(hears({screenLocked}));

    emitActive(false);
    ASSERT_TRUE(hears({screenLocked, screenUnlocked}));
    emitActive(true);
    ASSERT_TRUE(hears({screenLocked, screenUnlocked, screenLocked}));
}

TEST_P(Saver, thatEndsHidesNothing)
{
    pid_t const saver = startSaver(true);
    start();
    ASSERT_TRUE(becomes(Availability::screenLocked));

    buses.end(saver);

    EXPECT_TRUE(becomes(Availability::ready));
}

TEST_F(Session, staysLockedWhileEitherSaysSo)
{
    startLogin();
    addSession("c1", ":7", true, true);
    char const* const name = "org.gnome.ScreenSaver";
    buses.mock(BusKind::session, name, "/org/gnome/ScreenSaver", name);
    buses.control(BusKind::session, name, "/org/gnome/ScreenSaver", "AddMethod",
                  {"sssss", name, "GetActive", "", "b", "ret = True"});
    start();
    ASSERT_TRUE(becomes(Availability::screenLocked));
    running.staysSo([] { return true; });

    set("c1", "LockedHint", "b", "false");
    EXPECT_TRUE(running.staysSo([&] { return session->current() == Availability::screenLocked; }));
    buses.control(BusKind::session, name, "/org/gnome/ScreenSaver", "EmitSignal",
                  {"sssav", name, "ActiveChanged", "b", "1", "b", "false"});

    EXPECT_TRUE(hears({screenLocked, screenUnlocked}));
}

} // namespace

} // namespace zelvo::test
