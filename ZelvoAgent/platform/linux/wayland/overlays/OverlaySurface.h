#pragma once

#include "platform/OverlayWindows.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/overlays/OverlayBuffer.h"
#include "platform/linux/wayland/overlays/OverlayFit.h"

#include <memory>
#include <optional>
#include <vector>

struct wl_compositor;    // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_subcompositor; // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_subsurface;    // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_surface;       // NOLINT(readability-identifier-naming): libwayland names it.
struct wp_viewport;      // NOLINT(readability-identifier-naming): libwayland names it.
struct wp_viewporter;    // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// What overlay windows are made with. The objects outlive the surfaces.
struct OverlayGlobals {
    wl_compositor* compositor = nullptr;
    wl_subcompositor* subcompositor = nullptr;
    wl_shm* memory = nullptr;
    wp_viewporter* viewporter = nullptr; ///< null: only whole scales are sharp
};

/// What overlay windows are on.
struct OverlayGround {
    wl_surface* surface = nullptr; ///< at the output's top left; null: nothing is shown
    double scale = 1;
};

/// One overlay window, a surface on the ground. It exists once it has a picture. What changes its place or
/// its order takes effect when the ground is committed. Thread: the one that reads the connection.
class OverlaySurface {
public:
    /// globals  must outlive it
    OverlaySurface(OverlayWindows::Layer layer, OverlayGlobals const& globals)
        : layer(layer), globals(globals)
    {
    }
    ~OverlaySurface() { remove(); }
    OverlaySurface(OverlaySurface const&) = delete;
    OverlaySurface& operator=(OverlaySurface const&) = delete;

    void show(DesktopPoint place, OverlayPicture picture);
    void move(DesktopPoint place);
    /// Makes the surface anew, on another ground.
    void remake(OverlayGround on);
    void remove();
    /// Puts it above another one on the same ground.
    void placeAbove(OverlaySurface const& other);
    bool isThere() const { return role != nullptr; }

    OverlayWindows::Layer const layer;

private:
    void make();
    void draw();
    OverlayBuffer* freeBuffer();
    void fill(OverlayBuffer& buffer) const;

    OverlayGlobals const& globals;
    OverlayGround ground;
    DesktopPoint point;
    std::optional<OverlayPicture> shown;
    OverlayFit fit;
    wl_surface* surface = nullptr;
    wl_subsurface* role = nullptr;
    wp_viewport* viewport = nullptr;
    std::vector<std::unique_ptr<OverlayBuffer>> buffers;
};

} // namespace zelvo
