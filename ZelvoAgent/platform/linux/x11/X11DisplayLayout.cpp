#include "platform/linux/x11/X11DisplayLayout.h"

#include "platform/linux/x11/XReply.h"

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <string>

namespace zelvo {

namespace {

std::string resourceManager(X11Connection const& connection)
{
    auto* const x = connection.get();
    auto const cookie =
        xcb_get_property(x, 0, connection.root(), XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, 1 << 18);
    XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(x, cookie, nullptr));
    if (!reply)
        return {};
    return {static_cast<char const*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

DisplayLayout layoutOf(xcb_randr_monitor_info_t const& monitor, double scale)
{
    DisplayLayout layout;
    if (xcb_randr_monitor_info_outputs_length(&monitor) > 0)
        layout.displayId = xcb_randr_monitor_info_outputs(&monitor)[0];
    layout.origin = {monitor.x, monitor.y};
    layout.widthPixels = monitor.width;
    layout.heightPixels = monitor.height;
    layout.scale = scale;
    return layout;
}

std::vector<DisplayLayout> monitors(X11Connection const& connection, double scale)
{
    auto* const x = connection.get();
    XReply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(x, xcb_randr_get_monitors(x, connection.root(), 1), nullptr));
    std::vector<DisplayLayout> layouts;
    if (!reply)
        return layouts;
    std::size_t main = 0;
    for (auto item = xcb_randr_get_monitors_monitors_iterator(reply.get()); item.rem;
         xcb_randr_monitor_info_next(&item)) {
        if (item.data->width == 0 || item.data->height == 0)
            continue;
        if (item.data->primary)
            main = layouts.size();
        layouts.push_back(layoutOf(*item.data, scale));
    }
    if (main < layouts.size())
        std::rotate(layouts.begin(), layouts.begin() + static_cast<std::ptrdiff_t>(main),
                    layouts.begin() + static_cast<std::ptrdiff_t>(main) + 1);
    return layouts;
}

/// The whole screen as one display, for a server without monitors.
std::vector<DisplayLayout> wholeScreen(X11Connection const& connection, double scale)
{
    auto* const x = connection.get();
    XReply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(x, xcb_get_geometry(x, connection.root()), nullptr));
    if (!reply)
        return {};
    DisplayLayout layout;
    layout.widthPixels = reply->width;
    layout.heightPixels = reply->height;
    layout.scale = scale;
    return {layout};
}

} // namespace

double scaleFrom(std::string_view resources)
{
    constexpr std::string_view name = "Xft.dpi:";
    while (!resources.empty()) {
        auto const end = std::min(resources.find('\n'), resources.size());
        std::string_view const line = resources.substr(0, end);
        resources.remove_prefix(std::min(end + 1, resources.size()));
        if (!line.starts_with(name))
            continue;
        double const dpi = std::strtod(std::string(line.substr(name.size())).c_str(), nullptr);
        return std::isfinite(dpi) ? std::max(dpi / 96, 1.0) : 1;
    }
    return 1;
}

std::vector<DisplayLayout> readDisplayLayouts(X11Connection const& connection)
{
    double const scale = scaleFrom(resourceManager(connection));
    if (connection.capabilities().randr)
        return monitors(connection, scale);
    return wholeScreen(connection, scale);
}

struct X11DisplayLayout::State : std::enable_shared_from_this<State> {
    State(Contexts contexts, std::shared_ptr<X11Connection> connection)
        : contexts(std::move(contexts)), connection(std::move(connection))
    {
    }

    void refresh()
    {
        if (!connection)
            return;
        // Reading and storing are one step, so that an older result never replaces a newer one.
        std::scoped_lock guard(reading);
        auto found = readDisplayLayouts(*connection);
        if (found == layouts.get())
            return;
        layouts.set(std::move(found));
        asio::post(contexts.main, [self = shared_from_this()] {
            for (auto const& observer : self->observers.get())
                observer();
        });
    }

    Contexts contexts;
    std::shared_ptr<X11Connection> connection;
    std::mutex reading;
    LockedBox<std::vector<DisplayLayout>> layouts;
    LockedBox<std::vector<std::function<void()>>> observers;
};

namespace {

/// A connection that receives changes of the monitors and resources; null if there is none.
std::shared_ptr<X11Connection> watchingConnection()
{
    std::shared_ptr<X11Connection> connection = X11Connection::open();
    if (!connection)
        return nullptr;
    std::uint32_t const mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection->get(), connection->root(), XCB_CW_EVENT_MASK, &mask);
    if (connection->capabilities().randr)
        xcb_randr_select_input(connection->get(), connection->root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE);
    connection->sync();
    return connection;
}

bool concernsDisplays(xcb_generic_event_t const& event, X11Capabilities const& can)
{
    std::uint8_t const type = event.response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY)
        return reinterpret_cast<xcb_property_notify_event_t const&>(event).atom == XCB_ATOM_RESOURCE_MANAGER;
    if (type == XCB_CONFIGURE_NOTIFY)
        return true;
    return can.randr && (type == can.randrFirstEvent || type == can.randrFirstEvent + 1);
}

} // namespace

X11DisplayLayout::X11DisplayLayout(Contexts contexts, std::shared_ptr<X11Connection> connection)
    : state(std::make_shared<State>(std::move(contexts), std::move(connection)))
{
    if (!state->connection)
        return;
    auto watching = watchingConnection();
    state->layouts.set(readDisplayLayouts(*state->connection));
    if (!watching)
        return;
    events.emplace(state->contexts, watching, [state = state, watching] {
        bool changed = false;
        while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(watching->get())})
            changed = concernsDisplays(*event, watching->capabilities()) || changed;
        if (changed)
            asio::post(state->contexts.workers, [state] { state->refresh(); });
    });
}

X11DisplayLayout::~X11DisplayLayout() = default;

DisplayLayout X11DisplayLayout::current() const
{
    DisplayLayout layout;
    state->layouts.change([&](std::vector<DisplayLayout> const& layouts) {
        if (!layouts.empty())
            layout = layouts.front();
    });
    return layout;
}

std::vector<DisplayLayout> X11DisplayLayout::all() const
{
    return state->layouts.get();
}

void X11DisplayLayout::observe(std::function<void()> observer)
{
    state->observers.change([&](auto& observers) { observers.push_back(std::move(observer)); });
}

void X11DisplayLayout::refresh()
{
    state->refresh();
}

} // namespace zelvo
