#include "overlays/AgentCursorModel.h"

#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <set>

namespace zelvo {
namespace {

class AgentCursorModelTest : public testing::Test {
protected:
    void ripple(std::int64_t count)
    {
        model.ripple({10, 20}, count);
        platform.settle();
    }
    bool isMoving() const { return model.isMoving(platform.time.now()); }

    FakePlatform platform;
    AgentCursorModel model{platform.contexts.main, platform.time};
};

TEST_F(AgentCursorModelTest, twoClicksRippleOneAfterTheOther)
{
    ripple(2);
    ASSERT_EQ(model.ripples().size(), 1u);
    EXPECT_EQ(model.ripples()[0].point, (DesktopPoint{10, 20}));
    EXPECT_TRUE(model.ripples()[0].expanded);

    platform.time.advance(119ms);
    EXPECT_EQ(model.ripples().size(), 1u);
    platform.time.advance(1ms);
    ASSERT_EQ(model.ripples().size(), 2u);
    EXPECT_NE(model.ripples()[0].id, model.ripples()[1].id);

    platform.time.advance(430ms); // 550 ms after the first.
    EXPECT_EQ(model.ripples().size(), 1u);
    platform.time.advance(120ms);
    EXPECT_TRUE(model.ripples().empty());
}

TEST_F(AgentCursorModelTest, ripplesOnceAtLeastAndThreeTimesAtMost)
{
    for (auto const& [count, ripples] :
         {std::pair{-4, 1u}, std::pair{0, 1u}, std::pair{1, 1u}, std::pair{3, 3u}, std::pair{5, 3u}}) {
        std::set<std::string> seen;
        ripple(count);
        for (int step = 0; step < 100; ++step) {
            for (AgentCursorModel::Ripple const& one : model.ripples())
                seen.insert(one.id);
            platform.time.advance(10ms);
        }
        EXPECT_EQ(seen.size(), ripples) << count;
    }
}

TEST_F(AgentCursorModelTest, aRippleGrowsForHalfASecond)
{
    ripple(1);
    Motion const growth = model.ripples()[0].growth;
    EXPECT_EQ(growth.at(platform.time.now()), 0);
    platform.time.advance(250ms);
    EXPECT_DOUBLE_EQ(growth.at(platform.time.now()), 0.75);
    platform.time.advance(250ms);
    EXPECT_EQ(growth.at(platform.time.now()), 1);
    EXPECT_TRUE(isMoving());
    platform.time.advance(50ms);
    EXPECT_FALSE(isMoving());
}

TEST_F(AgentCursorModelTest, aSecondTextIsShownForItsWholeTime)
{
    model.say("first");
    platform.time.advance(1s);
    model.say("second");

    platform.time.advance(1399ms);
    EXPECT_EQ(model.activity(), "second");
    platform.time.advance(1ms);
    EXPECT_EQ(model.activity(), std::nullopt);
}

TEST_F(AgentCursorModelTest, travelsOnFromWhereItIsSeen)
{
    model.place(DesktopPoint{0, 0});
    model.travel({100, 0}, 100ms, Motion::Curve::linear);
    platform.time.advance(50ms);
    model.travel({50, 100}, 100ms, Motion::Curve::linear);

    EXPECT_EQ(model.pointAt(platform.time.now()), (DesktopPoint{50, 0}));
    EXPECT_TRUE(isMoving());
    platform.time.advance(100ms);
    EXPECT_EQ(model.pointAt(platform.time.now()), (DesktopPoint{50, 100}));
    EXPECT_FALSE(isMoving());
}

TEST_F(AgentCursorModelTest, turnsRoundInTheMiddleOfAFade)
{
    model.place(DesktopPoint{0, 0});
    model.fade(true, 100ms, Motion::Curve::linear);
    platform.time.advance(50ms);
    model.fade(false, 100ms, Motion::Curve::linear);

    EXPECT_FALSE(model.isVisible());
    EXPECT_DOUBLE_EQ(model.opacityAt(platform.time.now()), 0.5);
    platform.time.advance(100ms);
    EXPECT_EQ(model.opacityAt(platform.time.now()), 0);
}

TEST_F(AgentCursorModelTest, saysWhenItHasChanged)
{
    int changes = 0;
    model.changed.connect([&] { ++changes; });
    model.setName("Ann");
    model.setName("Ann");
    EXPECT_EQ(changes, 1);
    model.place(DesktopPoint{1, 1});
    EXPECT_EQ(changes, 2);
    ripple(1);
    EXPECT_EQ(changes, 3);
    platform.time.advance(1s);
    EXPECT_EQ(changes, 4);
}

TEST(AgentCursorModelEnd, ripplesOfAModelThatIsGoneTouchNothing)
{
    FakePlatform platform;
    {
        AgentCursorModel model(platform.contexts.main, platform.time);
        model.ripple({1, 1}, 3);
        model.say("text");
        platform.settle();
    }
    platform.time.advance(5s);
    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

TEST(AgentCursorModelEnd, ripplesThatHaveNotBegunReadNothingOfAModelThatIsGone)
{
    FakePlatform platform;
    alignas(AgentCursorModel) std::array<std::byte, sizeof(AgentCursorModel)> place{};
    auto* const model = new (place.data()) AgentCursorModel(platform.contexts.main, platform.time);
    model->ripple({1, 1}, 3);
    std::destroy_at(model);
    place.fill(std::byte{0}); // A pointer that is read from it now is null.

    platform.settle();
    platform.time.advance(5s);

    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

} // namespace
} // namespace zelvo
