#include "platform/linux/x11/capture/WindowWatch.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/damage.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

/// Larger than any window.
constexpr PixelRect everything{0, 0, 32767, 32767};

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

/// Of the events of creation and of configuration.
template <class Event>
PixelRect outerArea(Event const& event)
{
    return {event.x, event.y, event.width + 2 * event.border_width, event.height + 2 * event.border_width};
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
    stalePixels.noteMove();
    noteHiddenEmbedded(type, event);
    if (type == XCB_CREATE_NOTIFY) {
        auto const& created = as<xcb_create_notify_event_t>(event);
        if (created.parent == connection->root())
            noteArea(created.window, outerArea(created), created.border_width);
    } else if (onRoot) {
        takeOnRoot(type, event);
    }
    if (type == XCB_DESTROY_NOTIFY)
        noteEnd(about.window);
}

/// A child of the root has changed.
void WindowWatch::takeOnRoot(int type, void const* event)
{
    std::uint32_t const window = as<xcb_destroy_notify_event_t>(event).window;
    if (type == XCB_UNMAP_NOTIFY || type == XCB_DESTROY_NOTIFY) {
        noteGone(window);
    } else if (type == XCB_CONFIGURE_NOTIFY) {
        auto const& now = as<xcb_configure_notify_event_t>(event);
        noteArea(window, outerArea(now), now.border_width);
    } else if (type == XCB_REPARENT_NOTIFY) {
        std::uint32_t const parent = as<xcb_reparent_notify_event_t>(event).parent;
        if (parent == connection->root())
            shown.noteArrival(window);
        else
            frames.insert(parent);
    } else if (type == XCB_MAP_NOTIFY) {
        shown.noteMapped(window);
        noteNewPixels(window);
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
    if (!can.shape || type != can.shapeFirstEvent)
        return false;
    stalePixels.noteShape();
    return true;
}

/// A window has a place. A new size brings new pixels, as mapping does.
void WindowWatch::noteArea(std::uint32_t window, PixelRect const& area, int border)
{
    if (shown.notePlace(window, area, border))
        noteNewPixels(window);
}

/// The server begins a window with a copy of what the screen shows there.
void WindowWatch::noteNewPixels(std::uint32_t window)
{
    PixelRect const area = shown.area(window);
    if (area.isEmpty() || stalePixels.isStale(window)) { // What was stale before may be anywhere now.
        stalePixels.markStale(window, PixelRegion(everything));
        return;
    }
    PixelRect const inner = shown.inner(window);
    stalePixels.markStale(window, suspectPixels(window).intersected(area).movedBy(-inner.x, -inner.y));
}

/// Where the screen may show pixels that no picture may have: at all windows but those that the last picture
/// showed whole, and at the stale parts of others.
PixelRegion WindowWatch::suspectPixels(std::uint32_t around)
{
    PixelRegion suspects = shown.suspects(around, ignored);
    for (auto const& [window, part] : stalePixels.all()) {
        PixelRect const inner = shown.inner(window);
        if (window != around)
            for (PixelRect const& rect : part.movedBy(inner.x, inner.y).intersected(shown.area(window)).all())
                suspects.add(rect);
    }
    return suspects;
}

void WindowWatch::noteGone(std::uint32_t window)
{
    anyLoss = std::chrono::steady_clock::now();
    if (!shown.isKept(window))
        loss = anyLoss;
    shown.noteUnmapped(window);
    stalePixels.noteGone(window);
}

/// The server may reuse the id for a different window.
void WindowWatch::noteEnd(std::uint32_t window)
{
    selected.erase(window);
    selectedShapes.erase(window);
    frames.erase(window);
    shown.noteEnd(window);
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
        if (window.client.id != window.id)
            frames.insert(window.id);
        shown.set(window.id, window.area, window.border);
        if (connection->capabilities().shape && selectedShapes.insert(window.id).second)
            xcb_shape_select_input(connection->get(), window.id, 1);
    }
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
    shown.setKept({});
}

bool WindowWatch::hasHeldClient(std::uint32_t window) const
{
    std::scoped_lock guard(lock);
    return frames.contains(window);
}

void WindowWatch::setKept(std::unordered_set<std::uint32_t> windows)
{
    std::scoped_lock guard(lock);
    shown.setKept(std::move(windows));
}

/// A hidden embedded window leaves its place. The server reports that before the host draws there.
void WindowWatch::noteHiddenEmbedded(int type, void const* event)
{
    auto const& about = as<xcb_destroy_notify_event_t>(event);
    auto const left = std::ranges::find(hiddenEmbedded, about.window, &HiddenEmbeddedWindow::window);
    if (left == hiddenEmbedded.end() || type == XCB_MAP_NOTIFY)
        return;
    PixelRegion vacated(left->area);
    if (type != XCB_CONFIGURE_NOTIFY) {
        stalePixels.markStale(left->host, vacated);
        hiddenEmbedded.erase(left);
        return;
    }
    auto const& now = as<xcb_configure_notify_event_t>(event);
    PixelRect const place{now.x, now.y, now.width + 2 * now.border_width, now.height + 2 * now.border_width};
    left->area = {left->area.x + place.x - left->place.x, left->area.y + place.y - left->place.y, place.width,
                  place.height};
    left->place = place;
    vacated.subtract(left->area);
    stalePixels.markStale(left->host, vacated);
}

void WindowWatch::setHiddenEmbedded(std::vector<HiddenEmbeddedWindow> present)
{
    std::scoped_lock guard(lock);
    for (HiddenEmbeddedWindow const& before : hiddenEmbedded) {
        // One that moved without an event, for instance because another window is between it and its host.
        PixelRegion vacated(before.area);
        if (auto const now = std::ranges::find(present, before.window, &HiddenEmbeddedWindow::window);
            now != present.end() && now->host == before.host)
            vacated.subtract(now->area);
        stalePixels.markStale(before.host, vacated);
    }
    hiddenEmbedded = std::move(present);
}

void WindowWatch::ignore(std::uint32_t window)
{
    std::scoped_lock guard(lock);
    ignored = window;
}

} // namespace zelvo
