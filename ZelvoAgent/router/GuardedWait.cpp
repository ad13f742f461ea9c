#include "router/GuardedWait.h"

#include "base/Hop.h"
#include "base/SleepQueue.h"

#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <utility>

namespace zelvo {

struct GuardedWait::State {
    bool isWoken = false; // executor
    SleepQueue sleepers;  // Unlike a condition's waiters, its sleepers can be cancelled.

    void wake()
    {
        isWoken = true;
        sleepers.wakeDue(Instant::max());
    }
};

void GuardedWait::Inbox::post(std::function<bool()> note) const
{
    asio::post(executor, [weak = state, note = std::move(note)] {
        if (auto const kept = weak.lock(); kept && note())
            kept->wake();
    });
}

GuardedWait::GuardedWait(Services services, Executor executor, std::optional<Asker> asker)
    : services(std::move(services)), executor(std::move(executor)), asker(std::move(asker)),
      timer(this->executor, this->services.clock)
{
    auto const made = std::make_shared<State>();
    state = made;
    keeper = spawn(this->executor,
                   [made, &clock = this->services.clock] { return clock.sleepUntil(Instant::max()); });
}

GuardedWait::~GuardedWait()
{
    keeper.cancel();
}

Task<> GuardedWait::begin()
{
    auto connect = [this] {
        auto const report = [inbox = inbox()] { inbox.post([] { return true; }); };
        return boost::signals2::scoped_connection(services.state.changed.connect(report));
    };
    stateChanges = co_await on(services.contexts.main, std::move(connect));
    co_await assertAllowed();
}

Task<> GuardedWait::assertAllowed()
{
    co_await on(services.contexts.main, [this] {
        if (asker && asker->scope)
            services.state.assertScope(*asker->scope, asker->connectionId);
        services.state.assertReady();
    });
}

Task<> GuardedWait::sleep()
{
    auto const own = [this] { return state.lock().get(); }; // The task must not keep what keeps it.
    if (!own()->isWoken)
        co_await own()->sleepers.wait(Instant::max(), asio::use_awaitable);
    own()->isWoken = false;
}

Task<> GuardedWait::sleepUntil(Instant due)
{
    timer.in(due - services.clock.now(), [weak = state] {
        if (auto const kept = weak.lock())
            kept->wake();
    });
    co_await sleep();
}

} // namespace zelvo
