#pragma once

namespace zelvo {

/// A point on the desktop, in points. The origin is the top left corner of the main display; coordinates on
/// other displays may be negative.
struct DesktopPoint {
    double x{};
    double y{};
    bool operator==(DesktopPoint const&) const = default;
};

/// A width and a height on the desktop, in points.
struct DesktopSize {
    double width{};
    double height{};
    bool operator==(DesktopSize const&) const = default;
};

/// A rectangle on the desktop, in points; left and top edges inclusive, right and bottom ones exclusive.
struct DesktopRect {
    double x{};
    double y{};
    double width{};
    double height{};
    bool operator==(DesktopRect const&) const = default;

    bool contains(DesktopPoint point) const
    {
        return point.x >= x && point.y >= y && point.x < x + width && point.y < y + height;
    }
    DesktopPoint center() const { return {x + width * 0.5, y + height * 0.5}; }
};

} // namespace zelvo
