#include "platform/linux/x11/overlays/CutPicture.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace zelvo {

namespace {

constexpr std::uint32_t half = 128;

bool isDrawn(std::uint32_t pixel)
{
    return pixel >> 24 >= half;
}

/// The colour that was multiplied with the opacity.
std::uint32_t opaque(std::uint32_t pixel)
{
    std::uint32_t const alpha = pixel >> 24;
    auto const channel = [&](int shift) {
        return std::min((((pixel >> shift) & 0xff) * 255 + alpha / 2) / alpha, 255u) << shift;
    };
    return channel(16) | channel(8) | channel(0);
}

std::vector<PixelRect> drawnIn(std::span<std::uint32_t const> row, int y)
{
    std::vector<PixelRect> parts;
    for (auto at = row.begin(); at != row.end();) {
        auto const first = std::find_if(at, row.end(), isDrawn);
        at = std::find_if_not(first, row.end(), isDrawn);
        if (first != at)
            parts.push_back({static_cast<int>(first - row.begin()), y, static_cast<int>(at - first), 1});
    }
    return parts;
}

bool areSameSpans(std::span<PixelRect const> upper, std::span<PixelRect const> lower)
{
    return std::ranges::equal(upper, lower, [](PixelRect const& left, PixelRect const& right) {
        return left.x == right.x && left.width == right.width;
    });
}

} // namespace

CutPicture cutPicture(OverlayPicture const& picture)
{
    CutPicture cut;
    cut.pixels.resize(picture.pixels.size());
    std::ranges::transform(picture.pixels, cut.pixels.begin(),
                           [](std::uint32_t pixel) { return isDrawn(pixel) ? opaque(pixel) : 0; });
    std::size_t above = 0; // Where the parts of the row above begin.
    auto const width = static_cast<std::size_t>(picture.width);
    for (int y = 0; y < picture.height; ++y) {
        auto const row = std::span(picture.pixels).subspan(static_cast<std::size_t>(y) * width, width);
        std::vector<PixelRect> const parts = drawnIn(row, y);
        std::span<PixelRect> const upper = std::span(cut.shape).subspan(above);
        if (!upper.empty() && upper.front().bottom() == y && areSameSpans(upper, parts)) {
            for (PixelRect& part : upper)
                ++part.height;
            continue;
        }
        above = cut.shape.size();
        cut.shape.insert(cut.shape.end(), parts.begin(), parts.end());
    }
    return cut;
}

} // namespace zelvo
