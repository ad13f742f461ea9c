#include "platform/linux/wayland/client/WaylandMonitors.h"

#include "kde-output-order-v1-client-protocol.h"
#include "kde-primary-output-v1-client-protocol.h"
#include "platform/linux/wayland/client/WaylandOutputs.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

namespace zelvo {

MonitorLayout layoutOf(std::vector<Monitor> monitors, std::string const& main)
{
    auto first = std::ranges::find(monitors, main, &Monitor::name);
    if (first == monitors.end())
        first = std::ranges::find_if(
            monitors, [](Monitor const& monitor) { return monitor.area.x == 0 && monitor.area.y == 0; });
    if (first == monitors.end())
        first = std::ranges::min_element(monitors, {}, [](Monitor const& monitor) { return monitor.area.x; });
    if (first != monitors.end())
        std::rotate(monitors.begin(), first, first + 1);
    return {std::move(monitors)};
}

/// The monitors and what names the main one. Thread: the one that reads the connection, except for `layout`
/// and `observers`.
struct WaylandMonitors::State {
    State(Contexts contexts, std::shared_ptr<WaylandClient> const& client, MainName mainName)
        : contexts(std::move(contexts)), client(client), mainName(std::move(mainName)),
          order(client->bind<kde_output_order_v1>(kde_output_order_v1_interface, 1)),
          primary(client->bind<kde_primary_output_v1>(kde_primary_output_v1_interface, 2)),
          outputs(client, [this] { update(); })
    {
        if (order)
            kde_output_order_v1_add_listener(order.get(), &orderListener, this);
        if (primary)
            kde_primary_output_v1_add_listener(primary.get(), &primaryListener, this);
    }

    void update()
    {
        auto next = layoutOf(outputs.monitors(), nameOfMain());
        if (next == layout.get())
            return;
        layout.set(std::move(next));
        for (auto const& observer : observers.get())
            asio::post(contexts.main, observer);
    }

    std::string nameOfMain() const
    {
        if (!ordered.empty())
            return ordered.front();
        if (!primaryName.empty())
            return primaryName;
        return mainName ? mainName() : std::string();
    }

    static State& of(void* data) { return *static_cast<State*>(data); }
    static void orderedOutput(void* data, kde_output_order_v1*, char const* name)
    {
        of(data).arriving.emplace_back(name);
    }
    static void orderDone(void* data, kde_output_order_v1*)
    {
        of(data).ordered = std::exchange(of(data).arriving, {});
        of(data).update();
    }
    static void primaryOutput(void* data, kde_primary_output_v1*, char const* name)
    {
        of(data).primaryName = name;
        of(data).update();
    }
    static constexpr kde_output_order_v1_listener orderListener{.output = orderedOutput, .done = orderDone};
    static constexpr kde_primary_output_v1_listener primaryListener{.primary_output = primaryOutput};
    /// Version 1 has no request for it.
    static void release(kde_primary_output_v1* object)
    {
        if (kde_primary_output_v1_get_version(object) >= KDE_PRIMARY_OUTPUT_V1_DESTROY_SINCE_VERSION)
            kde_primary_output_v1_destroy(object);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy*>(object));
    }

    Contexts contexts;
    std::shared_ptr<WaylandClient> client; // Outlives its objects below.
    MainName mainName;
    LockedBox<MonitorLayout> layout;
    LockedBox<std::vector<std::function<void()>>> observers;
    std::vector<std::string> arriving;
    std::vector<std::string> ordered;
    std::string primaryName;
    std::unique_ptr<kde_output_order_v1, ReleaseProxy<kde_output_order_v1_destroy>> order;
    std::unique_ptr<kde_primary_output_v1, ReleaseProxy<&State::release>> primary;
    WaylandOutputs outputs;
};

WaylandMonitors::WaylandMonitors(Contexts contexts, std::shared_ptr<WaylandClient> client, MainName mainName)
{
    if (!client)
        return;
    state = std::make_shared<State>(contexts, client, std::move(mainName));
    client->roundtrip();
    client->roundtrip();
    events.emplace(contexts, std::move(client), state);
}

WaylandMonitors::~WaylandMonitors() = default;

MonitorLayout WaylandMonitors::current() const
{
    return state ? state->layout.get() : MonitorLayout{};
}

void WaylandMonitors::observe(std::function<void()> observer)
{
    if (state)
        state->observers.change([&](auto& observers) { observers.push_back(std::move(observer)); });
}

void WaylandMonitors::refresh()
{
    if (events)
        events->request([state = state] { state->update(); });
}

} // namespace zelvo
