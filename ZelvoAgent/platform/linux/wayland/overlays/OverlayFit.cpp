#include "platform/linux/wayland/overlays/OverlayFit.h"

#include "platform/OverlayWindows.h"

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr double maxPlace = 100'000;

struct FittedSide {
    int start = 0;
    int length = 0;
    int bufferLength = 0;
    int shift = 0;
};

FittedSide fitSide(double place, int origin, int pixels, double scale)
{
    double const clamped = std::isnan(place) ? 0 : std::clamp(place, -maxPlace, maxPlace);
    int const first = static_cast<int>(std::floor(clamped * scale)) - origin;
    FittedSide side;
    side.start = static_cast<int>(std::floor(first / scale));
    side.shift = std::max(0, first - static_cast<int>(std::lround(side.start * scale)));
    side.length = std::max(1, static_cast<int>(std::ceil((side.shift + pixels) / scale)));
    side.bufferLength = std::max(side.shift + pixels, static_cast<int>(std::lround(side.length * scale)));
    return side;
}

} // namespace

bool OverlayFit::looksLike(OverlayFit const& other) const
{
    OverlayFit moved = other;
    moved.left = left;
    moved.top = top;
    return moved == *this;
}

OverlayFit fitOverlay(OverlayPicture const& picture, DesktopPoint place, double scale)
{
    FittedSide const x = fitSide(place.x, picture.originX, picture.width, scale);
    FittedSide const y = fitSide(place.y, picture.originY, picture.height, scale);
    return {.left = x.start,
            .top = y.start,
            .width = x.length,
            .height = y.length,
            .bufferWidth = x.bufferLength,
            .bufferHeight = y.bufferLength,
            .shiftX = x.shift,
            .shiftY = y.shift};
}

} // namespace zelvo
