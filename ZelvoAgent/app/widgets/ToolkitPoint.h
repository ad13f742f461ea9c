#pragma once

#include "base/Geometry.h"

#include <QRect>

#include <span>
#include <vector>

namespace zelvo {

/// A screen as the toolkit describes it: its top left corner in pixels, its size in the toolkit's points.
struct ToolkitScreen {
    QRect geometry;
    double ratio = 1; ///< pixels per point
};

/// The screens that there are, the main one first. Thread: main.
std::vector<ToolkitScreen> toolkitScreens();

/// Where a point of the desktop is in the toolkit's coordinates, which begin anew at the corner of each
/// screen.
/// scale    pixels per point of the desktop
/// screens  the main one first
QPoint toolkitPoint(DesktopPoint point, double scale, std::span<ToolkitScreen const> screens);

} // namespace zelvo
