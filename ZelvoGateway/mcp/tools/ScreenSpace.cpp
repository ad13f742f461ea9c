#include "ZelvoGateway/mcp/tools/ScreenSpace.h"

#include <algorithm>
#include <cmath>

namespace zelvo::service {

namespace {

// What clients that asked for it get at most.
constexpr std::int64_t maxAskedEdge = 2'000;
constexpr std::int64_t maxAskedArea = 2'600'000;

} // namespace

std::string sizeText(DisplaySize size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

PictureLimits PictureLimits::forWidth(std::optional<std::int64_t> width)
{
    if (!width)
        return {};
    return {.maxWidth = std::clamp<std::int64_t>(*width, 1, maxAskedEdge),
            .maxEdge = maxAskedEdge,
            .maxArea = maxAskedArea};
}

std::int64_t pictureWidth(DisplaySize part, PictureLimits limits)
{
    double const width = std::max<double>(static_cast<double>(part.width), 1);
    double const height = std::max<double>(static_cast<double>(part.height), 1);
    double const ratio = width / height;
    auto const maxEdge = static_cast<double>(limits.maxEdge);
    double const most = std::min({static_cast<double>(limits.maxWidth), maxEdge, maxEdge * ratio,
                                  std::sqrt(static_cast<double>(limits.maxArea) * ratio)});
    return std::max<std::int64_t>(static_cast<std::int64_t>(most), 1);
}

bool fits(DisplaySize pixels, PictureLimits limits)
{
    return pixels.width <= limits.maxWidth && pixels.width <= limits.maxEdge &&
           pixels.height <= limits.maxEdge + 1 && pixels.width * (pixels.height - 1) <= limits.maxArea;
}

ScreenPoint ScreenSpace::toPoints(ScreenPoint shown) const
{
    return {.x = origin.x + shown.x / scale, .y = origin.y + shown.y / scale};
}

SeenFrame ScreenSpace::toShown(SeenFrame points) const
{
    if (points.isRelative)
        return points;
    auto const place = [&](std::int64_t point, double start) {
        return std::llround((static_cast<double>(point) - start) * scale);
    };
    auto const length = [&](std::int64_t points) {
        return std::llround(static_cast<double>(points) * scale);
    };
    return {.x = place(points.x, origin.x),
            .y = place(points.y, origin.y),
            .w = length(points.w),
            .h = length(points.h)};
}

SeenFrame ScreenSpace::toPoints(SeenFrame shown) const
{
    ScreenPoint const start =
        toPoints(ScreenPoint{.x = static_cast<double>(shown.x), .y = static_cast<double>(shown.y)});
    return {.x = std::llround(start.x),
            .y = std::llround(start.y),
            .w = std::llround(static_cast<double>(shown.w) / scale),
            .h = std::llround(static_cast<double>(shown.h) / scale)};
}

DisplaySize ScreenSpace::shownSize() const
{
    return {.width = std::llround(static_cast<double>(size.width) * scale),
            .height = std::llround(static_cast<double>(size.height) * scale)};
}

bool ScreenSpace::contains(ScreenPoint points) const
{
    if (size == DisplaySize{})
        return true;
    double const x = points.x - origin.x;
    double const y = points.y - origin.y;
    return x >= 0 && y >= 0 && x <= static_cast<double>(size.width) && y <= static_cast<double>(size.height);
}

ScreenSpace wholeDisplay(DisplaySize display, PictureLimits limits)
{
    if (display.width <= 0 || display.height <= 0)
        return {};
    std::int64_t const width = std::min(pictureWidth(display, limits), display.width);
    return {.scale = static_cast<double>(width) / static_cast<double>(display.width),
            .origin = {},
            .size = display};
}

} // namespace zelvo::service
