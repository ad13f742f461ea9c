#include "router/ScreenSettling.h"

#include "base/AsyncCondition.h"
#include "base/DelayedCall.h"
#include "base/Hop.h"
#include "drivers/ScreenRegion.h"

#include <boost/asio/this_coro.hpp>
#include <boost/signals2/connection.hpp>

#include <algorithm>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

/// From one look at what was drawn to the next. It bounds the work while a video plays.
constexpr Duration lookInterval = 20ms;

/// What wakes a wait: drawing, a change of the state, or its timer. Thread: any.
class Wake {
public:
    void noteDrawing()
    {
        condition.notifyAll([this] { drawn = woken = true; });
    }
    void notify()
    {
        condition.notifyAll([this] { woken = true; });
    }
    Task<> wait()
    {
        co_await condition.wait([this] { return woken; });
        condition.with([this] { woken = false; });
    }
    bool isDrawn() const
    {
        return condition.with([this] { return drawn; });
    }
    void forgetDrawing()
    {
        condition.with([this] { drawn = false; });
    }

private:
    AsyncCondition condition;
    bool woken = false; // condition's lock
    bool drawn = false; // condition's lock
};

QuietScreen quietScreen(Display const& display, ScreenSettling::Request const& request, Instant start)
{
    QuietScreen::Settings settings{.quiet = request.quiet,
                                   .display = {display.widthPoints, display.heightPoints},
                                   .region = std::nullopt};
    if (request.region)
        settings.region = ScreenRegion::of(display, *request.region).points;
    return {std::move(settings), start};
}

} // namespace

/// One call's wait.
class ScreenSettling::Wait {
public:
    Wait(Services& services, Request given)
        : services(services), request(std::move(given)), start(services.clock.now()),
          display(services.screen.mainDisplay()), quiet(quietScreen(display, request, start)), nextLook(start)
    {
    }

    Task<Result> result()
    {
        co_await followState();
        co_await assertAllowed();
        std::set<std::string> excluded = co_await services.screen.excludedApplications();
        auto drawn = [wake = wake] { wake->noteDrawing(); };
        watch = co_await services.drawings.open(display.id, std::move(excluded), std::move(drawn));
        DelayedCall timer(co_await asio::this_coro::executor, services.clock);
        while (true) {
            Instant const now = services.clock.now();
            bool const isOver = now >= end();
            // A last look finds what was drawn but not reported yet.
            if (isOver || (wake->isDrawn() && now >= nextLook))
                co_await look();
            co_await assertAllowed();
            if (isOver && now >= end())
                co_return Result{.settled = now >= quiet.quietAt(), .elapsed = services.clock.now() - start};
            timer.in(nextDue() - now, [wake = wake] { wake->notify(); });
            co_await wake->wait();
        }
    }

private:
    Task<> followState()
    {
        auto connect = [this] {
            return boost::signals2::scoped_connection(
                services.state.changed.connect([wake = wake] { wake->notify(); }));
        };
        stateChanges = co_await on(services.contexts.main, std::move(connect));
    }

    Task<> assertAllowed()
    {
        co_await on(services.contexts.main, [this] {
            if (request.asker && request.asker->scope)
                services.state.assertScope(*request.asker->scope, request.asker->connectionId);
            services.state.assertReady();
        });
    }

    Task<> look()
    {
        wake->forgetDrawing();
        std::set<std::string> excluded = co_await services.screen.excludedApplications();
        std::vector<DesktopRect> const areas = co_await watch->take(std::move(excluded));
        quiet.note(areas, services.clock.now());
        nextLook = services.clock.now() + lookInterval;
    }

    Instant end() const { return std::min(quiet.quietAt(), start + request.timeout); }
    Instant nextDue() const { return wake->isDrawn() ? std::min(end(), nextLook) : end(); }

    Services& services;
    Request const request;
    Instant const start;
    Display const display;
    QuietScreen quiet;
    Instant nextLook;
    std::shared_ptr<Wake> wake = std::make_shared<Wake>();
    boost::signals2::scoped_connection stateChanges;
    std::unique_ptr<DrawingWatch> watch;
};

Task<ScreenSettling::Result> ScreenSettling::settle(Request request)
{
    Wait wait(services, std::move(request));
    co_return co_await wait.result();
}

} // namespace zelvo
