#include "platform/linux/wayland/wlr/VirtualPointer.h"

#include "platform/linux/wayland/wlr/VirtualKeyboard.h"
#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <wayland-client-protocol.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zelvo {

namespace {

/// The smallest rectangle with all monitors: what a compositor maps an absolute motion to.
LogicalRect boundsOf(std::vector<Monitor> const& monitors)
{
    double left = monitors[0].area.x;
    double top = monitors[0].area.y;
    double right = left;
    double bottom = top;
    for (Monitor const& monitor : monitors) {
        left = std::min(left, monitor.area.x);
        top = std::min(top, monitor.area.y);
        right = std::max(right, monitor.area.x + monitor.area.width);
        bottom = std::max(bottom, monitor.area.y + monitor.area.height);
    }
    return {.x = left, .y = top, .width = right - left, .height = bottom - top};
}

/// Parts of a point, so that fractions arrive.
constexpr double parts = 256;

std::uint32_t inParts(double value)
{
    return static_cast<std::uint32_t>(std::lround(value * parts));
}

double clamped(double value, double size)
{
    return std::clamp(std::isnan(value) ? 0.0 : value, 0.0, size - 1 / parts);
}

} // namespace

VirtualPointer::VirtualPointer(zwlr_virtual_pointer_manager_v1* manager, wl_seat* seat)
    : pointer(zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, seat))
{
}

VirtualPointer::~VirtualPointer()
{
    for (int const down : std::set(held))
        button(down, false);
    zwlr_virtual_pointer_v1_destroy(pointer);
}

bool VirtualPointer::moveTo(LogicalPoint point, std::vector<Monitor> const& monitors)
{
    if (monitors.empty())
        return false;
    LogicalRect const all = boundsOf(monitors);
    zwlr_virtual_pointer_v1_motion_absolute(
        pointer, eventTime(), inParts(clamped(point.x - all.x, all.width)),
        inParts(clamped(point.y - all.y, all.height)), inParts(all.width), inParts(all.height));
    zwlr_virtual_pointer_v1_frame(pointer);
    return true;
}

void VirtualPointer::button(int button, bool isDown)
{
    if (isDown)
        held.insert(button);
    else
        held.erase(button);
    zwlr_virtual_pointer_v1_button(pointer, eventTime(), static_cast<std::uint32_t>(button),
                                   isDown ? WL_POINTER_BUTTON_STATE_PRESSED
                                          : WL_POINTER_BUTTON_STATE_RELEASED);
    zwlr_virtual_pointer_v1_frame(pointer);
}

void VirtualPointer::scroll(int clicksDown, int clicksRight)
{
    turn(WL_POINTER_AXIS_VERTICAL_SCROLL, clicksDown);
    turn(WL_POINTER_AXIS_HORIZONTAL_SCROLL, clicksRight);
}

/// One event a click, as from a wheel: some programs count events.
void VirtualPointer::turn(unsigned axis, int clicks)
{
    constexpr int distance = 15; // Of a click, as compositors report it for a wheel.
    int const direction = clicks < 0 ? -1 : 1;
    for (int left = std::abs(clicks); left > 0; --left) {
        zwlr_virtual_pointer_v1_axis_source(pointer, WL_POINTER_AXIS_SOURCE_WHEEL);
        zwlr_virtual_pointer_v1_axis_discrete(pointer, eventTime(), axis,
                                              wl_fixed_from_int(distance * direction), direction);
        zwlr_virtual_pointer_v1_frame(pointer);
    }
}

} // namespace zelvo
