#include "platform/linux/wayland/overlays/LayerOverlays.h"

#include "platform/linux/wayland/client/WaylandOutputs.h"
#include "platform/linux/wayland/overlays/LayerGround.h"
#include "platform/linux/wayland/overlays/OverlaySurface.h"
#include "viewporter-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <wayland-client-protocol.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

using CompositorPtr = std::unique_ptr<wl_compositor, ReleaseProxy<wl_compositor_destroy>>;
using SubcompositorPtr = std::unique_ptr<wl_subcompositor, ReleaseProxy<wl_subcompositor_destroy>>;
using MemoryPtr = std::unique_ptr<wl_shm, ReleaseProxy<wl_shm_destroy>>;
using ViewporterPtr = std::unique_ptr<wp_viewporter, ReleaseProxy<wp_viewporter_destroy>>;

struct DestroyShell {
    void operator()(zwlr_layer_shell_v1* raw) const
    {
        if (zwlr_layer_shell_v1_get_version(raw) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
            zwlr_layer_shell_v1_destroy(raw);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy*>(raw));
    }
};

} // namespace

/// The windows that are open, from back to front. Thread: agent; first the one that opens the connection.
class LayerOverlays::Stack {
public:
    explicit Stack(std::shared_ptr<WaylandClient> connection)
        : client(std::move(connection)),
          compositor(client->bind<wl_compositor>(wl_compositor_interface, 4, 3)),
          subcompositor(client->bind<wl_subcompositor>(wl_subcompositor_interface, 1)),
          memory(client->bind<wl_shm>(wl_shm_interface, 1)),
          viewporter(client->bind<wp_viewporter>(wp_viewporter_interface, 1)),
          shell(client->bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 4)), outputs(client),
          globals{compositor.get(), subcompositor.get(), memory.get(), viewporter.get()}
    {
        client->roundtrip();
        client->roundtrip();
    }

    void add(std::shared_ptr<OverlaySurface> const& window)
    {
        auto const front =
            std::ranges::upper_bound(windows, window->layer, {}, [](auto const& one) { return one->layer; });
        windows.insert(front, window);
        if (!ground)
            rebuild();
        else
            window->remake(place());
    }
    void remove(std::shared_ptr<OverlaySurface> const& window)
    {
        window->remove();
        std::erase(windows, window);
        if (windows.empty())
            ground.reset();
    }

    void show(std::shared_ptr<OverlaySurface> const& window, DesktopPoint where, OverlayPicture picture)
    {
        bool const isNew = !window->isThere();
        window->show(where, std::move(picture));
        if (isNew)
            order();
        commit();
    }
    void move(std::shared_ptr<OverlaySurface> const& window, DesktopPoint where)
    {
        window->move(where);
        commit();
    }

    void rearrange(Monitor const& next)
    {
        main = next;
        if (!windows.empty())
            rebuild();
    }

    OverlayGlobals const& all() const { return globals; }

private:
    void rebuild()
    {
        for (auto const& window : windows)
            window->remove();
        ground.reset();
        wl_output* const output = main.id ? outputs.find(main.id) : nullptr;
        if (compositor && subcompositor && memory && shell && output)
            ground = std::make_unique<LayerGround>(compositor.get(), memory.get(), shell.get(), output);
        for (auto const& window : windows)
            window->remake(place());
        order();
        commit();
    }

    OverlayGround place() const { return {.surface = ground ? ground->get() : nullptr, .scale = main.scale}; }

    void order()
    {
        OverlaySurface const* below = nullptr;
        for (auto const& window : windows) {
            if (!window->isThere())
                continue;
            if (below)
                window->placeAbove(*below);
            below = window.get();
        }
    }

    void commit()
    {
        if (ground)
            ground->commit();
    }

    std::shared_ptr<WaylandClient> client;
    CompositorPtr compositor;
    SubcompositorPtr subcompositor;
    MemoryPtr memory;
    ViewporterPtr viewporter;
    std::unique_ptr<zwlr_layer_shell_v1, DestroyShell> shell;
    WaylandOutputs outputs;
    OverlayGlobals const globals;
    Monitor main;
    std::unique_ptr<LayerGround> ground; ///< while there are windows
    std::vector<std::shared_ptr<OverlaySurface>> windows;
};

/// The connection, shared by the windows.
struct LayerOverlays::Link {
    Link(Contexts const& contexts, std::shared_ptr<WaylandClient> client)
        : stack(std::make_shared<Stack>(client)), events(contexts, client, stack)
    {
    }

    /// Runs on the agent; requests are sent afterwards.
    void request(std::function<void(Stack&)> work)
    {
        events.request([weak = std::weak_ptr(stack), work = std::move(work)] {
            if (auto const self = weak.lock())
                work(*self);
        });
    }

    std::shared_ptr<Stack> stack;
    WaylandEvents events;
};

class LayerOverlays::Window final : public OverlayWindow {
public:
    Window(Layer layer, std::shared_ptr<Link> given) : link(std::move(given))
    {
        if (!link)
            return;
        surface = std::make_shared<std::shared_ptr<OverlaySurface>>();
        link->request([layer, kept = surface](Stack& stack) {
            *kept = std::make_shared<OverlaySurface>(layer, stack.all());
            stack.add(*kept);
        });
    }
    ~Window() override
    {
        if (link)
            link->request([kept = surface](Stack& stack) { stack.remove(std::exchange(*kept, nullptr)); });
    }
    Window(Window const&) = delete;
    Window& operator=(Window const&) = delete;

    void show(DesktopPoint place, OverlayPicture picture) override
    {
        auto const given = std::make_shared<OverlayPicture>(std::move(picture));
        if (link)
            link->request([kept = surface, place, given](Stack& stack) {
                stack.show(*kept, place, std::move(*given));
            });
    }
    void move(DesktopPoint place) override
    {
        if (link)
            link->request([kept = surface, place](Stack& stack) { stack.move(*kept, place); });
    }

private:
    std::shared_ptr<Link> link;
    std::shared_ptr<std::shared_ptr<OverlaySurface>> surface; ///< the inner one is the agent's
};

bool LayerOverlays::isOffered(WaylandClient const& client)
{
    return client.find(zwlr_layer_shell_v1_interface.name).has_value();
}

LayerOverlays::LayerOverlays(Contexts contexts,
                             std::shared_ptr<WaylandClient> client,
                             WaylandMonitors& monitors)
    : monitors(monitors)
{
    if (!client)
        return;
    link = std::make_shared<Link>(contexts, std::move(client));
    auto const follow = [&monitors, weak = std::weak_ptr(link)] {
        auto const open = weak.lock();
        if (!open)
            return false;
        auto const now = monitors.current().monitors;
        open->request(
            [main = now.empty() ? Monitor() : now.front()](Stack& stack) { stack.rearrange(main); });
        return true;
    };
    follow();
    monitors.observe([this, follow] {
        if (follow())
            changed();
    });
}

LayerOverlays::~LayerOverlays() = default;

std::optional<OverlayWindows::MainDisplay> LayerOverlays::mainDisplay() const
{
    auto const now = monitors.current().monitors;
    if (now.empty())
        return std::nullopt;
    Monitor const& main = now.front();
    return MainDisplay{.width = main.widthPixels, .height = main.heightPixels, .scale = main.scale};
}

std::unique_ptr<OverlayWindow> LayerOverlays::open(Layer layer)
{
    return std::make_unique<Window>(layer, link);
}

} // namespace zelvo
