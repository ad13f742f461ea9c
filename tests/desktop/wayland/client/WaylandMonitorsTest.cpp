#include "platform/linux/wayland/client/WaylandMonitors.h"

#include "desktop/wayland/client/ScriptedCompositor.h"
#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/wayland/client/WaylandOutputs.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zelvo::test {
namespace {

Monitor monitorAt(std::string const& name, double x, double y)
{
    Monitor monitor;
    monitor.name = name;
    monitor.area = {x, y, 100, 100};
    return monitor;
}

std::vector<std::string> namesOf(MonitorLayout const& layout)
{
    std::vector<std::string> names;
    for (Monitor const& monitor : layout.monitors)
        names.push_back(monitor.name);
    return names;
}

using Names = std::vector<std::string>;

TEST(LayoutOf, putsTheMainMonitorFirst)
{
    std::vector const monitors{monitorAt("a", 300, 0), monitorAt("b", 0, 0), monitorAt("c", -100, 0)};

    EXPECT_EQ(namesOf(layoutOf(monitors, "c")), (Names{"c", "a", "b"}));
    EXPECT_EQ(namesOf(layoutOf(monitors, "")), (Names{"b", "a", "c"}));
    EXPECT_EQ(namesOf(layoutOf(monitors, "gone")), (Names{"b", "a", "c"}));
    EXPECT_EQ(namesOf(layoutOf({monitors[0], monitors[2]}, "")), (Names{"c", "a"}));
    EXPECT_TRUE(layoutOf({}, "a").monitors.empty());
}

TEST(MonitorOf, hasTheSizeAsSeen)
{
    Monitor const monitor = monitorOf({.name = "DP-1",
                                       .modeWidth = 1920,
                                       .modeHeight = 1080,
                                       .transform = 3,
                                       .logical = {5, 6, 1080, 1920}});

    EXPECT_EQ(monitor.id, monitorId("DP-1"));
    EXPECT_EQ(monitor.widthPixels, 1080);
    EXPECT_EQ(monitor.heightPixels, 1920);
    EXPECT_EQ(monitor.scale, 1);
    EXPECT_EQ(monitor.area, (LogicalRect{5, 6, 1080, 1920}));
}

TEST(MonitorOf, hasTheScaleThatRoundedSizesCameFrom)
{
    auto const scaleOf = [](int width, int height, double logicalWidth, double logicalHeight) {
        return monitorOf(
                   {.modeWidth = width, .modeHeight = height, .logical = {0, 0, logicalWidth, logicalHeight}})
            .scale;
    };

    EXPECT_EQ(scaleOf(1920, 1080, 1280, 720), 1.5);
    EXPECT_EQ(scaleOf(1366, 768, 911, 512), 1.5); // 910.67
    EXPECT_EQ(scaleOf(1366, 768, 910, 512), 1.5);
    EXPECT_EQ(scaleOf(3840, 2160, 2194, 1234), 1.75);
    EXPECT_EQ(scaleOf(1920, 1080, 1901, 1069), 1920.0 / 1901); // 1.01
}

TEST(MonitorOf, doesWithoutALogicalSize)
{
    Monitor const monitor =
        monitorOf({.modeWidth = 800, .modeHeight = 600, .transform = 1, .scale = 2, .x = 40});

    EXPECT_EQ(monitor.area, (LogicalRect{40, 0, 300, 400}));
    EXPECT_EQ(monitor.scale, 2);
}

class MonitorsOfSway : public testing::Test {
protected:
    LiveContexts live;
    std::unique_ptr<PrivateSway> sway;
    std::unique_ptr<WaylandMonitors> monitors;
    std::atomic<int> changes = 0;

    void SetUp() override
    {
        if (auto const reason = PrivateSway::missing(); !reason.empty())
            GTEST_SKIP() << reason;
    }
    void TearDown() override
    {
        monitors.reset();
        live.stop();
    }

