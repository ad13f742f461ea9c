#include "platform/linux/wayland/windows/WaylandFrontChanges.h"

#include "base/LockedBox.h"

#include <boost/asio/post.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

/// What decides which application gets the keys.
struct Front {
    std::optional<CompositorWindow> active;
    std::vector<std::string> popups;
    bool isCovered = false;
    bool operator==(Front const&) const = default;
};

Front frontOf(WindowsNow const& now)
{
    Front front{.isCovered = now.isCovered};
    for (CompositorWindow const& window : now.windows) {
        if (window.isActive)
            front.active = CompositorWindow{
                .id = window.id, .pid = window.pid, .words = window.words, .parent = window.parent};
        if (window.kind == CompositorWindow::Kind::popup && window.isOnScreen)
            front.popups.push_back(window.id);
    }
    return front;
}

} // namespace

class WaylandFrontChanges::Watch : public std::enable_shared_from_this<Watch> {
public:
    Watch(Contexts contexts, WindowSource& source) : contexts(std::move(contexts)), source(source) {}

    void start()
    {
        source.observe([weak = weak_from_this()] {
            if (auto const self = weak.lock())
                self->changed();
        });
    }

    void setReport(std::function<void()> toReport) { report.set(std::move(toReport)); }

private:
    void changed()
    {
        if (std::exchange(isLooking, true))
            isStale = true;
        else
            look();
    }

    void look()
    {
        isStale = false;
        asio::post(contexts.workers, [weak = weak_from_this()] {
            auto const self = weak.lock();
            if (!self)
                return;
            auto now = self->source.look();
            auto seen = now ? std::optional(frontOf(*now)) : std::nullopt;
            asio::post(self->contexts.agent, [weak, seen = std::move(seen)]() mutable {
                if (auto const owner = weak.lock())
                    owner->take(std::move(seen));
            });
        });
    }

    void take(std::optional<Front> seen)
    {
        isLooking = false;
        // Without an answer anything may be in front.
        bool const isChange = !seen || seen != last;
        last = std::move(seen);
        if (isStale)
            changed();
        auto const call = report.get();
        if (isChange && call)
            call();
    }

    Contexts const contexts;
    WindowSource& source;
    LockedBox<std::function<void()>> report;
    std::optional<Front> last; // The rest is the agent's.
    bool isLooking = false;
    bool isStale = false; ///< something changed during the look
};

WaylandFrontChanges::WaylandFrontChanges(Contexts const& contexts, WindowSource* source)
    : watch(source ? std::make_shared<Watch>(contexts, *source) : nullptr)
{
    // Sources are followed before they start.
    if (watch)
        watch->start();
}

WaylandFrontChanges::~WaylandFrontChanges() = default;

void WaylandFrontChanges::observe(std::function<void()> observer)
{
    if (watch)
        watch->setReport(std::move(observer));
}

} // namespace zelvo
