#include "platform/linux/atspi/AtspiInterfaceWatches.h"

#include "desktop/applications/Applications.h"
#include "desktop/atspi/AtspiFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <map>
#include <mutex>

namespace zelvo::test {

namespace {

/// Counts what is reported, by process.
class Reports {
public:
    InterfaceWatches::Changed observer()
    {
        return [this](std::int32_t pid, InterfaceChange change) {
            std::scoped_lock guard(lock);
            ++counts[{pid, change}];
        };
    }
    int of(std::int32_t pid, InterfaceChange change) const
    {
        std::scoped_lock guard(lock);
        auto const found = counts.find({pid, change});
        return found == counts.end() ? 0 : found->second;
    }
    /// Of all processes but one, as the accessibility bus itself.
    int ofOthers(std::int32_t pid, InterfaceChange change) const
    {
        std::scoped_lock guard(lock);
        int sum = 0;
        for (auto const& [key, count] : counts)
            if (key.first != pid && key.second == change)
                sum += count;
        return sum;
    }
    bool areNone() const
    {
        std::scoped_lock guard(lock);
        return counts.empty();
    }

private:
    mutable std::mutex lock;
    std::map<std::pair<std::int32_t, InterfaceChange>, int> counts;
};

class AtspiInterfaceWatchesTest : public testing::Test {
protected:
    std::unique_ptr<InterfaceWatch> open() { return fixture.live.run(watches.open(reports.observer())); }
    /// What applications were asked to report, as the registry knows it.
    std::string registered()
    {
        return fixture.desktop.run({"gdbus", "call", "--address", fixture.accessibility->busAddress(),
                                    "--dest", "org.a11y.atspi.Registry", "--object-path",
                                    "/org/a11y/atspi/registry", "--method",
                                    "org.a11y.atspi.Registry.GetRegisteredEvents"});
    }
    pid_t processOfRegistry()
    {
        std::string const reply = fixture.desktop.run(
            {"gdbus", "call", "--address", fixture.accessibility->busAddress(), "--dest",
             "org.freedesktop.DBus", "--object-path", "/org/freedesktop/DBus", "--method",
             "org.freedesktop.DBus.GetConnectionUnixProcessID", "org.a11y.atspi.Registry"});
        return std::stoi(reply.substr(reply.find(' '))); // "(uint32 42,)"
    }
    /// Starts an application and waits until it is in front and can be read.
    pid_t show(std::vector<std::string> command, WindowWanted const& window)
    {
        pid_t const pid = fixture.desktop.start(std::move(command));
        auto const shown = fixture.desktop.waitForWindow(window);
        require("the window in front", [&] { return fixture.desktop.activeWindow() == shown; });
        require("its elements",
                [&] { return fixture.accessibility->atspiReader(pid, 250ms)->isOnBus() == true; });
        return pid;
    }
    void press(std::string const& key) { fixture.desktop.run({"xdotool", "key", key}); }
    /// A key until something is reported: an application takes up its listeners some time after we ask.
    void expectReportOf(pid_t pid, std::vector<std::string> const& keys)
    {
        std::size_t next = 0;
        EXPECT_TRUE(waitFor([&] {
            press(keys[next++ % keys.size()]);
            return waitFor([&] { return reports.of(pid, InterfaceChange::elements) > 0; }, 500ms);
        }));
    }

