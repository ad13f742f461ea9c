#pragma once

#include "platform/linux/dbus/BusMessages.h"
#include "platform/linux/wayland/WindowSource.h"

#include <optional>
#include <vector>

namespace zelvo {

/// A picture as our extension describes it; the pixels are RGBA.
struct ShellPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t stride = 0;
    std::vector<CompositorWindow> windows; ///< those that are in it
    std::vector<CompositorWindow> chrome;  ///< what else in it names an application
};

/// Read the replies of our extension. `nullopt` if something has another type or is out of bounds: more than
/// 1,500 windows and parts of its interface, a text above 4 KiB, a picture that no monitor can have.
std::optional<WindowsNow> readShellLook(sd_bus_message* message);
std::optional<ShellPicture> readShellPicture(sd_bus_message* message);

} // namespace zelvo
