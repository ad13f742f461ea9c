#pragma once

#include "platform/linux/x11/PixelRegion.h"

#include <cstdint>
#include <memory>

namespace zelvo {

class X11Connection;

/// What the root window is painted with, also where windows lie over it: a window of ours that takes over its
/// parent's background is redirected into memory, beneath all others, so that nobody ever sees it. Thread:
/// one at a time, while the server is grabbed.
class RootBackground {
public:
    explicit RootBackground(std::shared_ptr<X11Connection> server);
    ~RootBackground();
    RootBackground(RootBackground const&) = delete;
    RootBackground& operator=(RootBackground const&) = delete;

    /// The window; it is on the screen only between show() and hide().
    std::uint32_t window() const { return id; }
    /// Paints an area and gives the pixmap that holds it. Only sends.
    std::uint32_t show(PixelRect const& area);
    void hide(std::uint32_t pixmap);

private:
    std::shared_ptr<X11Connection> connection;
    std::uint32_t id = 0;
};

} // namespace zelvo
