#pragma once

#include "platform/OverlayWindows.h"
#include "platform/linux/screen/PixelRegion.h"
#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/overlays/OverlayServer.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace zelvo {

/// One overlay window; it exists on the server once it has a picture. Sends requests and never waits for the
/// server. Thread: main.
class X11OverlayWindow {
public:
    /// layout  must outlive it
    X11OverlayWindow(OverlayWindows::Layer layer, X11DisplayLayout const& layout)
        : layer(layer), layout(layout)
    {
    }
    ~X11OverlayWindow() { remove(); }
    X11OverlayWindow(X11OverlayWindow const&) = delete;
    X11OverlayWindow& operator=(X11OverlayWindow const&) = delete;

    void show(DesktopPoint place, OverlayPicture picture);
    void move(DesktopPoint place);
    /// Makes the window anew, as the server's state demands.
    void remake(std::shared_ptr<OverlayServer const> on);
    /// The window's id; 0 while it isn't on the server.
    std::uint32_t id() const { return window; }

    OverlayWindows::Layer const layer;

private:
    void make();
    void remove();
    void draw();
    void fill(std::vector<std::uint32_t> const& pixels);
    void describe();
    void setPlace(PixelRect const& next);
    PixelRect wantedArea() const;

    X11DisplayLayout const& layout;
    std::shared_ptr<OverlayServer const> server;
    DesktopPoint point;
    std::optional<OverlayPicture> shown;
    std::uint32_t window = 0;
    PixelRect area; ///< of the window, on the root window
};

} // namespace zelvo
