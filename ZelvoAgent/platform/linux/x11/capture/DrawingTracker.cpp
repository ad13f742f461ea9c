#include "platform/linux/x11/capture/DrawingTracker.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/capture/ServerGrab.h"
#include "platform/linux/x11/windows/WindowOwners.h"

#include <unistd.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <span>
#include <utility>

namespace zelvo {

namespace {

/// How long after a window moved the server may report drawing in the windows below.
constexpr std::chrono::milliseconds lateDrawing{50};

bool canTrack(std::shared_ptr<X11Connection> const& server)
{
    return server && server->capabilities().damage && server->capabilities().xfixes;
}

} // namespace

std::shared_ptr<DrawingTracker> DrawingTracker::open(DesktopEntries& entries, std::uint32_t ignored)
{
    std::shared_ptr<X11Connection> windows = X11Connection::open();
    std::shared_ptr<X11Connection> drawings = X11Connection::open();
    if (!canTrack(windows) || !canTrack(drawings))
        return nullptr;
    return std::shared_ptr<DrawingTracker>(
        new DrawingTracker(std::move(windows), std::move(drawings), entries, ignored));
}

DrawingTracker::DrawingTracker(std::shared_ptr<X11Connection> windows,
                               std::shared_ptr<X11Connection> drawings,
                               DesktopEntries& entries,
                               std::uint32_t ignored)
    : windows(std::move(windows)), drawings(std::move(drawings)), entries(entries), changes(this->windows)
{
    changes.ignore(ignored);
}

DrawingTracker::~DrawingTracker() = default;

bool DrawingTracker::isAlive() const
{
    return windows->isAlive() && drawings->isAlive();
}

bool DrawingTracker::takeEvents()
{
    changes.takeEvents();
    std::scoped_lock guard(lock);
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(drawings->get())})
        // An error is about a window that is gone.
        if ((event->response_type & 0x7f) == drawings->capabilities().damageFirstEvent)
            drawn.insert(reinterpret_cast<xcb_damage_notify_event_t const*>(event.get())->drawable);
    return !drawn.empty() || changes.hasChanged();
}

std::vector<PixelRect> DrawingTracker::take(PixelRect const& display, std::set<std::string> const& excluded)
{
    std::vector<PixelRect> found;
    PixelRegion leftOutChanges;
    if (auto next = look({display, excluded, isComposited()})) {
        found = next->changesSince(layout);
        leftOutChanges = next->leftOutChangesSince(layout);
        follow(*next);
        layout = *std::move(next);
    }
    appendDrawing(found, unsureAfter(std::move(leftOutChanges)));
    return found;
}

/// Where a window moves that is left out, the server reports drawing in the windows below, too, perhaps a
/// little later. What applications draw there in that time does not count.
PixelRegion DrawingTracker::unsureAfter(PixelRegion leftOutChanges)
{
    auto const now = std::chrono::steady_clock::now();
    if (now - leftOutChangedAt > lateDrawing)
        lastLeftOutChanges = {};
    if (leftOutChanges.isEmpty())
        return lastLeftOutChanges;
    PixelRegion unsure = std::exchange(lastLeftOutChanges, std::move(leftOutChanges));
    for (PixelRect const& area : lastLeftOutChanges.all())
        unsure.add(area);
    leftOutChangedAt = now;
    return unsure;
}

/// The reply also delivers all events from before.
bool DrawingTracker::isComposited() const
{
    auto* const x = windows->get();
    XReply<xcb_get_selection_owner_reply_t> const compositor(
        xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, windows->atoms().compositor), nullptr));
    return compositor && compositor->owner != XCB_NONE;
}

/// What pictures show now; nullopt if nothing that decides it has changed.
std::optional<ShownLayout> DrawingTracker::look(Given given)
{
    changes.takeEvents();
    auto newest = entries.current();
    bool const isNew = changes.hasChanged() || newest != index || given != last;
    if (!isNew)
        return std::nullopt;
    if (changes.hasChanged())
        surveyAnew();
    if (!owners || newest != index) {
        index = std::move(newest);
        owners = std::make_unique<WindowOwners>(survey, *index, ::getpid());
    }
    last = std::move(given);
    CaptureExclusion exclusion = excludedWindows(
        survey, [&](ClientWindow const& client) { return owners->namesOf(client).isHidden(last.excluded); });
    leaveOutEmptyFrames(survey, exclusion, [this](std::uint32_t id) { return changes.hasHeldClient(id); });
    return ShownLayout::of(survey, exclusion, last.display, last.isComposited);
}

/// Nothing may change before the watch knows what to watch.
void DrawingTracker::surveyAnew()
{
    ServerGrab const grab(windows->get());
    windows->sync();
    changes.takeEvents();
    owners.reset();
    survey = surveyWindows(*windows);
    changes.reset(survey);
}

/// Asks for one event for all drawing in a window until it is looked at.
void DrawingTracker::follow(ShownLayout const& next)
{
    auto* const x = drawings->get();
    for (auto const& [window, was] : layout.shown)
        if (!next.shown.contains(window)) {
            xcb_damage_destroy(x, damages[window]);
            damages.erase(window);
        }
    for (auto const& [window, is] : next.shown)
        if (!layout.shown.contains(window)) {
            std::uint32_t const damage = xcb_generate_id(x);
            damages[window] = damage;
            xcb_damage_create(x, damage, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
            // A new object begins with the whole window, which is among the changes already.
            xcb_damage_subtract(x, damage, XCB_NONE, XCB_NONE);
        }
    xcb_flush(x);
}

void DrawingTracker::appendDrawing(std::vector<PixelRect>& all, PixelRegion const& unsure)
{
    auto* const x = drawings->get();
    drawings->sync();
    takeEvents();
    std::set<std::uint32_t> reported;
    {
        std::scoped_lock guard(lock);
        reported.swap(drawn);
    }
    std::vector<std::pair<ShownLayout::Shown const*, xcb_xfixes_fetch_region_cookie_t>> asked;
    for (std::uint32_t const window : reported) {
        auto const found = layout.shown.find(window);
        if (found == layout.shown.end())
            continue;
        xcb_xfixes_region_t const region = xcb_generate_id(x);
        xcb_xfixes_create_region(x, region, 0, nullptr);
        xcb_damage_subtract(x, damages[window], XCB_NONE, region);
        asked.emplace_back(&found->second, xcb_xfixes_fetch_region(x, region));
        xcb_xfixes_destroy_region(x, region);
    }
    for (auto const& [window, cookie] : asked) {
        XReply<xcb_xfixes_fetch_region_reply_t> const reply(
            xcb_xfixes_fetch_region_reply(x, cookie, nullptr));
        if (!reply)
            continue;
        auto const count = static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(reply.get()));
        std::vector<PixelRect> parts;
        for (xcb_rectangle_t const& part : std::span(xcb_xfixes_fetch_region_rectangles(reply.get()), count))
            parts.push_back(PixelRect{part.x, part.y, part.width, part.height}.movedBy(
                window->area.x + window->border, window->area.y + window->border));
        PixelRegion visible = PixelRegion::fromDisjoint(std::move(parts)).intersected(window->visible);
        visible.subtract(unsure);
        all.insert(all.end(), visible.all().begin(), visible.all().end());
    }
}

} // namespace zelvo
