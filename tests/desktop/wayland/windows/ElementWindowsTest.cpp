#include "platform/linux/wayland/windows/ElementWindows.h"

#include "desktop/wayland/windows/WindowsFixture.h"
#include "platform/linux/atspi/FrameMapping.h"

namespace zelvo::test {
namespace {

using testing::ElementsAre;

class ElementWindowsTest : public WindowsFixture {
protected:
    std::vector<ProcessWindow> windowsOf(std::int32_t pid) { return elementWindows(*desktop.look(), pid); }
    /// Where an element of the editor's only window is that reports this rectangle; its window reports that.
    std::optional<DesktopRect>
    placed(std::string const& toolkit, ReportedRect const& window, ReportedRect const& element)
    {
        FrameMapping const mapping(toolkit, {{"", window}}, windowsOf(editor), elementDisplays(layout));
        auto const space = mapping.topLevel(0);
        if (!space)
            return std::nullopt;
        auto const inside = mapping.place(*space, AtspiRole::frame, window).inside;
        return mapping.place(inside, AtspiRole::pushButton, element).frame;
    }

    MonitorLayout layout{{{.id = 7, .name = "A", .area = {1000, 50, 1920, 1080}},
                          {.id = 8, .name = "B", .area = {0, 0, 1000, 800}}}};
};

TEST_F(ElementWindowsTest, areTheProcesssOnTheScreenFrontToBack)
{
    add("back", editor);
    add("other", python);
    add("minimised", editor).isOnScreen = false;
    popup("menu", editor, "back");

    auto const found = windowsOf(editor);

    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].title, "Title of menu");
    EXPECT_TRUE(found[0].overrideRedirect);
    EXPECT_EQ(found[0].id, idOf("menu"));
    EXPECT_FALSE(found[1].overrideRedirect);
    EXPECT_TRUE(found[1].takesPointer);
}

TEST_F(ElementWindowsTest, haveShadowsInsideOrATitleBarOutsideOfTheSurface)
{
    CompositorWindow& shadowed = add("shadowed", editor);
    shadowed.frame = {1100, 100, 400, 300};
    shadowed.surface = {1074, 77, 452, 353};
    CompositorWindow& framed = add("framed", editor);
    framed.frame = {1100, 100, 404, 330};
    framed.surface = {1102, 128, 400, 300};

    auto const found = windowsOf(editor);

    EXPECT_EQ(found[0].inner, (PixelRect{1102, 128, 400, 300}));
    EXPECT_EQ(found[0].outer, (PixelRect{1100, 100, 404, 330}));
    EXPECT_EQ(found[0].frameExtents, (std::array{0, 0, 0, 0}));
    EXPECT_EQ(found[1].inner, (PixelRect{1074, 77, 452, 353}));
    EXPECT_EQ(found[1].outer, (PixelRect{1100, 100, 400, 300}));
    EXPECT_EQ(found[1].frameExtents, (std::array{26, 26, 23, 30}));
}

TEST_F(ElementWindowsTest, surviveWildNumbers)
{
    add("wild", editor).surface = {-1e300, std::nan(""), 1e300, INFINITY};

    EXPECT_EQ(windowsOf(editor)[0].inner.x, -1'000'000);
}

TEST_F(ElementWindowsTest, makeMonitorsOfPoints)
{
    auto const displays = elementDisplays(layout);

    ASSERT_EQ(displays.size(), 2u);
    EXPECT_EQ(
        displays[0],
        (DisplayLayout{
            .displayId = 7, .origin = {1000, 50}, .widthPixels = 1920, .heightPixels = 1080, .scale = 1}));
}

// The sizes in these are those of programs on GNOME, whose elements report places within their window.
TEST_F(ElementWindowsTest, placeElementsOfToolkitsThatCountFromTheShadowsCorner)
{
    CompositorWindow& window = add("", editor);
    window.title = "";
    window.frame = {1100, 100, 400, 300};
    window.surface = {1074, 77, 452, 353};

    EXPECT_EQ(placed("gtk", {0, 0, 452, 353}, {46, 73, 80, 30}), (DesktopRect{120, 100, 80, 30}));
    EXPECT_EQ(placed("Chromium", {0, 0, 452, 353}, {46, 73, 80, 30}), (DesktopRect{120, 100, 80, 30}));
}

TEST_F(ElementWindowsTest, placeElementsOfToolkitsThatCountFromTheFramesCorner)
{
    CompositorWindow& window = add("", editor);
    window.title = "";
    window.frame = {1100, 100, 400, 300};
    window.surface = {1074, 77, 452, 353};

    EXPECT_EQ(placed("GTK", {0, 0, 400, 300}, {20, 50, 80, 30}), (DesktopRect{120, 100, 80, 30}));
}

TEST_F(ElementWindowsTest, placeElementsBelowATitleBarThatTheToolkitDraws)
{
    CompositorWindow& window = add("", editor);
    window.frame = window.surface = {1100, 100, 406, 333};
    window.title = "Lab";
    FrameMapping const mapping("Qt", {{"Lab", {0, 0, 400, 300}}}, windowsOf(editor), elementDisplays(layout));

    ASSERT_TRUE(mapping.topLevel(0));
    EXPECT_EQ(mapping.topLevel(0)->x, 1103);
    EXPECT_EQ(mapping.topLevel(0)->y, 130);
}

TEST_F(ElementWindowsTest, placeElementsBelowATitleBarOfTheCompositor)
{
    CompositorWindow& window = add("", editor);
    window.title = "";
    window.frame = {1100, 100, 404, 330};
    window.surface = {1102, 128, 400, 300};

    for (char const* const toolkit : {"gtk", "GTK", "Qt", "Chromium"})
        EXPECT_EQ(placed(toolkit, {0, 0, 400, 300}, {20, 50, 80, 30}), (DesktopRect{122, 128, 80, 30}))
            << toolkit;
}

} // namespace
} // namespace zelvo::test
