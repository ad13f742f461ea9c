#pragma once

#include "platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <memory>

namespace zelvo {

class X11Connection;

/// Reads the root window's background, also where windows cover it: a window of ours inherits the background
/// (ParentRelative) and is redirected into memory below all others while it is mapped, so that nobody sees
/// it. Thread: one at a time, while the server is grabbed.
class RootBackground {
public:
    explicit RootBackground(std::shared_ptr<X11Connection> server);
    ~RootBackground();
    RootBackground(RootBackground const&) = delete;
    RootBackground& operator=(RootBackground const&) = delete;

    /// The window; it is mapped only between show() and hide().
    std::uint32_t window() const { return id; }
    /// Paints an area and returns the pixmap that contains it. Sends only, without a round trip.
    std::uint32_t show(PixelRect const& area);
    void hide(std::uint32_t pixmap);

private:
    std::shared_ptr<X11Connection> connection;
    std::uint32_t id = 0;
};

} // namespace zelvo
