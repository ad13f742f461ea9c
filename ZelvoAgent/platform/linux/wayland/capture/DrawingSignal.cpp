#include "platform/linux/wayland/capture/DrawingSignal.h"

#include <boost/asio/post.hpp>

#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr Duration lookPeriod = 50ms;

struct Observer {
    std::uint32_t monitor;
    std::function<void()> drawn;
};

} // namespace

struct DrawingSignal::State : std::enable_shared_from_this<DrawingSignal::State> {
    State(Contexts given, Clock& clock, FrameSource& frames)
        : contexts(std::move(given)), clock(clock), frames(frames)
    {
    }

    void begin()
    {
        isExact = frames.watchDrawing([weak = weak_from_this()](std::uint32_t monitor) {
            if (auto const self = weak.lock())
                self->tell(monitor);
        });
    }

    int add(Observer observer)
    {
        std::scoped_lock const guard(lock);
        int const id = ++last;
        observers.emplace(id, std::move(observer));
        if (observers.size() == 1)
            start();
        return id;
    }

    void remove(int id)
    {
        std::scoped_lock const guard(lock);
        observers.erase(id);
        if (observers.empty() && isExact)
            frames.setDrawingWanted(false);
    }

    /// Under the lock, so that two threads cannot switch in the wrong order.
    void start()
    {
        if (isExact)
            frames.setDrawingWanted(true);
        else if (!std::exchange(isPolling, true))
            beginPolling();
    }

    /// Later: a task that is spawned on its executor begins at once, here with the lock held.
    void beginPolling()
    {
        asio::post(contexts.agent, [self = shared_from_this()] {
            spawn(self->contexts.agent, [self] { return self->poll(); });
        });
    }

    Task<> poll()
    {
        while (isStillWanted()) {
            tell(std::nullopt);
            co_await clock.sleep(lookPeriod);
        }
    }

    bool isStillWanted()
    {
        std::scoped_lock const guard(lock);
        return isPolling = !observers.empty();
    }

    /// Thread: agent.
    void tell(std::optional<std::uint32_t> monitor)
    {
        std::vector<std::function<void()>> calls;
        {
            std::scoped_lock const guard(lock);
            for (auto const& [id, observer] : observers)
                if (!monitor || observer.monitor == anyMonitor || *monitor == observer.monitor)
                    calls.push_back(observer.drawn);
        }
        for (auto const& call : calls)
            call();
    }

    Contexts const contexts;
    Clock& clock;
    FrameSource& frames;
    bool isExact = false;

    std::mutex lock;
    std::map<int, Observer> observers; // lock
    int last = 0;                      // lock
    bool isPolling = false;            // lock
};

DrawingSignal::DrawingSignal(Contexts contexts, Clock& clock, FrameSource& frames)
    : state(std::make_shared<State>(std::move(contexts), clock, frames))
{
    state->begin();
}

DrawingSignal::~DrawingSignal() = default;

std::shared_ptr<void> DrawingSignal::observe(std::uint32_t monitor, std::function<void()> drawn)
{
    int const id = state->add({monitor, std::move(drawn)});
    auto const end = [weak = std::weak_ptr(state), id](void*) {
        if (auto const self = weak.lock())
            self->remove(id);
    };
    return {static_cast<void*>(state.get()), end};
}

} // namespace zelvo
