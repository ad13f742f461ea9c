#pragma once

#include "platform/linux/applications/OpenWindows.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// An application that is about to be opened.
struct OpenableApplication {
    std::optional<ApplicationBundle> bundle; ///< `nullopt` if there is no application
    bool hasWindow = false;                  ///< that can be brought to the front
};

/// The windows of applications on the desktop, for ApplicationOpener. Each call blocks for some milliseconds.
/// Thread: any. Made by: x11/windows/X11ApplicationWindows, wayland/windows/WaylandApplicationWindows.
class ApplicationWindows {
public:
    virtual ~ApplicationWindows() = default;
    virtual OpenableApplication look(std::string const& location) = 0;
    /// See windowToOpen().
    virtual ApplicationWindow windowOf(std::string const& location, StartMarks const* started) = 0;
    /// Makes a window active, wherever it is.
    virtual void bringBack(std::uint32_t window) = 0;
};

} // namespace zelvo
