#include "router/ScreenSettling.h"

#include "drivers/ScreenRegion.h"
#include "router/GuardedWait.h"
#include "wire/AgentError.h"

#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

/// From one look at what was drawn to the next. It bounds the work while a video plays.
constexpr Duration lookInterval = 20ms;

QuietScreen::Settings quietSettings(Display const& display, ScreenSettling::Request const& request)
{
    QuietScreen::Settings settings{.quiet = request.quiet,
                                   .display = {display.widthPoints, display.heightPoints},
                                   .region = std::nullopt};
    if (request.region)
        settings.region = ScreenRegion::of(display, *request.region).points;
    return settings;
}

} // namespace

/// One call's wait.
class ScreenSettling::Wait {
public:
    Wait(Services& services, Executor executor, Request given)
        : services(services), request(std::move(given)), start(services.clock.now()),
          display(services.screen.mainDisplay()), quiet(quietSettings(display, request), start),
          nextLook(start),
          guarded({services.contexts, services.clock, services.state}, std::move(executor), request.asker)
    {
    }

    Task<Result> result()
    {
        co_await guarded.begin();
        std::set<std::string> excluded = co_await services.screen.excludedApplications();
        watch = co_await services.drawings.open(display.id, std::move(excluded), reportDrawing());
        // What was drawn before this is not known.
        quiet = QuietScreen(quietSettings(display, request), services.clock.now());
        while (true) {
            Instant const now = services.clock.now();
            bool const isOver = now >= end();
            // A last look finds what was drawn but not reported yet.
            if (isOver || (isDrawn && now >= nextLook))
                co_await look();
            co_await guarded.assertAllowed();
            if (isOver && now >= end())
                co_return Result{.settled = now >= quiet.quietAt(), .elapsed = services.clock.now() - start};
            co_await guarded.sleepUntil(nextDue());
        }
    }

private:
    std::function<void()> reportDrawing()
    {
        return [this, inbox = guarded.inbox()] { inbox.post([this] { return isDrawn = true; }); };
    }

    Task<> look()
    {
        isDrawn = false;
        std::set<std::string> excluded = co_await services.screen.excludedApplications();
        std::vector<DesktopRect> const areas = co_await watch->take(std::move(excluded));
        quiet.note(areas, services.clock.now());
        nextLook = services.clock.now() + lookInterval;
    }

    Instant end() const { return std::min(quiet.quietAt(), start + request.timeout); }
    Instant nextDue() const { return isDrawn ? std::min(end(), nextLook) : end(); }

    Services& services;
    Request const request;
    Instant const start;
    Display const display;
    QuietScreen quiet;
    Instant nextLook;
    bool isDrawn = false;
    GuardedWait guarded;
    std::unique_ptr<DrawingWatch> watch;
};

Task<ScreenSettling::Result> ScreenSettling::settle(Request request)
{
    Wait wait(services, co_await asio::this_coro::executor, std::move(request));
    try {
        co_return co_await wait.result();
    } catch (ScreenFailure const& failure) {
        if (failure.mayShowExcluded)
            throw AgentError::hiddenAppActive;
        throw;
    }
}

} // namespace zelvo
