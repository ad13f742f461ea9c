#pragma once

#include "platform/linux/screen/DisplayLayout.h"
#include "platform/linux/screen/ProcessWindow.h"
#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/windows/WindowSnapshot.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// The windows of a process on the screen, front to back, by which the places of its elements are known.
/// Their places are points of the compositor's coordinates, rounded.
std::vector<ProcessWindow> elementWindows(WindowSnapshot const& snapshot, std::int32_t pid);

/// The monitors in the same coordinates: one pixel of a layout is one point.
std::vector<DisplayLayout> elementDisplays(MonitorLayout const& layout);

} // namespace zelvo
