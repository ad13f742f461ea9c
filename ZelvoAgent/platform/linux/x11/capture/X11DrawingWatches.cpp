#include "platform/linux/x11/capture/X11DrawingWatches.h"

#include "base/Hop.h"
#include "platform/ScreenSource.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/capture/DrawingTracker.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <utility>

namespace zelvo {

namespace {

/// Reports drawing once until it is taken. Thread: any.
class Report {
public:
    Report(std::shared_ptr<DrawingTracker> from, Executor where, std::function<void()> call)
        : tracker(std::move(from)), executor(std::move(where)), drawn(std::move(call))
    {
    }

    /// Takes the events that have arrived.
    void check()
    {
        if (tracker->takeEvents() && !isReported.exchange(true))
            asio::post(executor, drawn);
    }
    void forget() { isReported = false; }

private:
    std::shared_ptr<DrawingTracker> const tracker;
    Executor const executor;
    std::function<void()> const drawn;
    std::atomic<bool> isReported = true; ///< until the first look, nothing is
};

class X11DrawingWatch final : public DrawingWatch {
public:
    X11DrawingWatch(Contexts given,
                    X11DisplayLayout& layout,
                    std::uint32_t display,
                    std::shared_ptr<DrawingTracker> opened,
                    std::function<void()> drawn)
        : contexts(std::move(given)), layout(layout), display(display), tracker(std::move(opened)),
          report(std::make_shared<Report>(tracker, contexts.agent, std::move(drawn))),
          windowEvents(contexts, tracker->windows, [report = report] { report->check(); }),
          drawingEvents(contexts, tracker->drawings, [report = report] { report->check(); })
    {
    }

    Task<std::vector<DesktopRect>> take(std::set<std::string> excluded) override
    {
        DisplayLayout const shown = layoutNow();
        PixelRect const area{shown.origin.x, shown.origin.y, shown.widthPixels, shown.heightPixels};
        auto look = [&] {
            report->forget();
            std::vector<PixelRect> found = tracker->take(area, excluded);
            // The answers of the server may have brought events along, for which no thread would wake.
            report->check();
            return found;
        };
        std::vector<PixelRect> const found = co_await on(contexts.workers, std::move(look));
        if (!tracker->isAlive())
            throw ScreenFailure{"the X server is gone"};
        std::vector<DesktopRect> drawn;
        drawn.reserve(found.size());
        for (PixelRect const& rect : found) {
            DesktopPoint const start = shown.toPoints({rect.x, rect.y});
            drawn.push_back({start.x, start.y, rect.width / shown.scale, rect.height / shown.scale});
        }
        co_return drawn;
    }

private:
    DisplayLayout layoutNow() const
    {
        std::vector<DisplayLayout> const all = layout.all();
        auto const found = std::ranges::find(all, display, &DisplayLayout::displayId);
        return found == all.end() ? layout.current() : *found;
    }

    Contexts const contexts;
    X11DisplayLayout& layout;
    std::uint32_t const display;
    std::shared_ptr<DrawingTracker> const tracker;
    std::shared_ptr<Report> const report;
    X11Events windowEvents;
    X11Events drawingEvents;
};

} // namespace

X11DrawingWatches::X11DrawingWatches(Contexts contexts,
                                     X11DisplayLayout& layout,
                                     DesktopEntries& entries,
                                     X11ScreenSource& source)
    : contexts(std::move(contexts)), layout(layout), entries(entries), source(source)
{
}

Task<std::unique_ptr<DrawingWatch>>
X11DrawingWatches::open(std::uint32_t display, std::set<std::string> excluded, std::function<void()> drawn)
{
    auto openTracker = [this] { return DrawingTracker::open(entries, source.ownWindow()); };
    auto tracker = co_await on(contexts.workers, std::move(openTracker));
    if (!tracker)
        throw ScreenFailure{"the X server does not report drawing"};
    auto watch =
        std::make_unique<X11DrawingWatch>(contexts, layout, display, std::move(tracker), std::move(drawn));
    // What there is already is no drawing.
    co_await watch->take(std::move(excluded));
    co_return watch;
}

} // namespace zelvo
