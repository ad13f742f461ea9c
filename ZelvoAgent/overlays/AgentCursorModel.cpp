#include "overlays/AgentCursorModel.h"

#include "base/Identifiers.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

constexpr auto activityTime = 1400ms;
constexpr auto rippleInterval = 120ms;
constexpr auto rippleGrowth = 500ms;
constexpr auto rippleLife = 550ms;
constexpr std::int64_t maxRipples = 3;

} // namespace

AgentCursorModel::AgentCursorModel(Executor main, Clock& clock)
    : main(main), clock(clock), activityEnd(std::move(main), clock)
{
}

void AgentCursorModel::place(std::optional<DesktopPoint> point)
{
    target = point;
    if (target) {
        x = {.from = target->x, .to = target->x};
        y = {.from = target->y, .to = target->y};
    }
    changed();
}

void AgentCursorModel::travel(DesktopPoint point, Duration duration, Motion::Curve curve)
{
    Instant const now = clock.now();
    DesktopPoint const from = target ? pointAt(now) : point;
    target = point;
    x = {from.x, point.x, now, duration, curve};
    y = {from.y, point.y, now, duration, curve};
    changed();
}

void AgentCursorModel::stop()
{
    if (target)
        place(pointAt(clock.now()));
}

void AgentCursorModel::fade(bool toVisible, Duration duration, Motion::Curve curve)
{
    Instant const now = clock.now();
    visible = toVisible;
    opacity = {opacity.at(now), toVisible ? 1.0 : 0.0, now, duration, curve};
    changed();
}

void AgentCursorModel::setName(std::string name)
{
    if (std::exchange(label, std::move(name)) != label)
        changed();
}

void AgentCursorModel::ripple(DesktopPoint at, std::int64_t count)
{
    for (std::int64_t i = 0; i < std::clamp(count, std::int64_t{1}, maxRipples); ++i)
        rippleOnce(at, i * rippleInterval);
}

/// The task may begin when the model is gone, so it uses nothing of it before it has looked.
void AgentCursorModel::rippleOnce(DesktopPoint at, Duration delay)
{
    spawn(main, [this, &time = clock, at, delay, owner = std::weak_ptr(alive)]() -> Task<> {
        if (delay > Duration::zero())
            co_await time.sleep(delay);
        if (owner.expired())
            co_return;
        std::string const id = beginRipple(at);
        co_await time.sleep(rippleLife);
        if (!owner.expired())
            endRipple(id);
    });
}

std::string AgentCursorModel::beginRipple(DesktopPoint at)
{
    std::string const id = newUuid();
    Motion const growth{0, 1, clock.now(), rippleGrowth, Motion::Curve::easeOut};
    live.push_back({.id = id, .point = at, .growth = growth});
    live.back().expanded = true;
    changed();
    return id;
}

void AgentCursorModel::endRipple(std::string const& id)
{
    std::erase_if(live, [&](Ripple const& one) { return one.id == id; });
    changed();
}

void AgentCursorModel::say(std::string what)
{
    saying = std::move(what);
    activityEnd.in(activityTime, [this] {
        saying.reset();
        changed();
    });
    changed();
}

DesktopPoint AgentCursorModel::pointAt(Instant now) const
{
    return {x.at(now), y.at(now)};
}

bool AgentCursorModel::isMoving(Instant now) const
{
    return !live.empty() || isTravelling(now) || (target && !opacity.hasEnded(now));
}

bool AgentCursorModel::isTravelling(Instant now) const
{
    return target && !x.hasEnded(now);
}

} // namespace zelvo
