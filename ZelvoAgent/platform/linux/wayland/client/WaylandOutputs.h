#pragma once

#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/client/WaylandClient.h"

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

struct wl_output;              // NOLINT(readability-identifier-naming): libwayland names it.
struct zxdg_output_manager_v1; // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// What an output says of itself, as its events do.
struct OutputFacts {
    std::string name;
    int modeWidth = 0; ///< pixels, before rotation
    int modeHeight = 0;
    int transform = 0; ///< wl_output.transform: odd ones lie on their side
    int scale = 1;     ///< whole, rounded up by the compositor
    int x = 0;
    int y = 0;
    LogicalRect logical; ///< by xdg-output; without a size if the compositor has none
};

/// The monitor of these facts. A fraction of a scale is a multiple of 1/120 where that fits the sizes,
/// because the logical size is rounded.
Monitor monitorOf(OutputFacts const& facts);

/// The compositor's outputs as monitors, on one connection and kept up to date by its events.
/// Thread: the one that reads the connection.
class WaylandOutputs {
public:
    /// Binds the outputs. They are known after two round trips.
    /// call  called after each change; may be empty
    explicit WaylandOutputs(std::shared_ptr<WaylandClient> connection, std::function<void()> call = {});
    ~WaylandOutputs();
    WaylandOutputs(WaylandOutputs const&) = delete;
    WaylandOutputs& operator=(WaylandOutputs const&) = delete;

    /// Those that are fully described, in the compositor's order.
    std::vector<Monitor> monitors() const;
    /// Null if there is no such monitor now.
    wl_output* find(std::uint32_t monitor) const;
    /// wl_output.transform of a monitor; 0 if there is no such monitor.
    int transform(std::uint32_t monitor) const;

private:
    struct Output;
    struct Listener;
    void add(WaylandGlobal const& global);
    void remove(WaylandGlobal const& global);
    Output const* outputOf(std::uint32_t monitor) const;

    std::shared_ptr<WaylandClient> client;
    std::function<void()> changed;
    zxdg_output_manager_v1* manager;
    std::list<Output> outputs;
    std::shared_ptr<WaylandOutputs*> self; ///< for observers, which may outlive this object
};

} // namespace zelvo
