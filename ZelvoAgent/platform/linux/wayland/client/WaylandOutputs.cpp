#include "platform/linux/wayland/client/WaylandOutputs.h"

#include "xdg-output-unstable-v1-client-protocol.h"

#include <wayland-client-protocol.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace zelvo {

namespace {

/// The scale that makes these pixels this logical size.
double scaleOf(double pixelsWide, double pixelsHigh, LogicalRect const& area)
{
    double const measured = std::max(pixelsWide / area.width, pixelsHigh / area.height);
    double const step = std::round(measured * 120) / 120;
    bool const fits = step > 0 && std::abs(pixelsWide / step - area.width) < 1 &&
                      std::abs(pixelsHigh / step - area.height) < 1;
    return fits ? step : pixelsWide / area.width;
}

} // namespace

Monitor monitorOf(OutputFacts const& facts)
{
    bool const onItsSide = facts.transform & 1;
    Monitor monitor;
    monitor.name = facts.name;
    monitor.id = monitorId(facts.name);
    monitor.widthPixels = onItsSide ? facts.modeHeight : facts.modeWidth;
    monitor.heightPixels = onItsSide ? facts.modeWidth : facts.modeHeight;
    monitor.area = facts.logical;
    if (facts.logical.width <= 0 || facts.logical.height <= 0) {
        double const whole = std::max(facts.scale, 1);
        monitor.area = {.x = static_cast<double>(facts.x),
                        .y = static_cast<double>(facts.y),
                        .width = monitor.widthPixels / whole,
                        .height = monitor.heightPixels / whole};
    }
    if (monitor.widthPixels > 0 && monitor.heightPixels > 0)
        monitor.scale = scaleOf(monitor.widthPixels, monitor.heightPixels, monitor.area);
    return monitor;
}

struct WaylandOutputs::Output {
    ~Output()
    {
        if (xdg)
            zxdg_output_v1_destroy(xdg);
        if (wl_output_get_version(output) >= WL_OUTPUT_RELEASE_SINCE_VERSION)
            wl_output_release(output);
        else
            wl_output_destroy(output);
    }

    WaylandOutputs* owner = nullptr;
    std::uint32_t global = 0;
    wl_output* output = nullptr;
    zxdg_output_v1* xdg = nullptr;
    OutputFacts arriving;
    std::optional<OutputFacts> facts;
};

struct WaylandOutputs::Listener {
    static OutputFacts& factsOf(void* data) { return static_cast<Output*>(data)->arriving; }

    /// Takes up what has arrived since the last time, if the description is complete.
    static void done(void* data)
    {
        auto& output = *static_cast<Output*>(data);
        OutputFacts const& facts = output.arriving;
        if (facts.modeWidth <= 0 || facts.modeHeight <= 0 || (output.xdg && facts.logical.width <= 0))
            return;
        output.facts = facts;
        if (output.owner->changed)
            output.owner->changed();
    }

    static constexpr wl_output_listener outputListener{
        .geometry =
            [](void* data, wl_output*, int x, int y, int, int, int, char const*, char const*, int transform) {
                factsOf(data).x = x;
                factsOf(data).y = y;
                factsOf(data).transform = transform;
            },
        .mode =
            [](void* data, wl_output*, std::uint32_t flags, int width, int height, int) {
                if (!(flags & WL_OUTPUT_MODE_CURRENT))
                    return;
                factsOf(data).modeWidth = width;
                factsOf(data).modeHeight = height;
            },
        .done = [](void* data, wl_output*) { done(data); },
        .scale = [](void* data, wl_output*, int factor) { factsOf(data).scale = factor; },
        .name = [](void* data, wl_output*, char const* name) { factsOf(data).name = name; },
        .description = [](void*, wl_output*, char const*) {},
    };

    static constexpr zxdg_output_v1_listener xdgListener{
        .logical_position =
            [](void* data, zxdg_output_v1*, int x, int y) {
                factsOf(data).logical.x = x;
                factsOf(data).logical.y = y;
            },
        .logical_size =
            [](void* data, zxdg_output_v1*, int width, int height) {
                factsOf(data).logical.width = width;
                factsOf(data).logical.height = height;
            },
        .done = [](void* data, zxdg_output_v1*) { done(data); },
        .name = [](void* data, zxdg_output_v1*, char const* name) { factsOf(data).name = name; },
        .description = [](void*, zxdg_output_v1*, char const*) {},
    };
};

WaylandOutputs::WaylandOutputs(std::shared_ptr<WaylandClient> connection, std::function<void()> call)
    : client(std::move(connection)), changed(std::move(call)),
      manager(client->bind<zxdg_output_manager_v1>(zxdg_output_manager_v1_interface, 3)),
      self(std::make_shared<WaylandOutputs*>(this))
{
    auto const whileAlive = [weak = std::weak_ptr(self)](void (WaylandOutputs::*what)(WaylandGlobal const&)) {
        return [weak, what](WaylandGlobal const& global) {
            if (auto const outputs = weak.lock(); outputs && global.interface == wl_output_interface.name)
                ((*outputs)->*what)(global);
        };
    };
    client->observeGlobals(whileAlive(&WaylandOutputs::add), whileAlive(&WaylandOutputs::remove));
}

WaylandOutputs::~WaylandOutputs()
{
    outputs.clear();
    if (manager)
        zxdg_output_manager_v1_destroy(manager);
}

void WaylandOutputs::add(WaylandGlobal const& global)
{
    Output& output = outputs.emplace_back();
    output.owner = this;
    output.global = global.name;
    // Until a name arrives; compositors before wl_output 4 and xdg-output 2 send none.
    output.arriving.name = "output " + std::to_string(global.name);
    output.output = client->bind<wl_output>(global, wl_output_interface, 4);
    wl_output_add_listener(output.output, &Listener::outputListener, &output);
    if (!manager)
        return;
    output.xdg = zxdg_output_manager_v1_get_xdg_output(manager, output.output);
    zxdg_output_v1_add_listener(output.xdg, &Listener::xdgListener, &output);
}

void WaylandOutputs::remove(WaylandGlobal const& global)
{
    if (outputs.remove_if([&](Output const& output) { return output.global == global.name; }) > 0 && changed)
        changed();
}

std::vector<Monitor> WaylandOutputs::monitors() const
{
    std::vector<Monitor> known;
    for (Output const& output : outputs)
        if (output.facts)
            known.push_back(monitorOf(*output.facts));
    return known;
}

WaylandOutputs::Output const* WaylandOutputs::outputOf(std::uint32_t monitor) const
{
    auto const found = std::ranges::find_if(outputs, [&](Output const& output) {
        return output.facts && monitorId(output.facts->name) == monitor;
    });
    return found == outputs.end() ? nullptr : &*found;
}

wl_output* WaylandOutputs::find(std::uint32_t monitor) const
{
    Output const* const output = outputOf(monitor);
    return output ? output->output : nullptr;
}

int WaylandOutputs::transform(std::uint32_t monitor) const
{
    Output const* const output = outputOf(monitor);
    return output ? output->facts->transform : 0;
}

} // namespace zelvo
