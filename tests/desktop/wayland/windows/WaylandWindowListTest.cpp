#include "platform/linux/wayland/windows/WaylandWindowList.h"

#include "desktop/wayland/windows/WindowsFixture.h"
#include "wire/AgentError.h"

namespace zelvo::test {
namespace {

using testing::ElementsAre;

class WaylandWindowListTest : public WindowsFixture {
protected:
    std::vector<WindowEntry> entriesNow() { return list.windows().value(); }
    std::vector<std::string> titles()
    {
        std::vector<std::string> found;
        for (WindowEntry const& entry : entriesNow())
            found.push_back(entry.title);
        return found;
    }

    MonitorLayout layout{{{.id = 1, .name = "A", .area = {1920, 200, 1280, 800}},
                          {.id = 2, .name = "B", .area = {0, 0, 1920, 1080}}}};
    WaylandWindowList list{desktop, [this] { return layout; }};
};

TEST_F(WaylandWindowListTest, isFrontToBackInPointsOfTheMainMonitor)
{
    add("back", editor);
    add("front", python).frame = {1930.5, 220, 300, 200};

    auto const found = entriesNow();

    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].title, "Title of front");
    EXPECT_EQ(found[0].bounds, (DesktopRect{10.5, 20, 300, 200}));
    EXPECT_EQ(found[1].bounds, (DesktopRect{-1820, -100, 400, 300}));
    EXPECT_EQ(found[1].owner.identifier(), "org.example.Editor");
    EXPECT_EQ(found[1].ownerName, "Editor");
    EXPECT_EQ(found[1].ownerPid, editor);
    EXPECT_EQ(found[1].id, 1u);
}

TEST_F(WaylandWindowListTest, hasNoShadows)
{
    CompositorWindow& window = add("e", editor);
    window.frame = {1950, 230, 400, 300};
    window.surface = {1930, 210, 440, 350};

    EXPECT_EQ(entriesNow()[0].bounds, (DesktopRect{30, 30, 400, 300}));
}

TEST_F(WaylandWindowListTest, hasOnlyWhatIsOnTheScreen)
{
    add("seen", editor);
    add("elsewhere", editor).isOnScreen = false;
    CompositorWindow& small = add("small", editor);
    small.isOnScreen = false;
    small.isMinimized = true;

    EXPECT_THAT(titles(), ElementsAre("Title of seen"));
}

TEST_F(WaylandWindowListTest, sortsWindowsIntoLayers)
{
    add("desktop", python).kind = Kind::desktop;
    add("normal", editor);
    add("above", editor).isAbove = true;
    add("dock", python).kind = Kind::dock;
    add("notification", python).kind = Kind::overlay;
    popup("menu", editor, "normal");
    add("own", ownPid).isAbove = true;
    popup("own menu", ownPid, "own");

    std::vector<int> layers;
    for (WindowEntry const& entry : entriesNow())
        layers.push_back(entry.layer);

    EXPECT_THAT(layers, ElementsAre(8, 8, 25, 3, 3, 3, 0, 0));
    EXPECT_TRUE(entriesNow().back().isDesktop);
    EXPECT_FALSE(entriesNow().front().isDesktop);
}

TEST_F(WaylandWindowListTest, leavesOutThisProgramsOverlaysWhichTakeNoPointer)
{
    add("e", editor);
    add("cursor", ownPid).kind = Kind::overlay;

    EXPECT_THAT(titles(), ElementsAre("Title of e"));
}

TEST_F(WaylandWindowListTest, boundsAndRepairsTitles)
{
    add("long", editor).title = std::string(1023, 'x') + "\u00e9";
    EXPECT_EQ(titles()[0], std::string(1023, 'x'));

    source.window("long").title = "a\xff";
    EXPECT_EQ(titles()[0], "a\ufffd");
}

TEST_F(WaylandWindowListTest, isUnknownWithoutSourceAnswerOrMonitor)
{
    add("e", editor);
    WaylandWindowList none(blind, [this] { return layout; });
    EXPECT_THROW(none.windows(), AgentError);

    source.answers = false;
    EXPECT_THROW(list.windows(), AgentError);

    source.answers = true;
    EXPECT_NE(list.windows(), std::nullopt);
    layout.monitors.clear();
    EXPECT_THROW(list.windows(), AgentError);
}

TEST_F(WaylandWindowListTest, asksOncePerList)
{
    list.windows();

    EXPECT_EQ(source.looks, 1);
}

} // namespace
} // namespace zelvo::test
