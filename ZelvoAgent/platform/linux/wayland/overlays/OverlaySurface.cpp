#include "platform/linux/wayland/overlays/OverlaySurface.h"

#include "platform/linux/wayland/overlays/LayerGround.h"
#include "viewporter-client-protocol.h"

#include <wayland-client-protocol.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace zelvo {

void OverlaySurface::show(DesktopPoint place, OverlayPicture picture)
{
    point = place;
    shown = std::move(picture);
    if (!role)
        return make();
    fit = fitOverlay(*shown, point, ground.scale);
    wl_subsurface_set_position(role, fit.left, fit.top);
    draw();
}

void OverlaySurface::move(DesktopPoint place)
{
    point = place;
    if (!role)
        return;
    OverlayFit const next = fitOverlay(*shown, point, ground.scale);
    bool const isOnlyMoved = next.looksLike(fit);
    fit = next;
    wl_subsurface_set_position(role, fit.left, fit.top);
    if (!isOnlyMoved)
        draw();
}

void OverlaySurface::remake(OverlayGround on)
{
    remove();
    ground = on;
    make();
}

void OverlaySurface::placeAbove(OverlaySurface const& other)
{
    wl_subsurface_place_above(role, other.surface);
}

void OverlaySurface::make()
{
    if (!shown || !ground.surface)
        return;
    fit = fitOverlay(*shown, point, ground.scale);
    surface = wl_compositor_create_surface(globals.compositor);
    role = wl_subcompositor_get_subsurface(globals.subcompositor, surface, ground.surface);
    wl_subsurface_set_desync(role); // A new picture needs no commit of the ground.
    takeNoInput(globals.compositor, surface);
    if (globals.viewporter)
        viewport = wp_viewporter_get_viewport(globals.viewporter, surface);
    else
        wl_surface_set_buffer_scale(surface, std::max(1, static_cast<int>(std::lround(ground.scale))));
    wl_subsurface_set_position(role, fit.left, fit.top);
    draw();
}

void OverlaySurface::remove()
{
    if (!role)
        return;
    wl_subsurface_destroy(std::exchange(role, nullptr));
    if (viewport)
        wp_viewport_destroy(std::exchange(viewport, nullptr));
    wl_surface_destroy(std::exchange(surface, nullptr));
    buffers.clear();
}

void OverlaySurface::draw()
{
    OverlayBuffer* const buffer = freeBuffer();
    if (!buffer)
        return;
    fill(*buffer);
    if (viewport)
        wp_viewport_set_destination(viewport, fit.width, fit.height);
    wl_surface_attach(surface, buffer->get(), 0, 0);
    buffer->noteAttached();
    wl_surface_damage(surface, 0, 0, fit.width, fit.height);
    wl_surface_commit(surface);
}

OverlayBuffer* OverlaySurface::freeBuffer()
{
    std::erase_if(buffers, [&](auto const& one) {
        return !one->isBusy() && !one->hasSize(fit.bufferWidth, fit.bufferHeight);
    });
    auto const found = std::ranges::find_if(buffers, [](auto const& one) { return !one->isBusy(); });
    if (found != buffers.end())
        return found->get();
    auto made = OverlayBuffer::make(globals.memory, fit.bufferWidth, fit.bufferHeight);
    if (!made)
        return nullptr;
    buffers.push_back(std::move(made));
    return buffers.back().get();
}

void OverlaySurface::fill(OverlayBuffer& buffer) const
{
    buffer.clear();
    for (int y = 0; y < shown->height; ++y) {
        auto const to = static_cast<std::size_t>(y + fit.shiftY) * static_cast<std::size_t>(fit.bufferWidth) +
                        static_cast<std::size_t>(fit.shiftX);
        auto const from = static_cast<std::size_t>(y) * static_cast<std::size_t>(shown->width);
        std::memcpy(buffer.pixels() + to, shown->pixels.data() + from,
                    static_cast<std::size_t>(shown->width) * 4);
    }
}

} // namespace zelvo
