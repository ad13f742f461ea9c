#include "confirm/ReleasePlace.h"

#include "confirm/ElementProbe.h"
#include "fakes/FakePlatform.h"
#include "fakes/FakeProbe.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class ReleasePlaceTest : public testing::Test {
protected:
    ReleasePlaceTest()
    {
        probe.hitAt = [this](DesktopPoint at) -> std::optional<ProbedElement> {
            if (!screen.contains(at))
                return std::nullopt;
            ProbedElement element;
            element.role = send.contains(at) ? "AXButton" : "AXGroup";
            element.title = send.contains(at) ? "Send" : "";
            return element;
        };
    }
    std::optional<DesktopPoint> away(DesktopPoint at) { return run(platform.io, place.awayFrom(at)); }

    FakePlatform platform;
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    HiddenAppGuard hiddenGuard{platform.contexts.workers, hiddenApps, platform.desktop, platform.windowList};
    ZelvoWindows ownWindows{platform.windowList, platform.machineFacts.pid};
    OwnUiGuard ownUi{ownWindows};
    ElementProbe desktopProbe{platform.contexts.workers, platform, hiddenApps};
    FakeProbe probe{desktopProbe};
    bool isStrict = true;
    ReleasePlace place{platform.time, platform.contexts.workers,  probe, hiddenGuard,
                       ownUi,         [this] { return isStrict; }};
    DesktopRect screen{0, 0, 1000, 1000};
    DesktopRect send{100, 100, 300, 30};
};

TEST_F(ReleasePlaceTest, isRightThereWithoutTheStrictGuard)
{
    isStrict = false;
    EXPECT_EQ(away({150, 110}), std::nullopt);
    EXPECT_TRUE(probe.points.empty());
}

TEST_F(ReleasePlaceTest, isRightThereWhereNothingIsAskedAbout)
{
    EXPECT_EQ(away({10, 10}), std::nullopt);
    EXPECT_EQ(away({5000, 10}), std::nullopt);
}

TEST_F(ReleasePlaceTest, isBesideAButtonThatIsAskedAbout)
{
    EXPECT_EQ(away({150, 110}), (DesktopPoint{150, 150}));
}

TEST_F(ReleasePlaceTest, isNotBeyondTheScreenNorOnAHiddenWindow)
{
    screen = {0, 0, 1000, 130};
    WindowEntry hidden;
    hidden.bounds = DesktopRect{0, 0, 1000, 75};
    hidden.owner = {{"secret"}};
    platform.windowList.list = std::vector<WindowEntry>{hidden};
    run(platform.io, hiddenApps.add("secret"));

    EXPECT_EQ(away({120, 110}), (DesktopPoint{80, 110}));
}

TEST_F(ReleasePlaceTest, isTheCornerWhereTheButtonFillsTheScreen)
{
    send = screen;
    EXPECT_EQ(away({150, 110}), (DesktopPoint{0, 0}));
}

} // namespace
} // namespace zelvo
