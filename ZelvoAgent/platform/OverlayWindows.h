#pragma once

#include "base/Geometry.h"

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

/// What an overlay window shows.
struct OverlayPicture {
    int width = 0; ///< in pixels of the screen, as all numbers here
    int height = 0;
    std::vector<std::uint32_t> pixels; ///< AARRGGBB, premultiplied; top row first, no padding
    int originX = 0;                   ///< the pixel of the picture that covers the window's place
    int originY = 0;
};

/// A window above all others that takes neither clicks nor the keyboard and is in no picture and no list.
/// Where the screen system can't blend windows, pixels of less than half opacity are cut away and the others
/// are opaque. Thread: main.
class OverlayWindow {
public:
    virtual ~OverlayWindow() = default;
    /// Shows a picture, so that its origin covers the pixel that an event at `place` would hit.
    virtual void show(DesktopPoint place, OverlayPicture picture) = 0;
    /// Moves what is shown.
    virtual void move(DesktopPoint place) = 0;
};

/// Opens overlay windows and keeps them above all others. Thread: main.
/// Made by: platform/linux/x11/overlays/X11OverlayWindows, tests/fakes/FakeOverlayWindows.
class OverlayWindows {
public:
    /// From back to front.
    enum class Layer { frame, ripple, pointer };
    struct MainDisplay {
        int width = 0; ///< in pixels
        int height = 0;
        double scale = 1; ///< pixels per point
        bool operator==(MainDisplay const&) const = default;
    };

    virtual ~OverlayWindows() = default;
    /// Emitted when the main display changes, or its place on the screen.
    boost::signals2::signal<void()> changed;
    /// `nullopt` if there is no display.
    virtual std::optional<MainDisplay> mainDisplay() const = 0;
    /// A window that shows nothing yet.
    virtual std::unique_ptr<OverlayWindow> open(Layer layer) = 0;
};

} // namespace zelvo
