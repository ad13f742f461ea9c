#include "overlays/WorkingIndicatorController.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakeOverlays.h"
#include "unit/state/StateFixture.h"

namespace zelvo {
namespace {

class WorkingIndicatorControllerTest : public StateFixture {
protected:
    FakeOverlays overlays;
    WorkingIndicatorController controller{state, overlays.maker()};
};

TEST_F(WorkingIndicatorControllerTest, isShownWhileAnAgentWorks)
{
    controller.start();
    EXPECT_EQ(overlays.open, 0);

    state.markWorking();
    EXPECT_EQ(overlays.open, 1);
    state.markWorking();
    state.setLiveAgents(ComputerAgents::none());
    EXPECT_EQ(overlays.made, 1);

    platform.time.advance(3s);
    EXPECT_EQ(overlays.open, 0);
    state.markWorking();
    EXPECT_EQ(overlays.open, 1);
}

TEST_F(WorkingIndicatorControllerTest, isShownAtTheStartIfAnAgentWorksAlready)
{
    state.markWorking();
    controller.start();

    EXPECT_EQ(overlays.open, 1);
}

TEST_F(WorkingIndicatorControllerTest, isGoneForGoodOnceItIsStopped)
{
    controller.start();
    state.markWorking();
    controller.stop();
    EXPECT_EQ(overlays.open, 0);

    platform.time.advance(3s);
    state.markWorking();
    EXPECT_EQ(overlays.open, 0);
}

TEST_F(WorkingIndicatorControllerTest, isNothingWithoutAScreen)
{
    overlays.hasScreen = false;
    controller.start();
    state.markWorking();
    platform.time.advance(3s);

    EXPECT_EQ(overlays.made, 0);
}

TEST(IndicatorBadge, saysWhoWorksAndWhetherItIsRecorded)
{
    EXPECT_EQ(indicatorBadge("Ann", false), localized("indicator.badgeAgent", {"Ann"}));
    EXPECT_EQ(indicatorBadge("Ann", true), localized("indicator.badgeAgentRecording", {"Ann"}));
    EXPECT_EQ(indicatorBadge({}, false), localized("indicator.badge"));
    EXPECT_EQ(indicatorBadge({}, true), localized("indicator.badgeRecording"));
    EXPECT_NE(indicatorBadge("Ann", true).find("Ann"), std::string::npos);
}

} // namespace
} // namespace zelvo
