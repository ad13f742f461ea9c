#include "platform/linux/x11/capture/CaptureScene.h"

#include "platform/ScreenSource.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/capture/DrawingRequest.h"
#include "platform/linux/x11/capture/Redirection.h"
#include "platform/linux/x11/windows/WindowOwners.h"

#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace zelvo {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// How long to wait for a new window to draw over what was below it, and for a newly redirected one.
constexpr milliseconds settling{250};
/// Between two looks at a window that has to draw.
constexpr milliseconds lookInterval{80};
/// How long a compositing manager may show a window after it closed.
constexpr milliseconds fading{1000};

milliseconds timeLeft(WindowWatch::Time since, milliseconds length)
{
    auto const left = std::chrono::ceil<milliseconds>(since + length - steady_clock::now());
    return std::max(left, milliseconds{0});
}

} // namespace

CaptureScene::CaptureScene(std::shared_ptr<X11Connection> server, DesktopEntries& entries)
    : connection(std::move(server)), entries(entries), changes(connection)
{
}

CaptureScene::~CaptureScene() = default;

void CaptureScene::redirect(std::uint32_t ownWindow)
{
    redirectedAt = steady_clock::now();
    changes.ignore(ownWindow);
    changes.takeEvents();
    redirectWindows(*connection, changes);
    changes.takeEvents();
}

void CaptureScene::takeEntries()
{
    if (auto newest = entries.current(); newest != index) {
        owners.reset();
        index = std::move(newest);
    }
}

bool CaptureScene::update(std::set<std::string> const& excluded)
{
    auto* const x = connection->get();
    // The reply also delivers all events from before the grab.
    XReply<xcb_get_selection_owner_reply_t> const owner(xcb_get_selection_owner_reply(
        x, xcb_get_selection_owner(x, connection->atoms().compositor), nullptr));
    if (!owner)
        throw ScreenFailure{"the X server is gone"};
    changes.takeEvents();
    // A window that has closed may belong to an application that is hidden only now.
    bool const isNewList = excluded != lastExcluded;
    if (isNewList) {
        changes.forgetKept();
        lastExcluded = excluded;
    }
    if (changes.hasChanged())
        surveyAnew();
    if (!owners)
        owners = std::make_unique<WindowOwners>(survey, *index, ::getpid());
    auto const isNamed = [&](ClientWindow const& client) {
        return owners->namesOf(client).isHidden(excluded);
    };
    leftOut = excludedWindows(survey, isNamed);
    leaveOutEmptyFrames();
    changes.setHiddenEmbedded(hiddenEmbedded(isNamed));
    bool const hides = excluded.size() > excluded.count(ownBundleIdentifier);
    if (isNewList && hides)
        markOverlaps();
    staleWindows.clear();
    if (hides || leftOut.isAny())
        leaveOutStalePixels();
    return owner->owner != XCB_NONE;
}

void CaptureScene::surveyAnew()
{
    survey = surveyWindows(*connection);
    changes.reset(survey);
    owners.reset();
}

/// A frame keeps the pixels of a client that is gone until the window manager removes the frame.
void CaptureScene::leaveOutEmptyFrames()
{
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i) {
        SurveyedWindow const& window = survey.windows[i];
        if (window.windowManagers && !window.inputOnly && changes.hasHeldClient(window.id))
            leftOut.windows[i] = true;
    }
}

/// The remaining windows may have begun with pixels of applications that are hidden only now.
void CaptureScene::markOverlaps()
{
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i) {
        if (leftOut.windows[i] || survey.windows[i].inputOnly)
            continue;
        PixelRegion overlap;
        for (std::size_t other = 0; other < leftOut.windows.size(); ++other)
            if (leftOut.windows[other])
                overlap.add(intersection(survey.windows[i].area, survey.windows[other].area));
        changes.stale().markStale(survey.windows[i], overlap);
    }
}

/// Leaves out the stale parts of the remaining windows.
void CaptureScene::leaveOutStalePixels()
{
    std::vector<SurveyedWindow const*> unasked;
    auto const isStale = [&](std::size_t i) {
        return !leftOut.windows[i] && !survey.windows[i].inputOnly &&
               !changes.stale().visible(survey.windows[i]).isEmpty();
    };
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i)
        if (isStale(i) && !changes.stale().isFollowed(survey.windows[i].id))
            unasked.push_back(&survey.windows[i]);
    requestDrawing(*connection, changes, unasked);
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i) {
        if (!isStale(i))
            continue;
        PixelRegion const stale = changes.stale().visible(survey.windows[i]);
        leftOut.holes[i].insert(leftOut.holes[i].end(), stale.all().begin(), stale.all().end());
        staleWindows.push_back(survey.windows[i].id);
    }
}

std::vector<WindowWatch::HiddenEmbeddedWindow> CaptureScene::hiddenEmbedded(IsNamed const& isNamed) const
{
    std::vector<WindowWatch::HiddenEmbeddedWindow> found;
    for (SurveyedWindow const& host : survey.windows)
        for (EmbeddedWindow const& inside : host.embedded)
            if (isNamed(inside.client))
                found.push_back(
                    {inside.client.id, host.id, inside.place,
                     inside.area.movedBy(-host.area.x - host.border, -host.area.y - host.border)});
    return found;
}

bool CaptureScene::lingers() const
{
    return timeLeft(changes.lastLoss(), fading) > milliseconds{0};
}

milliseconds CaptureScene::unsettled() const
{
    milliseconds left = timeLeft(redirectedAt, settling);
    for (std::uint32_t const window : staleWindows)
        if (auto const asked = changes.stale().askedAt(window))
            left = std::max(left, std::min(timeLeft(*asked, settling), lookInterval));
    return left;
}

void CaptureScene::noteKept()
{
    std::unordered_set<std::uint32_t> kept;
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i)
        if (!leftOut.windows[i] && leftOut.holes[i].empty())
            kept.insert(survey.windows[i].id);
    changes.setKept(std::move(kept));
}

} // namespace zelvo
