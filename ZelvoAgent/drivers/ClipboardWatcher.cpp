#include "drivers/ClipboardWatcher.h"

#include "base/AsyncMutex.h"
#include "base/Hop.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration tick = 500ms;

} // namespace

/// The state of a poll. Thread: main.
struct ClipboardWatcher::Poller {
    Poller(Executor workers, Pasteboard& pasteboard, Workspace& workspace)
        : workers(std::move(workers)), pasteboard(pasteboard), workspace(workspace),
          lastChangeCount(pasteboard.changeCount())
    {
    }

    Task<> poll()
    {
        AsyncMutex::Lock const lock = co_await polls.lock();
        std::int64_t const count = pasteboard.changeCount();
        if (count == lastChangeCount)
            co_return;
        lastChangeCount = count;
        ApplicationNames names;
        try {
            names = co_await on(workers, [this] { return namesInFront(); });
        } catch (...) { // NOLINT(bugprone-empty-catch): the source is then unknown.
        }
        source = std::move(names);
    }

    ApplicationNames namesInFront()
    {
        auto front = workspace.frontmostApplication();
        return front ? std::move(front->names) : ApplicationNames();
    }

    Executor workers;
    Pasteboard& pasteboard;
    Workspace& workspace;
    std::int64_t lastChangeCount;
    /// All names, because the hidden list may change between copying and reading.
    ApplicationNames source;
    AsyncMutex polls; ///< one after another
};

ClipboardWatcher::ClipboardWatcher(Contexts const& contexts,
                                   Clock& clock,
                                   Pasteboard& pasteboard,
                                   Workspace& workspace)
    : main(contexts.main), clock(clock),
      poller(std::make_shared<Poller>(contexts.workers, pasteboard, workspace))
{
}

ClipboardWatcher::~ClipboardWatcher()
{
    stop();
}

void ClipboardWatcher::start()
{
    stop();
    timer = spawn(main, [weak = std::weak_ptr(poller), &clock = clock]() -> Task<> {
        for (Instant due = clock.now() + tick;; due = std::max(due + tick, clock.now())) {
            co_await clock.sleepUntil(due);
            auto const poller = weak.lock();
            if (!poller)
                co_return;
            co_await poller->poll();
        }
    });
}

void ClipboardWatcher::stop()
{
    timer.cancel();
    timer = {};
}

Task<> ClipboardWatcher::poll()
{
    auto const kept = poller;
    co_await kept->poll();
}

std::optional<std::string> ClipboardWatcher::lastSourceBundleId() const
{
    return poller->source.identifier();
}

bool ClipboardWatcher::isSourceHidden(std::set<std::string> const& hidden) const
{
    return poller->source.isHidden(hidden);
}

} // namespace zelvo
