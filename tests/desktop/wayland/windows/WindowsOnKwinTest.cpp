#include "desktop/wayland/kwin/KwinFixture.h"
#include "platform/linux/wayland/windows/ElementWindows.h"
#include "platform/linux/wayland/windows/WaylandApplicationWindows.h"
#include "platform/linux/wayland/windows/WaylandFrontChanges.h"
#include "platform/linux/wayland/windows/WaylandWindowFocus.h"
#include "platform/linux/wayland/windows/WaylandWindowList.h"
#include "platform/linux/wayland/windows/WaylandWorkspace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>

namespace zelvo::test {
namespace {

using testing::ElementsAre;

/// All that is known of windows, on a real compositor. Skips the test if KWin is not installed.
class WindowsOnKwin : public KwinFixture {
protected:
    void begin()
    {
        start();
        entries = std::make_unique<DesktopEntries>();
        desktop.emplace(windows.get(), [this] { return entries->current(); });
        focus.emplace(*desktop);
        applicationWindows.emplace(*desktop);
        opener.emplace(live.contexts(), clock, *entries, *applicationWindows, *session);
        workspace.emplace(*desktop, &*opener);
    }
    void TearDown() override
    {
        live.stop();
        clock.dropSleepers();
        KwinFixture::TearDown();
    }

    std::vector<WindowEntry> list()
    {
        MonitorLayout const layout{{{.id = 1, .name = "Virtual-0", .area = {0, 0, 1920, 1080}}}};
        return WaylandWindowList(*desktop, [&] { return layout; }).windows().value();
    }
    std::vector<std::string> titles()
    {
        std::vector<std::string> found;
        for (WindowEntry const& entry : list())
            found.push_back(entry.title);
        return found;
    }
    std::uint32_t idOf(std::string const& title)
    {
        for (WindowEntry const& entry : list())
            if (entry.title == title)
                return entry.id;
        return 0;
    }
    std::string front()
    {
        auto const application = workspace->frontmostApplication();
        return application ? application->names.identifier().value_or("?") : "";
    }
    std::string open(std::string const& location)
    {
        return live.run(
            workspace->openApplication(location, Workspace::NotRunning::isStarted, clock.now() + 10s));
    }

    std::unique_ptr<DesktopEntries> entries;
    std::optional<CompositorWindows> desktop;
    std::optional<WaylandWindowFocus> focus;
    std::optional<WaylandApplicationWindows> applicationWindows;
    std::optional<ApplicationOpener> opener;
    std::optional<WaylandWorkspace> workspace;
};

TEST_F(WindowsOnKwin, areListedWithTheirOwners)
{
    begin();
    pid_t const pid = kwin->startWindow({"One", "red", "300", "200", "dialog"});
    waitForWindow("One dialog");

    EXPECT_TRUE(waitFor([&] { return front() == "zt.One"; }));
    auto const found = list();
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].title, "One dialog");
    EXPECT_EQ(found[1].title, "One");
    for (WindowEntry const& entry : found) {
        EXPECT_EQ(entry.ownerPid, pid);
        EXPECT_EQ(entry.owner.identifier(), "zt.One");
        EXPECT_EQ(entry.layer, 0);
        EXPECT_EQ(entry.bounds->width, 300);
    }
    auto const elements = elementWindows(*desktop->look(), pid);
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_EQ(elements[0].inner.width, 300);
    EXPECT_EQ(desktop->hiddenOf(*windows->look(), {"zt.One"}).size(), 2u);
}

TEST_F(WindowsOnKwin, comeToTheFrontAndAreReportedThere)
{
    begin();
    std::atomic<int> reports = 0;
    WaylandFrontChanges fronts(live.contexts(), windows.get());
    fronts.observe([&] { ++reports; });
    kwin->startWindow({"One", "red", "300", "200"});
    waitForWindow("One");
    kwin->startWindow({"Two", "blue", "300", "200"});
    waitForWindow("Two");
    require("the second in front", [&] { return front() == "zt.Two"; });
    EXPECT_TRUE(waitFor([&] { return reports > 0; }));

    std::uint32_t const one = idOf("One");
    reports = 0;
    focus->activate(one);

    EXPECT_TRUE(waitFor([&] { return front() == "zt.One"; }));
    EXPECT_TRUE(waitFor([&] { return reports > 0; }));
    EXPECT_EQ(focus->activeWindow(), one);
    EXPECT_EQ(focus->standing(one),
              (WindowStanding{.exists = true, .isOnScreen = true, .hasKeyboard = true}));
    EXPECT_FALSE(focus->standing(idOf("Two")).hasKeyboard);
    EXPECT_THAT(titles(), ElementsAre("One", "Two"));
}

TEST_F(WindowsOnKwin, stayAboveAllOthers)
{
    begin();
    kwin->startWindow({"One", "red", "300", "200"});
    waitForWindow("One");
    kwin->startWindow({"Two", "blue", "300", "200"});
    waitForWindow("Two");
    require("the second in front", [&] { return front() == "zt.Two"; });

    focus->putInFront(idOf("One"), idOf("Two"));
    EXPECT_TRUE(waitFor([&] { return front() == "zt.One"; }));
    focus->activate(idOf("Two"));

    EXPECT_TRUE(waitFor([&] { return front() == "zt.Two"; }));
    EXPECT_THAT(titles(), ElementsAre("One", "Two"));
    EXPECT_EQ(list()[0].layer, 3);
}

TEST_F(WindowsOnKwin, areOpenedByTheirEntryAndStartedOnce)
{
    begin();
    auto const folder = kwin->dataHome() / "applications";
    std::filesystem::create_directories(folder);
    auto const starts = kwin->home() / "starts";
    auto const program = kwin->home() / "program";
    std::ofstream(program) << "#!/bin/sh\necho start >> '" << starts.string() << "'\nexec /usr/bin/python3 '"
                           << PrivateKwin::program("window.py") << "' Opened green 300 200\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    std::string const location = folder / "zt.Opened.desktop";
    std::ofstream(location) << "[Desktop Entry]\nType=Application\nName=The Opened\nExec=" << program.string()
                            << "\n";

    EXPECT_EQ(open(location), "The Opened");
    EXPECT_EQ(front(), "zt.Opened");
    EXPECT_EQ(workspace->frontmostApplication()->location, location);

    kwin->startWindow({"Two", "blue", "300", "200"});
    require("the other in front", [&] { return front() == "zt.Two"; });
    EXPECT_EQ(open(location), "The Opened");

    EXPECT_EQ(front(), "zt.Opened");
    EXPECT_EQ(std::filesystem::file_size(starts), std::string("start\n").size());
    auto const running = workspace->runningApplications();
    EXPECT_TRUE(std::ranges::any_of(running, [](RunningApplication const& each) {
        return each.names.identifier() == "zt.Two" && each.isRegular && !each.isActive;
    }));
}

} // namespace
} // namespace zelvo::test
