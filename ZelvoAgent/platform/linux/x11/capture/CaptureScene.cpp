#include "platform/linux/x11/capture/CaptureScene.h"

#include "platform/ScreenSource.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/capture/PixelCleaning.h"
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

/// How long a window may take to draw: after it was redirected, and after it was cleaned.
constexpr milliseconds settling{250};
constexpr milliseconds drawing{100};
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
    bool const hides = excluded.size() > excluded.count(ownBundleIdentifier);
    if (hides && (isNewList || hidesKept()))
        markOverlaps();
    leaveOutEmptyFrames(survey, leftOut, [this](std::uint32_t id) { return changes.hasHeldClient(id); });
    std::vector<WindowWatch::HiddenEmbeddedWindow> const embedded = hiddenEmbedded(isNamed);
    changes.setHiddenEmbedded(embedded);
    if (hides || leftOut.isAny())
        cleanStaleWindows(embedded);
    return owner->owner != XCB_NONE;
}

void CaptureScene::surveyAnew()
{
    survey = surveyWindows(*connection);
    changes.reset(survey);
    owners.reset();
}

/// Whether a window that the last picture showed is left out now, for instance because it has a new name.
bool CaptureScene::hidesKept() const
{
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i)
        if (leftOut.windows[i] && changes.isKept(survey.windows[i].id))
            return true;
    return false;
}

/// The remaining windows may have begun with pixels of applications that are hidden only now.
void CaptureScene::markOverlaps()
{
    changes.forgetKept();
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i) {
        std::set<std::uint32_t> sources;
        for (std::size_t other = 0; other < leftOut.windows.size(); ++other)
            if (other != i && (leftOut.windows[other] || !leftOut.holes[other].empty()) &&
                !intersection(survey.windows[i].area, survey.windows[other].area).isEmpty())
                sources.insert(survey.windows[other].id);
        if (!leftOut.windows[i])
            changes.stale().markStale(survey.windows[i].id, sources);
    }
}

/// Whether the pixels of a child of the root may be in pictures.
bool CaptureScene::mayBeSeen(std::uint32_t window) const
{
    auto const found = std::ranges::find(survey.windows, window, &SurveyedWindow::id);
    if (found == survey.windows.end())
        return false;
    auto const i = static_cast<std::size_t>(found - survey.windows.begin());
    return found->inputOnly || (!leftOut.windows[i] && leftOut.holes[i].empty());
}

void CaptureScene::cleanStaleWindows(std::vector<WindowWatch::HiddenEmbeddedWindow> const& embedded)
{
    std::vector<SurveyedWindow const*> stale;
    for (std::size_t i = 0; i < leftOut.windows.size(); ++i)
        if (!leftOut.windows[i] && !survey.windows[i].inputOnly &&
            changes.stale().isStale(survey.windows[i].id,
                                    [this](std::uint32_t source) { return mayBeSeen(source); }))
            stale.push_back(&survey.windows[i]);
    if (stale.empty())
        return;
    std::vector<std::uint32_t> ids;
    for (SurveyedWindow const* const window : stale)
        ids.push_back(window->id);
    std::set<std::uint32_t> hidden;
    for (WindowWatch::HiddenEmbeddedWindow const& one : embedded)
        hidden.insert(one.window);
    std::set<std::uint32_t> const cleaned = cleanPixels(*connection, ids, hidden);
    for (SurveyedWindow const* const window : stale)
        if (cleaned.contains(window->id))
            changes.stale().noteCleaned(window->id, window->shaped);
        else
            leftOut.windows[static_cast<std::size_t>(window - survey.windows.data())] = true;
    cleanedAt = steady_clock::now();
}

std::vector<WindowWatch::HiddenEmbeddedWindow> CaptureScene::hiddenEmbedded(IsNamed const& isNamed) const
{
    std::vector<WindowWatch::HiddenEmbeddedWindow> found;
    for (SurveyedWindow const& host : survey.windows)
        for (EmbeddedWindow const& inside : host.embedded)
            if (isNamed(inside.client))
                found.push_back({inside.client.id, host.id, inside.area.movedBy(-host.area.x, -host.area.y)});
    return found;
}

bool CaptureScene::lingers() const
{
    return timeLeft(changes.lastLoss(), fading) > milliseconds{0};
}

milliseconds CaptureScene::unsettled() const
{
    milliseconds const left = timeLeft(cleanedAt, drawing);
    return leftOut.isAny() ? std::max(left, timeLeft(redirectedAt, settling)) : left;
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
