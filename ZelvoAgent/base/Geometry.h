#pragma once

namespace zelvo {

/// A place on the desktop, in points. The origin is the top left of the main display; others may be negative.
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

/// An area of the desktop, in points. The left and top edges belong to it, the right and bottom ones do not.
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
