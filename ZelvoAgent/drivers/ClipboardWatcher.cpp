#include "drivers/ClipboardWatcher.h"

#include "base/AsyncMutex.h"
#include "base/Hop.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr Duration tick = 500ms;
/// Enough for every application of a desktop.
constexpr std::size_t maxSources = 256;

/// Where the content of one change came from.
struct Source {
    ApplicationNames names; ///< all of them, because the hidden list may change before the text is read
    std::int64_t change = 0;
    Date at;
};

/// Whether its text may be another program's.
bool mayOfferOthersTexts(ClipboardChange const& change)
{
    bool const isKnown = !change.owner.names.names.empty() || !change.owner.names.hiddenWith.empty();
    return !change.isOurs && (change.isManagers || (isKnown && !change.owner.isRegular));
}

} // namespace

/// The state of a poll. Thread: main.
struct ClipboardWatcher::Poller {
    Poller(Executor workers, Clock const& clock, Pasteboard& pasteboard, Workspace& workspace)
        : workers(std::move(workers)), clock(clock), pasteboard(pasteboard), workspace(workspace),
          lastChangeCount(pasteboard.changeCount())
    {
    }

    Task<> poll()
    {
        AsyncMutex::Lock const lock = co_await polls.lock();
        std::int64_t const count = pasteboard.changeCount();
        bool const isChanged = count != lastChangeCount;
        if (!isChanged && knowsOwners)
            co_return;
        std::vector<ClipboardChange> changes =
            co_await pasteboard.changesAfter(knowsOwners ? lastChangeCount : -1);
        // The next poll takes what came in the meantime, with what is in front then.
        std::erase_if(changes, [count](ClipboardChange const& change) { return change.count > count; });
        bool const isManagers = !changes.empty() && changes.back().isManagers;
        ApplicationNames inFront;
        if (isChanged && !isManagers) {
            try {
                inFront = co_await on(workers, [this] { return namesInFront(); });
            } catch (...) { // The source is then unknown.
            }
            front = inFront.identifier();
        }
        bool const hasOwner = !changes.empty() && changes.back().count == count;
        for (ClipboardChange const& change : changes)
            note(change, inFront);
        if (isChanged && !hasOwner)
            add({.names = std::move(inFront), .change = count, .at = clock.date()});
        lastChangeCount = count;
        knowsOwners = true;
    }

    void note(ClipboardChange const& change, ApplicationNames const& inFront)
    {
        Source source{.names = inFront, .change = change.count, .at = clock.date()};
        source.names.hideWith(change.owner.names);
        if (mayOfferOthersTexts(change))
            for (Source const& earlier : sources)
                if (!change.owner.launchDate || earlier.at >= *change.owner.launchDate)
                    source.names.hideWith(earlier.names);
        add(std::move(source));
    }

    /// An application that copies again moves to the end.
    void add(Source source)
    {
        std::erase_if(sources, [&](Source const& earlier) { return earlier.names == source.names; });
        sources.push_back(std::move(source));
        if (sources.size() > maxSources)
            sources.erase(sources.begin());
    }

    ApplicationNames namesInFront()
    {
        auto application = workspace.frontmostApplication();
        return application ? std::move(application->names) : ApplicationNames();
    }

    Executor workers;
    Clock const& clock;
    Pasteboard& pasteboard;
    Workspace& workspace;
    std::int64_t lastChangeCount;
    bool knowsOwners = false; ///< also who owned the clipboard at the start
    std::optional<std::string> front;
    std::vector<Source> sources; ///< oldest first
    AsyncMutex polls;            ///< one after another
};

ClipboardWatcher::ClipboardWatcher(Contexts const& contexts,
                                   Clock& clock,
                                   Pasteboard& pasteboard,
                                   Workspace& workspace)
    : main(contexts.main), clock(clock),
      poller(std::make_shared<Poller>(contexts.workers, clock, pasteboard, workspace))
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
    return poller->front;
}

std::int64_t ClipboardWatcher::lastChange() const
{
    return poller->lastChangeCount;
}

bool ClipboardWatcher::isSourceHidden(std::set<std::string> const& hidden, std::int64_t since) const
{
    return std::ranges::any_of(poller->sources, [&](Source const& source) {
        return source.change >= since && source.names.isHidden(hidden);
    });
}

} // namespace zelvo
