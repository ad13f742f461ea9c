#include "drivers/ClipboardWatcher.h"

#include "base/AsyncMutex.h"
#include "base/Hop.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration tick = 500ms;

} // namespace

/// What a look reads and writes. Thread: main.
struct ClipboardWatcher::Looker {
    Looker(Executor workers, Pasteboard& pasteboard, Workspace& workspace)
        : workers(std::move(workers)), pasteboard(pasteboard), workspace(workspace),
          lastChangeCount(pasteboard.changeCount())
    {
    }

    Task<> poll()
    {
        AsyncMutex::Lock const lock = co_await looks.lock();
        std::int64_t const count = pasteboard.changeCount();
        if (count == lastChangeCount)
            co_return;
        lastChangeCount = count;
        ApplicationNames names;
        try {
            names = co_await on(workers, [this] { return namesInFront(); });
        } catch (...) { // NOLINT(bugprone-empty-catch): what cannot be told is unknown.
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
    /// All names, since which of them are hidden may change between copying and reading.
    ApplicationNames source;
    AsyncMutex looks; ///< one after another
};

ClipboardWatcher::ClipboardWatcher(Contexts const& contexts,
                                   Clock& clock,
                                   Pasteboard& pasteboard,
                                   Workspace& workspace)
    : main(contexts.main), clock(clock),
      looker(std::make_shared<Looker>(contexts.workers, pasteboard, workspace))
{
}

ClipboardWatcher::~ClipboardWatcher()
{
    stop();
}

void ClipboardWatcher::start()
{
    stop();
    timer = spawn(main, [weak = std::weak_ptr(looker), &clock = clock]() -> Task<> {
        for (Instant due = clock.now() + tick;; due = std::max(due + tick, clock.now())) {
            co_await clock.sleepUntil(due);
            auto const looker = weak.lock();
            if (!looker)
                co_return;
            co_await looker->poll();
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
    auto const kept = looker;
    co_await kept->poll();
}

std::optional<std::string> ClipboardWatcher::lastSourceBundleId() const
{
    return looker->source.identifier({});
}

bool ClipboardWatcher::isSourceHidden(std::set<std::string> const& hidden) const
{
    auto const bundleId = looker->source.identifier(hidden);
    return bundleId && hidden.contains(*bundleId);
}

} // namespace zelvo
