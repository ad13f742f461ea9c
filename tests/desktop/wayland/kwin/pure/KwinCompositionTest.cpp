#include "platform/linux/wayland/kwin/KwinComposition.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvo {

namespace {

using Kind = CompositorWindow::Kind;

constexpr LogicalRect screen{0, 0, 1000, 800};

CompositorWindow window(std::string id, std::int32_t pid, LogicalRect frame = {10, 10, 100, 100})
{
    return {.id = std::move(id), .pid = pid, .frame = frame, .surface = frame, .isOnScreen = true};
}

FrameSource::LeftOut process(std::int32_t pid)
{
    return [pid](WindowsNow const& now) {
        std::set<std::string> ids;
        for (CompositorWindow const& one : now.windows)
            if (one.pid == pid)
                ids.insert(one.id);
        return ids;
    };
}

std::vector<std::string> kept(WindowsNow const& now, FrameSource::LeftOut const& leftOut)
{
    std::vector<std::string> ids;
    for (CompositorWindow const& one : selectWindows(now, screen, leftOut).kept)
        ids.push_back(one.id);
    return ids;
}

using Ids = std::vector<std::string>;

KwinImage image(int width, int height, double scale, PixelRect opaque)
{
    KwinImage made{.width = width, .height = height, .scale = scale};
    made.pixels = PixelBuffer(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    for (int y = opaque.y; y < opaque.bottom(); ++y)
        for (int x = opaque.x; x < opaque.right(); ++x)
            made.pixels[(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                         static_cast<std::size_t>(x)) *
                            4 +
                        3] = 255;
    return made;
}

Monitor monitor(double scale = 1)
{
    return {.id = 1,
            .name = "A",
            .area = screen,
            .widthPixels = static_cast<int>(1000 * scale),
            .heightPixels = static_cast<int>(800 * scale),
            .scale = scale};
}

TEST(KwinComposition, drawsFrontToBackWhatIsOnTheMonitor)
{
    WindowsNow now;
    now.windows = {window("back", 1), window("elsewhere", 1, {1000, 0, 100, 100}), window("minimised", 1),
                   window("front", 2)};
    now.windows[2].isOnScreen = false;

    EXPECT_EQ(kept(now, process(9)), (Ids{"front", "back"}));
}

TEST(KwinComposition, leavesOutDescendantsOfWhateverProcess)
{
    WindowsNow now;
    now.windows = {window("secret", 1), window("chooser", 2), window("popup", 2), window("other", 2)};
    now.windows[1].parent = "secret";
    now.windows[2].parent = "chooser";

    EXPECT_EQ(kept(now, process(1)), Ids{"other"});
    EXPECT_EQ(kept(now, process(9)).size(), 4U);
}

TEST(KwinComposition, leavesOutParentsInACircle)
{
    WindowsNow now;
    now.windows = {window("a", 1), window("b", 1)};
    now.windows[0].parent = "b";
    now.windows[1].parent = "a";

    EXPECT_EQ(kept(now, process(9)), Ids{});
}

TEST(KwinComposition, leavesOutTheCompositorsOwnWindows)
{
    WindowsNow now;
    now.windows = {window("one", 1), window("switcher", 2), window("old", 3)};
    now.windows[1].pid.reset();
    now.windows[2].pid.reset();
    now.windows[2].isX11 = true;

    EXPECT_EQ(kept(now, process(9)), (Ids{"old", "one"}));
}

TEST(KwinComposition, leavesOutPreviewsOfTheShellWhileAnythingIsHidden)
{
    WindowsNow now;
    now.windows = {window("panel", 5),  window("preview", 5), window("menu", 5),
                   window("notice", 5), window("popup", 6),   window("secret", 7)};
    now.windows[0].kind = Kind::dock;
    now.windows[1].kind = now.windows[2].kind = now.windows[4].kind = Kind::popup;
    now.windows[2].isActive = true;
    now.windows[3].kind = Kind::overlay;
    now.windows[5].isOnScreen = false; // Minimised: the shell can show it all the same.

    EXPECT_EQ(kept(now, process(7)), (Ids{"popup", "menu", "panel"}));
    EXPECT_EQ(kept(now, process(9)).size(), 5U);
}

TEST(KwinComposition, thePointerIsSecretOverALeftOutWindow)
{
    WindowsNow now;
    now.windows = {window("secret", 1), window("above", 2)};
    KwinSelection const selection = selectWindows(now, screen, process(1));

    EXPECT_TRUE(isPointerSecret(selection, LogicalPoint{50, 50}));
    EXPECT_FALSE(isPointerSecret(selection, LogicalPoint{150, 50}));
    EXPECT_TRUE(isPointerSecret(selection, std::nullopt));
    now.windows[0].isActive = true; // It may be dragging.
    EXPECT_TRUE(isPointerSecret(selectWindows(now, screen, process(1)), LogicalPoint{150, 50}));
}

TEST(KwinComposition, placesAnImageOfTheSurfaceOrTheFrame)
{
    CompositorWindow one = window("one", 1, {101, 51, 301, 201});
    EXPECT_EQ(placeImage(image(301, 201, 1, {}), one, monitor()), (PixelRect{101, 51, 301, 201}));
    EXPECT_EQ(placeImage(image(452, 302, 1.5, {}), one, monitor(1.5)), (PixelRect{152, 77, 452, 302}));
    one.surface = {91, 41, 321, 221};
    EXPECT_EQ(placeImage(image(321, 221, 1, {}), one, monitor()), (PixelRect{91, 41, 321, 221}));
    EXPECT_EQ(placeImage(image(642, 442, 2, {}), one, monitor(1)), (PixelRect{91, 41, 321, 221}));
}

TEST(KwinComposition, findsTheFrameInItsShadow)
{
    CompositorWindow one = window("one", 1, {100, 50, 300, 200});

    EXPECT_EQ(placeImage(image(430, 330, 1, {65, 40, 300, 200}), one, monitor()),
              (PixelRect{35, 10, 430, 330}));
    one.surface = {100, 80, 300, 170}; // Below a title bar of 30 points.
    EXPECT_EQ(placeImage(image(430, 330, 1, {65, 40, 300, 30}), one, monitor()),
              (PixelRect{35, 10, 430, 330}));
    EXPECT_FALSE(placeImage(image(430, 330, 1, {65, 40, 280, 200}), one, monitor()));
    EXPECT_FALSE(placeImage(image(430, 330, 1, {}), one, monitor()));
}

TEST(KwinComposition, findsATranslucentPanelAtItsEdge)
{
    CompositorWindow panel = window("panel", 1, {0, 760, 1000, 40});
    panel.kind = Kind::dock;

    EXPECT_EQ(placeImage(image(1000, 50, 1, {}), panel, monitor()), (PixelRect{0, 750, 1000, 50}));
    EXPECT_FALSE(placeImage(image(1010, 50, 1, {}), panel, monitor()));
}

TEST(KwinComposition, anImageOfAnotherSizeHasNoPlace)
{
    CompositorWindow one = window("one", 1, {100, 50, 300, 200});

    EXPECT_FALSE(placeImage(image(250, 200, 1, {0, 0, 250, 200}), one, monitor()));
    EXPECT_FALSE(placeImage(image(340, 260, 1, {0, 0, 340, 260}), one, monitor()));
    one.isX11 = true;
    EXPECT_EQ(placeImage(image(300, 170, 1, {}), one, monitor()), (PixelRect{100, 80, 300, 170}));
}

TEST(KwinComposition, drawsBelowAndClips)
{
    Picture picture{.width = 2, .height = 1, .stride = 8, .pixels = PixelBuffer(8)};
    KwinImage half = image(1, 1, 1, {0, 0, 1, 1});
    half.pixels[2] = 100;
    half.pixels[3] = 128;
    KwinImage full = image(4, 3, 1, {0, 0, 4, 3});
    for (int at = 0; at < 12; ++at)
        full.pixels[static_cast<std::size_t>(at) * 4] = 200;

    drawBelow(picture, half, {0, 0, 1, 1});
    EXPECT_FALSE(isOpaque(picture));
    drawBelow(picture, full, {-1, -1, 4, 3});

    EXPECT_TRUE(isOpaque(picture));
    EXPECT_EQ(picture.pixels[0], 100); // 200 through half
    EXPECT_EQ(picture.pixels[2], 100);
    EXPECT_EQ(picture.pixels[4], 200);
    EXPECT_EQ(picture.pixels[6], 0);
}

} // namespace

} // namespace zelvo
