#include "drivers/ScreenRegion.h"

#include "wire/AgentError.h"

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

/// An edge that is this close to a pixel's is meant to be there: a region that we reported must give the same
/// pixels again, whatever the scale.
constexpr double tolerance = 1e-6;

/// The pixels of one axis, from `first` to before `last`.
struct Span {
    int first = 0;
    int last = 0;
};

Span pixelsBetween(double start, double length, double scale, double displayPoints)
{
    double const count = std::round(displayPoints * scale);
    double const first = std::floor(start * scale + tolerance);
    double const last = std::ceil((start + length) * scale - tolerance);
    return {static_cast<int>(std::clamp(first, 0.0, count)), static_cast<int>(std::clamp(last, 0.0, count))};
}

} // namespace

ScreenRegion ScreenRegion::of(Display const& display, DesktopRect const& wanted)
{
    double const scale = display.scaleFactor;
    Span const x = pixelsBetween(wanted.x, wanted.width, scale, display.widthPoints);
    Span const y = pixelsBetween(wanted.y, wanted.height, scale, display.heightPoints);
    if (x.first >= x.last || y.first >= y.last)
        throw AgentError::invalidRequest;
    DisplayPart const pixels{x.first, y.first, x.last - x.first, y.last - y.first};
    return {.points = {pixels.x / scale, pixels.y / scale, pixels.width / scale, pixels.height / scale},
            .pixels = pixels};
}

} // namespace zelvo
