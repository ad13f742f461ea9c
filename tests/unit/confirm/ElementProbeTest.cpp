#include "confirm/ElementProbe.h"

#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class ElementProbeTest : public testing::Test {
public:
    std::optional<FrontmostAppInfo> front() { return run(platform.io, probe.frontmostApp()); }

    FakePlatform platform;
    HiddenAppsStore hiddenApps{platform.contexts.agent, platform.settings};
    ElementProbe probe{platform.contexts.workers, platform.desktop, hiddenApps};
};

TEST_F(ElementProbeTest, tellsIdentifierAndNameOfTheApplicationInFront)
{
    platform.desktop.front = RunningApplication{
        .pid = 1, .names = {{"org.xfce.mousepad", "mousepad"}}, .localizedName = "Mousepad"};

    EXPECT_EQ(front(), (FrontmostAppInfo{"org.xfce.mousepad", "Mousepad"}));
}

TEST_F(ElementProbeTest, tellsTheHiddenNameOfAnApplicationThatHasOne)
{
    platform.desktop.front = RunningApplication{
        .pid = 1, .names = {{"org.xfce.mousepad", "mousepad"}}, .localizedName = "Mousepad"};
    run(platform.io, hiddenApps.add("mousepad"));

    EXPECT_EQ(front(), (FrontmostAppInfo{"mousepad", "Mousepad"}));
}

TEST_F(ElementProbeTest, tellsNothingWhenNothingIsInFrontOrItHasNoIdentifier)
{
    EXPECT_FALSE(front());

    platform.desktop.front = RunningApplication{.pid = 1, .names = {}, .localizedName = "Nameless"};
    EXPECT_FALSE(front());
}

TEST_F(ElementProbeTest, looksAnewAtEachQuestion)
{
    front();
    front();

    EXPECT_EQ(platform.desktop.looks, 2);
}

} // namespace
} // namespace zelvo