    AtspiFixture fixture{{.accessibility = true}};
    AtspiInterfaceWatches watches{fixture.live.contexts(), *fixture.clock,
                                  [this] { return fixture.accessibility->busAddress(); }};
    Reports reports;
};

} // namespace

TEST_F(AtspiInterfaceWatchesTest, reportsATextThatIsTypedIntoGtk)
{
    pid_t const pid = show({"zenity", "--entry", "--text", "Q"}, {.className = "zenity"});
    auto const watch = open();
    expectReportOf(pid, {"a", "b"});
}

TEST_F(AtspiInterfaceWatchesTest, reportsAFocusThatMovesInQt)
{
    TestApplication const form = test::form(fixture.desktop, Toolkit::qt);
    pid_t const pid = show(form.command, form.window);
    auto const watch = open();
    expectReportOf(pid, {"Tab"});
}

TEST_F(AtspiInterfaceWatchesTest, reportsAnApplicationThatOpensAndCloses)
{
    pid_t const first = show({"zenity", "--entry", "--title", "First", "--text", "Q"}, {.title = "First"});
    auto const watch = open();

    pid_t const second = show({"zenity", "--entry", "--title", "Second", "--text", "Q"}, {.title = "Second"});

    EXPECT_TRUE(
        waitFor([&] { return reports.of(first, InterfaceChange::windows) > 0; })); // It lost the focus.
    EXPECT_TRUE(waitFor([&] { return reports.ofOthers(first, InterfaceChange::windows) > 0; }));
    int const before = reports.ofOthers(first, InterfaceChange::windows);
    fixture.desktop.processes().end(second, SIGKILL);
    EXPECT_TRUE(waitFor([&] { return reports.ofOthers(first, InterfaceChange::windows) > before; }));
}

TEST_F(AtspiInterfaceWatchesTest, reportsNothingOfAnApplicationAtRest)
{
    pid_t const pid = show({"zenity", "--entry", "--text", "Q"}, {.className = "zenity"});
    auto const watch = open();
    expectReportOf(pid, {"a", "b"}); // It listens now.
    waitFor([] { return false; }, 300ms);
    int const before = reports.of(pid, InterfaceChange::elements);

    // Reading causes no reports either: a wait that reads would wake itself.
    auto const reader = fixture.reader({.pid = pid, .record = {}});
    EXPECT_FALSE(fixture.walk(*reader).elements.empty());
    waitFor([] { return false; }, 300ms);

    EXPECT_EQ(reports.of(pid, InterfaceChange::elements), before);
}

TEST_F(AtspiInterfaceWatchesTest, asksApplicationsOnlyWhileItExists)
{
    pid_t const pid = show({"zenity", "--entry", "--text", "Q"}, {.className = "zenity"});
    std::string const before = registered();
    EXPECT_EQ(before.find("Object:TextChanged"), std::string::npos) << before;

    auto watch = open();
    std::string const during = registered();
    for (char const* const event : {"Object:ChildrenChanged:", "Object:StateChanged:", "Object:TextChanged:",
                                    "Object:PropertyChange:", "Document:LoadComplete:", "Window::"})
        EXPECT_NE(during.find(event), std::string::npos) << event << " in " << during;
    expectReportOf(pid, {"a", "b"});
    watch.reset();

    EXPECT_TRUE(waitFor([&] { return registered() == before; })) << registered();
    int const told = reports.of(pid, InterfaceChange::elements);
    press("c");
    EXPECT_FALSE(waitFor([&] { return reports.of(pid, InterfaceChange::elements) > told; }, 300ms));
}

TEST_F(AtspiInterfaceWatchesTest, waitsForASilentRegistryOnce)
{
    registered(); // It runs.
    pid_t const registry = processOfRegistry();
    ::kill(registry, SIGSTOP);
    auto const began = std::chrono::steady_clock::now();

    EXPECT_TRUE(open());

    auto const took = std::chrono::steady_clock::now() - began;
    ::kill(registry, SIGCONT);
    EXPECT_GE(took, 1s);
    EXPECT_LT(took, 2s);
}

TEST(AtspiInterfaceWatches, areSilentWithoutABus)
{
    AtspiFixture fixture({.windowManager = false, .sessionBus = false});
    AtspiInterfaceWatches watches(fixture.live.contexts(), *fixture.clock,
                                  [&] { return fixture.accessibility->busAddress(); });
    Reports reports;
    EXPECT_TRUE(fixture.live.run(watches.open(reports.observer())));
    EXPECT_TRUE(reports.areNone());
}

TEST(AtspiInterfaceWatches, areSilentIfTheBusIsGone)
{
    AtspiFixture fixture;
    AtspiInterfaceWatches watches(fixture.live.contexts(), *fixture.clock,
                                  [] { return std::string("unix:path=/nonexistent/bus"); });
    Reports reports;
    EXPECT_TRUE(fixture.live.run(watches.open(reports.observer())));
    EXPECT_TRUE(reports.areNone());
}

} // namespace zelvo::test
