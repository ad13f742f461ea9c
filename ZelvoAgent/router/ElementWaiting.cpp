#include "router/ElementWaiting.h"

#include "base/Hop.h"
#include "router/GuardedWait.h"
#include "wire/AgentError.h"

#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

/// From the end of one look to the next: an application must be able to do something else, too.
constexpr Duration lookInterval = 100ms;
/// The same if nothing was reported. Some applications report little or nothing.
constexpr Duration unreportedInterval = 1s;

} // namespace

/// One call's wait.
class ElementWaiting::Wait {
public:
    Wait(Services& services, Executor executor, Request given)
        : services(services), request(std::move(given)), start(services.clock.now()),
          guarded({services.contexts, services.clock, services.state}, std::move(executor), request.asker)
    {
    }

    Task<Result> result()
    {
        co_await guarded.begin();
        co_await look();
        while (!last.finding.isMatched && services.clock.now() < end()) {
            if (!watch)
                co_await openWatch();
            co_await guarded.sleepUntil(std::min(nextLook(), end()));
            co_await guarded.assertAllowed();
            if (services.clock.now() >= nextLook())
                co_await look();
        }
        co_return Result{.isMatched = last.finding.isMatched,
                         .element = last.finding.element,
                         .snapshot = last.finding.element ? last.snapshot : nullptr,
                         .elapsed = services.clock.now() - start};
    }

private:
    struct Look {
        std::shared_ptr<UiTreeSnapshot const> snapshot; ///< null without an application in front
        WantedElement::Finding finding;

        bool sawNothing() const { return !snapshot || snapshot->elements.empty(); }
    };

    static Task<Look> lookOnce(Services services, WantedElement wanted, TreeScope scope)
    {
        Look seen;
        try {
            seen.snapshot = std::make_shared<UiTreeSnapshot const>(
                co_await services.tree.read(scope, wanted.isOperable()));
        } catch (AgentError const& refusal) {
            if (refusal != AgentError::machineUnavailable)
                throw;
            co_return seen;
        }
        seen.finding = co_await on(services.contexts.workers, [&] { return wanted.in(*seen.snapshot); });
        co_return seen;
    }

    Task<> look()
    {
        isChanged = false;
        Task<Look> looking = lookOnce(services, request.wanted, request.scope);
        Look seen = co_await guarded.whileAllowed(std::move(looking));
        // Between two windows, and while an application builds its elements, there is nothing for a moment.
        if (seen.sawNothing() && request.wanted.until == WantedElement::Until::disappears) {
            seen.finding.isMatched = sawNothing;
            isChanged = true;
        }
        sawNothing = seen.sawNothing();
        last = std::move(seen);
        lookedAt = services.clock.now();
    }

    /// Only after the first look, which is often enough. The next one finds what came in between. There is no
    /// watch if the wait ends first.
    Task<> openWatch()
    {
        Task<std::unique_ptr<InterfaceWatch>> opening = services.interfaces.open(reportChange());
        auto opened = co_await guarded.whileAllowed(std::move(opening), end());
        if (opened)
            watch = *std::move(opened);
        isChanged = true;
    }

    InterfaceWatches::Changed reportChange()
    {
        return [this, inbox = guarded.inbox()](std::int32_t pid, InterfaceChange change) {
            inbox.post([this, pid, change] { return noteChange(pid, change); });
        };
    }

    /// Applications behind the front one count only when a window moves: they may come to the front. Wakes
    /// the wait once until the next look, because changes come in bursts.
    bool noteChange(std::int32_t pid, InterfaceChange change)
    {
        bool const isOfFront = last.snapshot && pid == last.snapshot->pid;
        bool const matters = isOfFront || change == InterfaceChange::windows;
        return matters && !std::exchange(isChanged, true);
    }

    Instant end() const { return start + request.timeout; }
    /// The last look is at the end.
    Instant nextLook() const
    {
        Instant const due = lookedAt + (isChanged ? lookInterval : unreportedInterval);
        return std::max(std::min(due, end()), lookedAt + lookInterval);
    }

    Services& services;
    Request const request;
    Instant const start;
    GuardedWait guarded;
    Look last;
    Instant lookedAt{};
    bool sawNothing = false;
    bool isChanged = false; ///< something was reported since the last look began
    std::unique_ptr<InterfaceWatch> watch;
};

Task<ElementWaiting::Result> ElementWaiting::wait(Request request)
{
    Wait wait(services, co_await asio::this_coro::executor, std::move(request));
    co_return co_await wait.result();
}

} // namespace zelvo