    void start(std::vector<SwayOutput> outputs, WaylandMonitors::MainName mainName = {})
    {
        sway = std::make_unique<PrivateSway>(SwayOptions{.outputs = std::move(outputs)});
        sway->adoptEnvironment();
        monitors =
            std::make_unique<WaylandMonitors>(live.contexts(), WaylandClient::open(), std::move(mainName));
        monitors->observe([this] { ++changes; });
    }
};

TEST_F(MonitorsOfSway, areDescribed)
{
    start({{.width = 1366, .height = 768, .scale = 1.5, .x = 600},
           {.width = 800, .height = 600, .transform = "90"},
           {.width = 640, .height = 480, .scale = 2, .transform = "flipped-270", .x = 3000, .y = -50}});

    MonitorLayout const layout = monitors->current();

    ASSERT_EQ(namesOf(layout), (Names{"HEADLESS-2", "HEADLESS-1", "HEADLESS-3"}));
    Monitor const& rotated = layout.monitors[0];
    EXPECT_EQ(rotated.area, (LogicalRect{0, 0, 600, 800}));
    EXPECT_EQ(rotated.widthPixels, 600);
    EXPECT_EQ(rotated.heightPixels, 800);
    EXPECT_EQ(rotated.scale, 1);
    Monitor const& scaled = layout.monitors[1];
    EXPECT_EQ(scaled.area.x, 600);
    EXPECT_EQ(scaled.widthPixels, 1366);
    EXPECT_EQ(scaled.scale, 1.5);
    EXPECT_EQ(layout.monitors[2].area, (LogicalRect{3000, -50, 240, 320}));
    EXPECT_EQ(layout.monitors[2].widthPixels, 480);
    EXPECT_EQ(layout.monitors[2].scale, 2);
}

TEST_F(MonitorsOfSway, followChanges)
{
    start({{}});
    ASSERT_EQ(monitors->current().monitors.size(), 1u);

    sway->command("output HEADLESS-1 scale 2");
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors[0].scale == 2; }));
    EXPECT_EQ(monitors->current().monitors[0].area.width, 640);
    sway->command("create_output");
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors.size() == 2; }));
    EXPECT_TRUE(waitFor([&] { return changes >= 2; }));
}

TEST_F(MonitorsOfSway, haveTheMainOneOfAnotherSource)
{
    LockedBox<std::string> main("HEADLESS-2");
    start({{}, {.x = 1280}}, [&] { return main.get(); });
    EXPECT_EQ(namesOf(monitors->current()), (Names{"HEADLESS-2", "HEADLESS-1"}));

    main.set("HEADLESS-1");
    monitors->refresh();

    EXPECT_TRUE(waitFor([&] { return changes == 1; }));
    EXPECT_EQ(namesOf(monitors->current()), (Names{"HEADLESS-1", "HEADLESS-2"}));
}

TEST_F(MonitorsOfSway, stayAsTheyWereWhenTheCompositorIsGone)
{
    start({{}});
    MonitorLayout const before = monitors->current();

    sway->kill();

    live.run([]() -> Task<> { co_return; }());
    EXPECT_EQ(monitors->current(), before);
    EXPECT_EQ(WaylandMonitors(live.contexts(), nullptr).current(), MonitorLayout{});
}

class MonitorsOfAScript : public testing::Test {
protected:
    PrivateSession session;
    LiveContexts live;
    std::string const path = session.runtimeFolder() / "wayland";
    ScriptedCompositor compositor{path};
    std::unique_ptr<WaylandMonitors> monitors;

    void SetUp() override
    {
        compositor.addOutput("A", 0);
        compositor.addOutput("B", 1000);
        compositor.addOutput("C", 2000);
    }
    void TearDown() override
    {
        monitors.reset();
        live.stop();
    }
    void start() { monitors = std::make_unique<WaylandMonitors>(live.contexts(), WaylandClient::open(path)); }
};

TEST_F(MonitorsOfAScript, losesOutputsThatAreRemoved)
{
    start();
    EXPECT_EQ(namesOf(monitors->current()), (Names{"A", "B", "C"}));

    compositor.removeOutput("A");
    EXPECT_TRUE(waitFor([&] { return namesOf(monitors->current()) == Names{"B", "C"}; }));
    compositor.addOutput("D", -1000);
    EXPECT_TRUE(waitFor([&] { return namesOf(monitors->current()) == (Names{"D", "B", "C"}); }));
    for (char const* const name : {"B", "C", "D"})
        compositor.removeOutput(name);
    EXPECT_TRUE(waitFor([&] { return monitors->current().monitors.empty(); }));
}

TEST_F(MonitorsOfAScript, haveTheMainOneThatTheCompositorNames)
{
    compositor.setPrimary("B");
    start();
    EXPECT_EQ(namesOf(monitors->current()), (Names{"B", "A", "C"}));

    compositor.setOrder({"C", "B", "A"});
    start();
    EXPECT_EQ(namesOf(monitors->current()), (Names{"C", "A", "B"}));
}

} // namespace
} // namespace zelvo::test
