#include "app/diagnostics/TreeCheck.h"

#include "app/diagnostics/TreeReport.h"
#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Task.h"
#include "wire/AgentError.h"

#include <chrono>
#include <exception>
#include <utility>

namespace zelvo {

namespace {

/// A reading, apart from the check because it can outlive it.
struct Reading {
    AppServices const& services;
    std::optional<std::int32_t> pid;
    bool interactiveOnly;

    /// The report of a success. Throws if the tree cannot be read.
    Task<std::string> take()
    {
        Workspace& workspace = services.platform.workspace();
        if (!pid) {
            auto const front = co_await on(services.contexts.workers,
                                           [&workspace] { return workspace.frontmostApplication(); });
            pid = front ? std::optional(front->pid) : std::nullopt;
        }
        Clock& clock = services.platform.clock();
        Instant const begin = clock.now();
        UiTreeSnapshot const snapshot =
            co_await services.parts.tree.snapshot(TreeScope::frontmost, interactiveOnly, pid);
        auto const taken = std::chrono::duration_cast<std::chrono::milliseconds>(clock.now() - begin);
        bool const isExpanded = pid && co_await services.parts.electron.isManagedByUs(*pid);
        TreeReport::Facts const facts{
            .isExpanded = isExpanded, .interactiveOnly = interactiveOnly, .milliseconds = taken.count()};
        co_return TreeReport::of(snapshot, facts);
    }

    Task<std::string> report()
    {
        std::string text;
        try {
            text = co_await take();
        } catch (AgentError const error) {
            text = TreeReport::ofFailure(error);
        } catch (std::exception const& error) {
            text = localized("diag.tree.failed", {std::string(error.what())});
        } catch (...) {
            text = TreeReport::ofFailure(AgentError::internalError);
        }
        co_return text;
    }
};

} // namespace

TreeCheck::TreeCheck(AppServices const& services, RunningApps& apps)
    : services(services), nextSecond(services.contexts.main, services.platform.clock()),
      following(apps.changed.connect([this, &apps] {
          if (apps.indexOf(selected) < 0)
              selected.reset();
      }))
{
}

void TreeCheck::snapshotNow()
{
    if (!isBusy())
        performSnapshot();
}

void TreeCheck::snapshotAfter(int seconds)
{
    if (isBusy())
        return;
    countdown = seconds;
    countDown();
}

void TreeCheck::countDown()
{
    if (countdown == 0) {
        performSnapshot();
        return;
    }
    setReport(localized("diag.tree.switchNow") + '\n' +
              localized("diag.tree.countdown", {std::int64_t{countdown}}));
    nextSecond.in(1s, [this] {
        --countdown;
        countDown();
    });
}

void TreeCheck::performSnapshot()
{
    isSnapshotting = true;
    setReport(localized("diag.tree.capturing"));
    spawn(services.contexts.main,
          [this, weak = std::weak_ptr(alive),
           reading = Reading{services, selected, interactiveOnly}]() mutable -> Task<> {
              std::string text = co_await reading.report();
              if (weak.expired())
                  co_return; // The window was closed meanwhile.
              isSnapshotting = false;
              setReport(std::move(text));
          });
}

void TreeCheck::setReport(std::string text)
{
    treeReport = std::move(text);
    changed();
}

} // namespace zelvo
