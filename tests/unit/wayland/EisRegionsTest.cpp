#include "platform/linux/wayland/portal/EisRegions.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

Monitor monitor(std::uint32_t id, LogicalRect area, double scale = 1)
{
    return {.id = id,
            .area = area,
            .widthPixels = static_cast<int>(area.width * scale),
            .heightPixels = static_cast<int>(area.height * scale),
            .scale = scale};
}

PortalStream stream(std::uint32_t node, std::array<int, 2> position, std::string mapping)
{
    return {.node = node, .position = position, .size = {{1280, 800}}, .mapping = std::move(mapping)};
}

MonitorLayout const two{{monitor(1, {0, 0, 1280, 800}), monitor(2, {1280, 0, 1024, 768})}};

std::optional<EisPlace> place(std::size_t region, double x, double y)
{
    return EisPlace{.region = region, .point = {x, y}};
}

TEST(EisRegions, followsTheMappingOfTheMonitorsStream)
{
    std::vector<EisRegion> const regions = {{.area = {0, 0, 1280, 800}, .mapping = "right"},
                                            {.area = {50, 60, 2560, 1600}, .mapping = "left"}};
    std::vector<PortalStream> const streams = {stream(7, {0, 0}, "left"), stream(8, {1280, 0}, "right")};

    EXPECT_EQ(eisPlaceAt(regions, streams, two, {100, 200}), place(1, 50 + 200, 60 + 400));
    EXPECT_EQ(eisPlaceAt(regions, streams, two, {1280 + 512, 384}), place(0, 640, 400));
}

TEST(EisRegions, takesTheNewestOfTwoWithOneMapping)
{
    std::vector<EisRegion> const regions = {{.area = {0, 0, 800, 600}, .mapping = "left"},
                                            {.area = {0, 0, 1280, 800}, .mapping = "left"}};

    EXPECT_EQ(eisPlaceAt(regions, {stream(7, {0, 0}, "left")}, two, {100, 200}), place(1, 100, 200));
}

TEST(EisRegions, findsTheMonitorsAreaWithoutAMapping)
{
    std::vector<EisRegion> const regions = {{.area = {1280, 0, 1024, 768}}, {.area = {0, 0, 1280, 800}}};

    EXPECT_EQ(eisPlaceAt(regions, {}, two, {1290, 20}), place(0, 1290, 20));
    EXPECT_EQ(eisPlaceAt(regions, {stream(7, {0, 0}, "unknown")}, two, {12.5, 20}), place(1, 12.5, 20));
}

TEST(EisRegions, trustsTheOnlyRegionOfTheOnlyMonitor)
{
    MonitorLayout const one{{monitor(1, {0, 0, 1024, 640}, 1.25)}};
    std::vector<EisRegion> const pixels = {{.area = {0, 0, 1280, 800}}};

    EXPECT_EQ(eisPlaceAt(pixels, {}, one, {512, 320}), place(0, 640, 400));
    EXPECT_FALSE(eisPlaceAt(pixels, {}, two, {1300, 10}));
}

TEST(EisRegions, refusesPlacesThatNoRegionCertainlyShows)
{
    std::vector<EisRegion> const regions = {{.area = {0, 0, 1280, 800}}, {.area = {3000, 0, 1024, 768}}};

    EXPECT_FALSE(eisPlaceAt(regions, {}, two, {1300, 10})) << "a region that is elsewhere";
    EXPECT_FALSE(eisPlaceAt(regions, {}, two, {1300, 790})) << "below the smaller monitor";
    EXPECT_FALSE(eisPlaceAt(regions, {}, two, {-1, 10}));
    EXPECT_FALSE(eisPlaceAt({}, {}, two, {10, 10}));
    EXPECT_FALSE(
        eisPlaceAt({{.area = {0, 0, 0, 0}, .mapping = "left"}}, {stream(7, {0, 0}, "left")}, two, {10, 10}));
}

TEST(EisRegions, staysInsideOfTheRegion)
{
    std::vector<EisRegion> const regions = {{.area = {0, 0, 1280, 800}, .mapping = "left"}};
    std::vector<PortalStream> const streams = {stream(7, {0, 0}, "left")};

    EXPECT_EQ(eisPlaceAt(regions, streams, two, {1279.999999, 799.999999}), place(0, 1279.5, 799.5));
}

} // namespace
} // namespace zelvo
