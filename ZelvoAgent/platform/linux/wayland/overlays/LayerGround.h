#pragma once

#include "platform/linux/wayland/overlays/OverlayBuffer.h"

#include <memory>

struct wl_compositor;         // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_output;             // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_surface;            // NOLINT(readability-identifier-naming): libwayland names it.
struct zwlr_layer_shell_v1;   // NOLINT(readability-identifier-naming): libwayland names it.
struct zwlr_layer_surface_v1; // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// Makes the compositor let all clicks through a surface, from its next commit on.
void takeNoInput(wl_compositor* compositor, wl_surface* surface);

/// A transparent point at the top left of an output, above all windows. Overlay windows are on it and beyond
/// its edges: moving one costs no more than a commit, and their order is ours, whereas compositors differ in
/// how they stack several layer surfaces. Thread: the one that reads the connection.
class LayerGround {
public:
    /// The objects must outlive it.
    LayerGround(wl_compositor* compositor, wl_shm* memory, zwlr_layer_shell_v1* shell, wl_output* output);
    ~LayerGround();
    LayerGround(LayerGround const&) = delete;
    LayerGround& operator=(LayerGround const&) = delete;

    wl_surface* get() const { return surface; }
    /// Makes places and order of what is on it take effect.
    void commit();

private:
    struct Listener;
    wl_surface* surface;
    zwlr_layer_surface_v1* role;
    std::unique_ptr<OverlayBuffer> pixel;
    bool isConfigured = false;
    bool isClosed = false; ///< the output is gone
};

} // namespace zelvo
