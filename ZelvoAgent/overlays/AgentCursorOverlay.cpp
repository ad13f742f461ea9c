#include "overlays/AgentCursorOverlay.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "overlays/AgentCursorWording.h"
#include "overlays/NameInControl.h"
#include "state/AgentState.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace zelvo {

namespace {

constexpr double pointsPerSecond = 2400;
constexpr std::chrono::duration<double> minTravel{0.06};
constexpr std::chrono::duration<double> maxTravel{0.24};
constexpr auto appearing = 120ms;
constexpr auto disappearing = 300ms;
constexpr auto gone = 350ms; // A little after the last frame.
constexpr auto idleTime = 3s;
constexpr auto shortestDrag = 100ms;
// Beyond it no drag lasts either (DragPlan).
constexpr std::int64_t maxDragMs = std::numeric_limits<std::int32_t>::max();

Duration travelTime(DesktopPoint from, DesktopPoint to)
{
    std::chrono::duration<double> const wanted{std::hypot(to.x - from.x, to.y - from.y) / pointsPerSecond};
    return std::chrono::duration_cast<Duration>(std::clamp(wanted, minTravel, maxTravel));
}

} // namespace

AgentCursorOverlay::AgentCursorOverlay(Services services)
    : services(std::move(services)), model(this->services.main, this->services.clock),
      hiding(this->services.main, this->services.clock),
      stateChanges(this->services.state.changed.connect([this] { stopUnlessReady(); }))
{
}

bool AgentCursorOverlay::isOn() const
{
    return services.state.showAgentCursor();
}

bool AgentCursorOverlay::isReady() const
{
    return !services.state.isPaused() && services.state.availability() == Availability::ready;
}

/// A drag that is refused in its middle ends early, and the pointer must not travel on without it.
void AgentCursorOverlay::stopUnlessReady()
{
    if (isReady() || !model.isTravelling(services.clock.now()))
        return;
    model.stop();
    keepVisible(0s);
}

void AgentCursorOverlay::later(std::function<void()> work)
{
    asio::post(services.main, [this, weak = std::weak_ptr(alive), work = std::move(work)] {
        if (!weak.expired() && isOn())
            work();
    });
}

Task<> AgentCursorOverlay::approach(DesktopPoint point)
{
    Duration const wait = co_await on(services.main, [&] { return isOn() ? move(point) : Duration::zero(); });
    if (wait > Duration::zero())
        co_await services.clock.sleepThroughCancel(std::chrono::floor<std::chrono::milliseconds>(wait));
}

void AgentCursorOverlay::clicked(DesktopPoint at, std::int64_t count)
{
    later([this, at, count] {
        model.ripple(at, count);
        keepVisible(0s);
    });
}

void AgentCursorOverlay::dragged(DesktopPoint, DesktopPoint to, std::int64_t durationMs)
{
    std::chrono::milliseconds const duration(std::clamp<std::int64_t>(durationMs, 0, maxDragMs));
    later([this, to, duration] {
        if (!isReady())
            return;
        show();
        model.travel(to, std::max<Duration>(duration, shortestDrag), Motion::Curve::linear);
        keepVisible(duration);
    });
}

void AgentCursorOverlay::scrolled(DesktopPoint)
{
    later([this] {
        model.say(localized("cursor.scrolling"));
        keepVisible(0s);
    });
}

void AgentCursorOverlay::typed(std::size_t)
{
    later([this] { sayWhereItStands(localized("cursor.typing")); });
}

void AgentCursorOverlay::pressed(std::vector<std::string> const& keys)
{
    later([this, chord = AgentCursorWording::chord(keys)] { sayWhereItStands(chord); });
}

/// Keys alone make no cursor appear.
void AgentCursorOverlay::sayWhereItStands(std::string what)
{
    if (!model.position())
        return;
    show();
    model.say(std::move(what));
    keepVisible(0s);
}

Duration AgentCursorOverlay::move(DesktopPoint to)
{
    show();
    model.setName(nameInControl(services.state.liveAgents()).value_or(localized("cursor.agent")));
    if (model.position() && model.isVisible()) {
        Duration const duration = travelTime(*model.position(), to);
        model.travel(to, duration, Motion::Curve::easeOut);
        keepVisible(0s);
        return duration;
    }
    model.place(to);
    model.fade(true, appearing, Motion::Curve::easeOut);
    keepVisible(0s);
    return appearing;
}

void AgentCursorOverlay::show()
{
    if (!panel)
        panel = services.makePanel(model);
}

void AgentCursorOverlay::hide()
{
    hiding.cancel();
    model.fade(false, 0s, Motion::Curve::linear);
    model.place(std::nullopt);
    panel.reset();
}

/// The pointer hides by itself when the agent pauses.
void AgentCursorOverlay::keepVisible(Duration extra)
{
    hiding.in(extra + idleTime, [this] {
        model.fade(false, disappearing, Motion::Curve::easeIn);
        hiding.in(gone, [this] { hide(); });
    });
}

} // namespace zelvo
