#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// A place in the compositor's own coordinates, which all its monitors share. The unit is the point; the
/// origin is wherever the compositor puts it.
struct LogicalPoint {
    double x{};
    double y{};
    bool operator==(LogicalPoint const&) const = default;
};

/// A rectangle in the same coordinates; left and top edges inclusive, right and bottom ones exclusive.
struct LogicalRect {
    double x{};
    double y{};
    double width{};
    double height{};
    bool operator==(LogicalRect const&) const = default;

    bool contains(LogicalPoint point) const
    {
        return point.x >= x && point.y >= y && point.x < x + width && point.y < y + height;
    }
};

/// A monitor of a compositor.
struct Monitor {
    std::uint32_t id = 0; ///< never 0, and the same as long as the connector's name is
    std::string name;     ///< of the connector: "DP-1"
    LogicalRect area;
    int widthPixels = 0; ///< as it is seen, rotation applied
    int heightPixels = 0;
    double scale = 1; ///< pixels per point; may be a fraction
    bool operator==(Monitor const&) const = default;
};

/// The id of the monitor at a connector.
std::uint32_t monitorId(std::string const& connector);

/// All monitors, the main one first. Converts between the compositor's coordinates and points of the desktop,
/// which begin at the top left corner of the main monitor.
struct MonitorLayout {
    std::vector<Monitor> monitors;
    bool operator==(MonitorLayout const&) const = default;

    LogicalPoint toLogical(DesktopPoint point) const { return {point.x + origin().x, point.y + origin().y}; }
    DesktopPoint toPoints(LogicalPoint point) const { return {point.x - origin().x, point.y - origin().y}; }
    DesktopRect toPoints(LogicalRect const& rect) const
    {
        return {rect.x - origin().x, rect.y - origin().y, rect.width, rect.height};
    }
    /// Null if there is no such monitor.
    Monitor const* find(std::uint32_t id) const
    {
        for (Monitor const& monitor : monitors)
            if (monitor.id == id)
                return &monitor;
        return nullptr;
    }

private:
    LogicalPoint origin() const
    {
        return monitors.empty() ? LogicalPoint{} : LogicalPoint{monitors[0].area.x, monitors[0].area.y};
    }
};

} // namespace zelvo
