#include "drivers/FrontWatch.h"

#include "base/Hop.h"
#include "wire/AgentError.h"

namespace zelvo {

FrontWatch::FrontWatch(Contexts contexts,
                       FrontChanges& changes,
                       Workspace& workspace,
                       HiddenAppsStore& hiddenApps,
                       std::int32_t ownPid)
    : contexts(std::move(contexts)), frontChanges(changes), workspace(workspace), hiddenApps(hiddenApps),
      ownPid(ownPid)
{
}

void FrontWatch::start(std::function<void()> whenBarred)
{
    onBarred = std::move(whenBarred);
    frontChanges.observe([this] {
        ++changes;
        spawn(contexts.agent, [this]() -> Task<> { co_await isBarred(); });
    });
}

Task<bool> FrontWatch::isBarred()
{
    Verdict const known = verdict.get();
    // A refusal is always looked at anew: the person may have shown the application again.
    if (known.isKnown && !known.isBarred && known.change == changes)
        co_return false;
    co_return co_await look();
}

Task<bool> FrontWatch::look()
{
    AsyncMutex::Lock const turn = co_await looking.lock();
    Verdict next{.change = 0, .isKnown = true};
    do {
        next.change = changes;
        next.isBarred = co_await isFrontBarred();
    } while (next.change != changes && !next.isBarred);
    bool const wasBarred = verdict.get().isBarred;
    verdict.set(next);
    if (next.isBarred && !wasBarred) {
        ++count;
        if (onBarred)
            asio::post(contexts.agent, onBarred);
    }
    co_return next.isBarred;
}

Task<bool> FrontWatch::isFrontBarred()
{
    std::optional<RunningApplication> front;
    try {
        front = co_await on(contexts.workers, [this] { return workspace.frontmostApplication(); });
    } catch (AgentError const&) {
        co_return true; // Nobody knows what is in front.
    }
    if (!front)
        co_return false;
    std::set<std::string> barred = co_await hiddenApps.bundleIds();
    barred.insert(ownBundleIdentifier);
    co_return front->pid == ownPid || front->names.isHidden(barred);
}

} // namespace zelvo
