#include "drivers/OwnUiGuard.h"

#include "fakes/ErrorOf.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr std::int32_t ownPid = 4711;
constexpr DesktopRect frame{.x = 10, .y = 10, .width = 20, .height = 20};
constexpr DesktopRect other{.x = 100, .y = 100, .width = 20, .height = 20};

WindowEntry window(std::optional<std::int32_t> pid, int layer, std::optional<DesktopRect> bounds)
{
    return {.id = 1, .ownerPid = pid, .layer = layer, .bounds = bounds, .owner = {}};
}

class FixedFrames final : public OwnWindowLocating {
public:
    std::vector<DesktopRect> frames;
    std::vector<DesktopRect> windowFrames() override { return frames; }
};

std::optional<AgentError> clickAt(DesktopPoint point, std::vector<DesktopRect> frames)
{
    FixedFrames locator;
    locator.frames = std::move(frames);
    return errorOf([&] { OwnUiGuard(locator).assertClickAllowed(point); });
}

TEST(ZelvoWindows, protectsOwnWindowsUpToLayerEight)
{
    std::vector<WindowEntry> const list = {window(ownPid, 8, frame), window(ownPid, 0, other),
                                           window(ownPid, -3, frame)};

    EXPECT_EQ(ZelvoWindows::interactiveFrames(list, ownPid), (std::vector{frame, other, frame}));
}

TEST(ZelvoWindows, leavesOutHigherLayersOtherProcessesAndWindowsWithoutBounds)
{
    std::vector<WindowEntry> const list = {window(ownPid, 9, frame), window(ownPid, 25, frame),
                                           window(ownPid + 1, 8, frame), window(std::nullopt, 8, frame),
                                           window(ownPid, 8, std::nullopt)};

    EXPECT_TRUE(ZelvoWindows::interactiveFrames(list, ownPid).empty());
}

TEST(ZelvoWindows, readsTheWindowListAnewEachTime)
{
    FakeWindowList list;
    ZelvoWindows windows(list, ownPid);
    EXPECT_TRUE(windows.windowFrames().empty());

    list.list = {window(ownPid, 8, frame)};
    EXPECT_EQ(windows.windowFrames(), std::vector{frame});

    list.list = std::nullopt;
    EXPECT_TRUE(windows.windowFrames().empty());
}

TEST(OwnUiGuard, refusesAClickInsideAnyOwnWindow)
{
    EXPECT_EQ(clickAt({15, 15}, {frame, other}), AgentError::zelvoUiProtected);
    EXPECT_EQ(clickAt({110, 110}, {frame, other}), AgentError::zelvoUiProtected);
}

TEST(OwnUiGuard, takesTheLeftAndTopEdgesForInsideAndTheOthersForOutside)
{
    EXPECT_EQ(clickAt({10, 10}, {frame}), AgentError::zelvoUiProtected);
    EXPECT_FALSE(clickAt({30, 15}, {frame}));
    EXPECT_FALSE(clickAt({15, 30}, {frame}));
}

TEST(OwnUiGuard, passesAClickElsewhereOrWithoutOwnWindows)
{
    EXPECT_FALSE(clickAt({50, 50}, {frame, other}));
    EXPECT_FALSE(clickAt({15, 15}, {}));
}

TEST(OwnUiGuard, refusesToReadThisProgram)
{
    FixedFrames locator;
    OwnUiGuard const guard(locator);

    EXPECT_EQ(errorOf([&] { guard.assertAppReadable("dev.zelvo.agent"); }), AgentError::zelvoUiProtected);
    EXPECT_FALSE(errorOf([&] { guard.assertAppReadable("dev.zelvo.Agent"); }));
    EXPECT_FALSE(errorOf([&] { guard.assertAppReadable("dev.zelvo.agent.helper"); }));
    EXPECT_FALSE(errorOf([&] { guard.assertAppReadable(std::nullopt); }));
}

} // namespace
} // namespace zelvo
