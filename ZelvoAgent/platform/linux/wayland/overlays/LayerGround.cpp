#include "platform/linux/wayland/overlays/LayerGround.h"

#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <wayland-client-protocol.h>

#include <cstdint>
#include <utility>

namespace zelvo {

namespace {

constexpr char const* nameSpace = "zelvo-overlay";
constexpr int wholeOutput = -1; ///< an exclusive zone that ignores panels

} // namespace

void takeNoInput(wl_compositor* compositor, wl_surface* surface)
{
    wl_region* const nothing = wl_compositor_create_region(compositor);
    wl_surface_set_input_region(surface, nothing);
    wl_region_destroy(nothing);
}

struct LayerGround::Listener {
    static void
    configure(void* data, zwlr_layer_surface_v1* role, std::uint32_t serial, std::uint32_t, std::uint32_t)
    {
        auto& self = *static_cast<LayerGround*>(data);
        zwlr_layer_surface_v1_ack_configure(role, serial);
        if (!std::exchange(self.isConfigured, true) && self.pixel)
            wl_surface_attach(self.surface, self.pixel->get(), 0, 0);
        self.commit();
    }
    static void closed(void* data, zwlr_layer_surface_v1*)
    {
        static_cast<LayerGround*>(data)->isClosed = true;
    }

    static constexpr zwlr_layer_surface_v1_listener layerSurface{.configure = configure, .closed = closed};
};

LayerGround::LayerGround(wl_compositor* compositor,
                         wl_shm* memory,
                         zwlr_layer_shell_v1* shell,
                         wl_output* output)
    : surface(wl_compositor_create_surface(compositor)),
      role(zwlr_layer_shell_v1_get_layer_surface(
          shell, surface, output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, nameSpace)),
      pixel(OverlayBuffer::make(memory, 1, 1))
{
    zwlr_layer_surface_v1_add_listener(role, &Listener::layerSurface, this);
    zwlr_layer_surface_v1_set_size(role, 1, 1);
    zwlr_layer_surface_v1_set_anchor(role,
                                     ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT);
    zwlr_layer_surface_v1_set_exclusive_zone(role, wholeOutput);
    zwlr_layer_surface_v1_set_keyboard_interactivity(role, 0);
    takeNoInput(compositor, surface);
    wl_surface_commit(surface);
}

LayerGround::~LayerGround()
{
    zwlr_layer_surface_v1_destroy(role);
    wl_surface_destroy(surface);
}

void LayerGround::commit()
{
    if (isConfigured && !isClosed)
        wl_surface_commit(surface);
}

} // namespace zelvo
