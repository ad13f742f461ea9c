#include "platform/linux/x11/capture/WindowWatch.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/damage.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <set>

namespace zelvo {

namespace {

/// How long a client that has left its host may remain visible there if no drawing is reported.
constexpr std::chrono::seconds vacating{3};

void select(X11Connection const& connection, std::uint32_t window)
{
    // Its destruction matters too: a new window with the same id must be selected again.
    std::uint32_t const mask =
        XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), window, XCB_CW_EVENT_MASK, &mask);
}

template <class Event>
Event const& as(void const* event)
{
    return *static_cast<Event const*>(event);
}

} // namespace

WindowWatch::WindowWatch(std::shared_ptr<X11Connection> server)
    : connection(std::move(server)), stalePixels(connection)
{
    select(*connection, connection->root());
    connection->sync();
}

void WindowWatch::takeEvents()
{
    // Polling and handling are one step: no other thread may see an empty queue before its events are
    // handled.
    std::scoped_lock guard(lock);
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(connection->get())})
        take(event.get());
}

bool WindowWatch::concernsNames(std::uint32_t atom) const
{
    auto const& atoms = connection->atoms();
    return atom == XCB_ATOM_WM_CLASS || atom == XCB_ATOM_WM_TRANSIENT_FOR || atom == XCB_ATOM_WM_HINTS ||
           atom == atoms.wmClientLeader || atom == atoms.gtkApplicationId || atom == atoms.kdeDesktopFile ||
           atom == atoms.netWmPid || atom == atoms.wmState || atom == atoms.netClientList ||
           atom == atoms.netSupportingWmCheck;
}

void WindowWatch::take(void const* event)
{
    auto const type = as<xcb_generic_event_t>(event).response_type & 0x7f;
    switch (type) {
    case 0: // An error: the window was destroyed before we could select its events.
        return;
    case XCB_PROPERTY_NOTIFY:
        changed = changed || concernsNames(as<xcb_property_notify_event_t>(event).atom);
        return;
    case XCB_CREATE_NOTIFY:
    case XCB_DESTROY_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_MAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
    case XCB_GRAVITY_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
        break;
    default:
        changed = takeExtension(type, event) || changed;
        return;
    }
    // Except for creation, all of these have the affected window after the window that reports it.
    auto const& about = as<xcb_destroy_notify_event_t>(event);
    bool const onRoot = about.event == connection->root();
    if (about.window == ignored || about.window == connection->root())
        return;
    changed = true;
    noteHiddenEmbedded(type, event);
    if (onRoot && (type == XCB_UNMAP_NOTIFY || type == XCB_DESTROY_NOTIFY))
        noteGone(about.window);
    if (type == XCB_DESTROY_NOTIFY)
        noteEnd(about.window);
    if (!onRoot)
        return;
    if (type == XCB_CONFIGURE_NOTIFY) {
        auto const& size = as<xcb_configure_notify_event_t>(event);
        noteSize(size.window, size.width, size.height);
    } else if (type == XCB_REPARENT_NOTIFY) {
        auto const& move = as<xcb_reparent_notify_event_t>(event);
        if (move.parent != connection->root())
            frames.insert(move.parent);
    } else if (type == XCB_MAP_NOTIFY) {
        noteMapped(about.window);
    }
}

/// True if a survey depends on it.
bool WindowWatch::takeExtension(int type, void const* event)
{
    X11Capabilities const& can = connection->capabilities();
    if (can.damage && type == can.damageFirstEvent) {
        auto const& drawn = as<xcb_damage_notify_event_t>(event);
        stalePixels.noteDrawn(drawn.drawable, drawn.damage, as<xcb_generic_event_t>(event).full_sequence,
                              {drawn.area.x, drawn.area.y, drawn.area.width, drawn.area.height});
        return false;
    }
    return can.shape && type == can.shapeFirstEvent;
}

void WindowWatch::noteSize(std::uint32_t window, int width, int height)
{
    Shown& entry = shown[window];
    if (entry.width == width && entry.height == height)
        return;
    entry = {width, height, std::chrono::steady_clock::now()};
    stalePixels.noteGone(window);
}

void WindowWatch::noteMapped(std::uint32_t window)
{
    shown[window].since = std::chrono::steady_clock::now();
}

