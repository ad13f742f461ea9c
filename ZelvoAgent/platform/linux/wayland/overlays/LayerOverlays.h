#pragma once

#include "base/Contexts.h"
#include "platform/OverlayWindows.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/client/WaylandEvents.h"
#include "platform/linux/wayland/client/WaylandMonitors.h"

#include <memory>
#include <optional>

namespace zelvo {

/// Overlay windows by zwlr_layer_shell, on the main monitor. They are in the compositor's pictures and lists
/// like other windows, as windows of this process. Thread: main; requests are made on the agent.
class LayerOverlays final : public OverlayWindows {
public:
    /// Whether the compositor can do it.
    static bool isOffered(WaylandClient const& client);

    /// Blocks for two round trips.
    /// client    a connection that nothing else reads; null: windows are never shown
    /// monitors  must outlive it and its windows
    LayerOverlays(Contexts contexts, std::shared_ptr<WaylandClient> client, WaylandMonitors& monitors);
    ~LayerOverlays() override;
    LayerOverlays(LayerOverlays const&) = delete;
    LayerOverlays& operator=(LayerOverlays const&) = delete;

    std::optional<MainDisplay> mainDisplay() const override;
    std::unique_ptr<OverlayWindow> open(Layer layer) override;

private:
    class Stack;
    class Window;
    struct Link;

    WaylandMonitors& monitors;
    std::shared_ptr<Link> link;
};

} // namespace zelvo
