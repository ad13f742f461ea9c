#include "platform/linux/wayland/portal/StreamPlaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Monitor monitor(std::uint32_t id, LogicalRect area, double scale = 1)
{
    return {.id = id,
            .area = area,
            .widthPixels = static_cast<int>(area.width * scale),
            .heightPixels = static_cast<int>(area.height * scale),
            .scale = scale};
}

std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs(std::vector<StreamPlace> const& places)
{
    std::vector<std::pair<std::uint32_t, std::uint32_t>> found;
    found.reserve(places.size());
    for (StreamPlace const& place : places)
        found.emplace_back(place.node, place.monitor);
    return found;
}

TEST(StreamPlaces, findsMonitorsByPosition)
{
    MonitorLayout const layout{{monitor(1, {0, 0, 1280, 800}), monitor(2, {1280, 0, 1280, 800})}};
    std::vector<PortalStream> const streams = {
        {.node = 8, .position = {{1280, 0}}, .size = {{1280, 800}}},
        {.node = 9, .position = {{0, 0}}, .size = {{1280, 800}}},
        {.node = 10, .position = {{5000, 0}}, .size = {{1280, 800}}},
    };

    auto const places = matchStreams(streams, layout);

    EXPECT_THAT(pairs(places), ElementsAre(std::pair(8, 2), std::pair(9, 1)));
    EXPECT_TRUE(places[0].isCertain);
}

TEST(StreamPlaces, findsMonitorsBySizeAndOrderButIsNotCertain)
{
    MonitorLayout const layout{
        {monitor(1, {0, 0, 1280, 800}), monitor(2, {1280, 0, 1920, 1080}), monitor(3, {3200, 0, 1280, 800})}};
    std::vector<PortalStream> const streams = {
        {.node = 8, .size = {{1280, 800}}},
        {.node = 9, .size = {{1280, 800}}},
        {.node = 10, .size = {{1280, 800}}},
        {.node = 11, .size = {{1920, 1080}}},
        {.node = 12},
    };

    auto const places = matchStreams(streams, layout);

    EXPECT_THAT(pairs(places), ElementsAre(std::pair(8, 1), std::pair(9, 3), std::pair(11, 2)));
    EXPECT_FALSE(places[0].isCertain);
}

TEST(StreamPlaces, isCertainOfTheOnlyMonitorUnlessPixelsAreNotPoints)
{
    PortalStream const points{.node = 8, .size = {{1280, 800}}};
    PortalStream const pixels{.node = 8, .size = {{2560, 1600}}};
    MonitorLayout const plain{{monitor(1, {0, 0, 1280, 800})}};
    MonitorLayout const scaled{{monitor(1, {0, 0, 1280, 800}, 2)}};

    EXPECT_TRUE(matchStreams({points}, plain).at(0).isCertain);
    EXPECT_FALSE(matchStreams({points}, scaled).at(0).isCertain);
    EXPECT_TRUE(matchStreams({pixels}, scaled).at(0).isCertain);
    auto const point = streamPointAt(matchStreams({pixels}, scaled), {100, 50});
    ASSERT_TRUE(point);
    EXPECT_EQ(point->x, 200);
    EXPECT_EQ(point->y, 100);
}

TEST(StreamPlaces, hasNoPlaceForAPointThatNobodyShared)
{
    MonitorLayout const layout{{monitor(1, {0, 0, 1280, 800}), monitor(2, {1280, 0, 1280, 800})}};
    auto const places = matchStreams({{.node = 8, .position = {{1280, 0}}, .size = {{1280, 800}}}}, layout);

    EXPECT_FALSE(streamPointAt(places, {1279, 10}));
    EXPECT_EQ(streamPointAt(places, {1280, 10})->x, 0);
    EXPECT_FALSE(streamPointAt(places, {2560, 10}));
    EXPECT_THAT(matchStreams({}, layout), IsEmpty());
    EXPECT_THAT(matchStreams({{.node = 8, .size = {{1, 1}}}}, {}), IsEmpty());
}

} // namespace
} // namespace zelvo
