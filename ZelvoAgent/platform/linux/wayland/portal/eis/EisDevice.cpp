#include "platform/linux/wayland/portal/eis/EisDevice.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t mostRegions = 64;

} // namespace

EisDevice::EisDevice(ei_device* device) : device(ei_device_ref(device)) {}

bool EisDevice::has(ei_device_capability capability) const
{
    return ei_device_has_capability(device.get(), capability);
}

bool EisDevice::holds(Switch what) const
{
    return std::ranges::find(held, what) != held.end();
}

std::vector<EisRegion> EisDevice::regions() const
{
    std::vector<EisRegion> found;
    while (found.size() < mostRegions) {
        ei_region* const region = ei_device_get_region(device.get(), found.size());
        if (!region)
            break;
        char const* const mapping = ei_region_get_mapping_id(region);
        found.push_back({.area = {static_cast<double>(ei_region_get_x(region)),
                                  static_cast<double>(ei_region_get_y(region)),
                                  static_cast<double>(ei_region_get_width(region)),
                                  static_cast<double>(ei_region_get_height(region))},
                         .mapping = mapping ? mapping : ""});
    }
    return found;
}

void EisDevice::resume()
{
    isResumed = true;
    release();
}

void EisDevice::pause()
{
    isResumed = false;
    isEmulating = false;
}

void EisDevice::remove()
{
    pause();
    held.clear();
}

void EisDevice::begin()
{
    if (!std::exchange(isEmulating, true))
        ei_device_start_emulating(device.get(), ++sequence);
}

void EisDevice::frame()
{
    ei_device_frame(device.get(), ei_now(ei_device_get_context(device.get())));
}

void EisDevice::moveTo(LogicalPoint point)
{
    begin();
    ei_device_pointer_motion_absolute(device.get(), point.x, point.y);
    frame();
}

void EisDevice::turn(int unitsRight, int unitsDown)
{
    begin();
    ei_device_scroll_discrete(device.get(), unitsRight, unitsDown);
    frame();
}

void EisDevice::set(Switch what, bool isDown)
{
    begin();
    std::erase(held, what);
    if (isDown)
        held.push_back(what);
    if (what.isKey)
        ei_device_keyboard_key(device.get(), what.code, isDown);
    else
        ei_device_button_button(device.get(), what.code, isDown);
    frame();
}

void EisDevice::release()
{
    while (!held.empty())
        set(held.back(), false);
    if (std::exchange(isEmulating, false))
        ei_device_stop_emulating(device.get());
}

} // namespace zelvo
