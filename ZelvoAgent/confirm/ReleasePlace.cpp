#include "confirm/ReleasePlace.h"

#include "base/Hop.h"
#include "confirm/SubmitButtonHeuristic.h"
#include "wire/AgentError.h"

#include <array>

namespace zelvo {

namespace {

constexpr Duration maxSearch = 1s;
constexpr std::array<double, 4> distances = {40, 120, 360, 1080};
/// A released button presses nothing far away from where it was pressed, and there is always a corner.
constexpr DesktopPoint corner = {0, 0};

bool asks(std::optional<ProbedElement> const& element)
{
    return element && SubmitButtonHeuristic::classify(*element);
}

} // namespace

ReleasePlace::ReleasePlace(Clock& clock,
                           Executor workers,
                           ElementProbing& probe,
                           HiddenAppGuard& hiddenGuard,
                           OwnUiGuard& ownUi,
                           std::function<bool()> isStrict)
    : clock(clock), workers(std::move(workers)), probe(probe), hiddenGuard(hiddenGuard), ownUi(ownUi),
      isStrict(std::move(isStrict))
{
}

Task<std::optional<DesktopPoint>> ReleasePlace::awayFrom(DesktopPoint at)
{
    if (!isStrict() || !asks(co_await probe.element(at)))
        co_return std::nullopt;
    Instant const deadline = clock.now() + maxSearch;
    for (double const distance : distances) {
        std::array<DesktopPoint, 4> const around = {{{at.x, at.y + distance},
                                                     {at.x, at.y - distance},
                                                     {at.x - distance, at.y},
                                                     {at.x + distance, at.y}}};
        for (DesktopPoint const point : around) {
            if (clock.now() >= deadline)
                co_return corner;
            if (co_await isHarmless(point))
                co_return point;
        }
    }
    co_return corner;
}

/// Only a place where an element is known: beyond the screen's edge the pointer would stop elsewhere.
Task<bool> ReleasePlace::isHarmless(DesktopPoint at)
{
    auto const element = co_await probe.element(at);
    if (!element || asks(element))
        co_return false;
    try {
        co_await hiddenGuard.assertPointAllowed(at);
        co_await on(workers, [&] { ownUi.assertClickAllowed(at); });
    } catch (AgentError const&) {
        co_return false;
    }
    co_return true;
}

} // namespace zelvo
