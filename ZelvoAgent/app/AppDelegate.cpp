#include "app/AppDelegate.h"

#include "app/LinkUrl.h"
#include "base/Task.h"

#include <chrono>
#include <thread>

namespace zelvo {

namespace {

constexpr std::chrono::seconds timeToFinish{2};

} // namespace

AppDelegate::AppDelegate(Contexts contexts, Platform& platform)
    : contexts(contexts), platform(platform), parts(contexts, platform),
      consent(parts.links, parts.gate, contexts.main)
{
}

void AppDelegate::start()
{
    parts.state.startObserving();
    parts.runtime.start();
    hasStarted = true;
    platform.hotKey().start([this] { parts.state.setPaused(!parts.state.isPaused()); });
    handlePendingLinkIfNeeded();
}

void AppDelegate::open(std::vector<std::string> const& urls)
{
    for (std::string const& url : urls) {
        std::optional<std::string> token = linkTokenOf(url);
        if (!token)
            continue;
        if (hasStarted)
            parts.links.begin(*std::move(token));
        else
            pendingLinkToken = std::move(token);
    }
}

void AppDelegate::handlePendingLinkIfNeeded()
{
    std::optional<std::string> token = pendingLinkToken ? pendingLinkToken : parts.links.pendingToken();
    if (!token)
        return;
    pendingLinkToken.reset();
    parts.links.begin(*std::move(token));
}

void AppDelegate::bringToFront()
{
    consent.show();
}

void AppDelegate::willTerminate()
{
    spawn(contexts.agent, [this] { return parts.runtime.shutDown(); });
    platform.http().endCalls();
    // The time in which the other threads end what they have begun.
    std::this_thread::sleep_for(timeToFinish);
    platform.defaults().writeNow();
}

} // namespace zelvo