void WindowWatch::noteGone(std::uint32_t window)
{
    anyLoss = std::chrono::steady_clock::now();
    if (!kept.contains(window))
        loss = anyLoss;
    stalePixels.noteGone(window);
}

/// The server may reuse the id for a different window.
void WindowWatch::noteEnd(std::uint32_t window)
{
    selected.erase(window);
    selectedShapes.erase(window);
    frames.erase(window);
    kept.erase(window);
    shown.erase(window);
}

bool WindowWatch::hasChanged() const
{
    std::scoped_lock guard(lock);
    return changed;
}

void WindowWatch::reset(WindowSurvey const& survey)
{
    std::scoped_lock guard(lock);
    changed = false;
    for (std::uint32_t const window : survey.watched)
        if (selected.insert(window).second)
            select(*connection, window);
    for (SurveyedWindow const& window : survey.windows) {
        // Sizes without borders, as in events.
        if (window.client.id != window.id)
            frames.insert(window.id);
        Shown& entry = shown[window.id];
        entry.width = window.area.width - 2 * window.border;
        entry.height = window.area.height - 2 * window.border;
        if (connection->capabilities().shape && selectedShapes.insert(window.id).second)
            xcb_shape_select_input(connection->get(), window.id, 1);
    }
}

WindowWatch::Time WindowWatch::shownSince(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    auto const found = shown.find(window);
    return found == shown.end() ? Time{} : found->second.since;
}

WindowWatch::Time WindowWatch::lastLoss() const
{
    std::scoped_lock guard(lock);
    return loss;
}

void WindowWatch::forgetKept()
{
    std::scoped_lock guard(lock);
    loss = anyLoss;
    kept.clear();
}

bool WindowWatch::hasHeldClient(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    return frames.contains(window);
}

void WindowWatch::setKept(std::unordered_set<std::uint32_t> windows)
{
    std::scoped_lock guard(lock);
    kept = std::move(windows);
}

/// A hidden embedded window leaves its place. The server reports that before the host draws there.
void WindowWatch::noteHiddenEmbedded(int type, void const* event)
{
    auto const& about = as<xcb_destroy_notify_event_t>(event);
    auto const left = std::ranges::find(hiddenEmbedded, about.window, &HiddenEmbeddedWindow::window);
    if (left == hiddenEmbedded.end() || type == XCB_MAP_NOTIFY)
        return;
    PixelRegion vacated(left->area);
    auto const until = std::chrono::steady_clock::now() + vacating;
    if (type != XCB_CONFIGURE_NOTIFY) {
        stalePixels.markStale(left->host, vacated, until);
        hiddenEmbedded.erase(left);
        return;
    }
    auto const& now = as<xcb_configure_notify_event_t>(event);
    PixelRect const place{now.x, now.y, now.width + 2 * now.border_width, now.height + 2 * now.border_width};
    left->area = {left->area.x + place.x - left->place.x, left->area.y + place.y - left->place.y, place.width,
                  place.height};
    left->place = place;
    vacated.subtract(left->area);
    stalePixels.markStale(left->host, vacated, until);
}

void WindowWatch::setHiddenEmbedded(std::vector<HiddenEmbeddedWindow> present)
{
    std::scoped_lock guard(lock);
    std::set<std::uint32_t> hosts;
    for (HiddenEmbeddedWindow const& embedded : present)
        hosts.insert(embedded.host);
    for (HiddenEmbeddedWindow const& before : hiddenEmbedded) {
        // One that moved without an event, for instance because another window is between it and its host.
        PixelRegion vacated(before.area);
        if (auto const now = std::ranges::find(present, before.window, &HiddenEmbeddedWindow::window);
            now != present.end() && now->host == before.host)
            vacated.subtract(now->area);
        stalePixels.markStale(before.host, vacated, std::chrono::steady_clock::now() + vacating);
    }
    stalePixels.expect(std::move(hosts));
    hiddenEmbedded = std::move(present);
}

void WindowWatch::markStale(std::uint32_t window, PixelRegion const& part, std::optional<Time> until)
{
    std::scoped_lock guard(lock);
    stalePixels.markStale(window, part, until);
}

PixelRegion WindowWatch::stale(SurveyedWindow const& window)
{
    std::scoped_lock guard(lock);
    return stalePixels.stale(window);
}

void WindowWatch::ignore(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    ignored = window;
}

} // namespace zelvo
