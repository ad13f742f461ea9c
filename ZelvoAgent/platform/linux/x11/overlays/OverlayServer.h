#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <cstdint>
#include <memory>

namespace zelvo {

/// The connection that overlay windows are made on, and how they are made. Thread: main, once it is open.
struct OverlayServer {
    struct Visual {
        std::uint8_t depth = 0;
        std::uint32_t id = 0;
        std::uint32_t colors = 0; ///< a colormap
    };

    /// Connects; blocks for some round trips. Null if the server can't be reached, or if it lacks shapes or
    /// ordinary pixels: nothing may be put over the screen without them.
    static std::shared_ptr<OverlayServer> open();

    /// Whether windows have an alpha channel now.
    bool hasAlpha() const { return isComposited && alpha.id != 0; }
    Visual const& visual() const { return hasAlpha() ? alpha : plain; }
    /// Whether the server reports windows that appear, move or are raised.
    void setWatching(bool isWatching) const;

    std::shared_ptr<X11Connection> connection;
    std::uint8_t selectionEvent = 0; ///< a change of the compositing manager's selection; 0 without XFIXES
    bool isComposited = false;
    Visual plain;
    Visual alpha;                   ///< without an id if the server has none
    std::uint32_t shadowSwitch = 0; ///< the property by which a window forgoes the compositor's shadow

private:
    void findVisuals();
    void watchCompositor();
    void internShadowSwitch();
};

} // namespace zelvo
