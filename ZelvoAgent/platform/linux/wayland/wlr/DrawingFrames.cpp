#include "platform/linux/wayland/wlr/DrawingFrames.h"

#include "base/DelayedCall.h"
#include "platform/linux/wayland/client/WaylandEvents.h"
#include "platform/linux/wayland/client/WaylandOutputs.h"
#include "platform/linux/wayland/wlr/ScreencopyFrame.h"
#include "platform/linux/wayland/wlr/SharedPixels.h"
#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <boost/asio/post.hpp>

#include <wayland-client-protocol.h>

#include <map>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration pauseAfterDrawing = std::chrono::milliseconds(33);
constexpr Duration pauseAfterFailure = std::chrono::seconds(1);

using CopyManager =
    std::unique_ptr<zwlr_screencopy_manager_v1, ReleaseProxy<zwlr_screencopy_manager_v1_destroy>>;
using SharedMemory = std::unique_ptr<wl_shm, ReleaseProxy<wl_shm_destroy>>;

/// One connection with a frame for each output. Thread: the agent, except for the constructor.
class Watch {
public:
    Watch(Executor executor,
          Clock& clock,
          std::shared_ptr<WaylandClient> const& connection,
          DrawingFrames::Drawn call)
        : agent(std::move(executor)), clock(clock), client(connection), drawn(std::move(call)),
          manager(client->bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface, 3, 2)),
          shm(client->bind<wl_shm>(wl_shm_interface, 1)), outputs(client, [this] { follow(); })
    {
    }

private:
    using State = ScreencopyFrame::State;

    struct Slot {
        Slot(Executor const& agent, Clock& clock) : next(agent, clock) {}
        std::unique_ptr<SharedPixels> pixels;
        std::unique_ptr<ScreencopyFrame> frame;
        DelayedCall next;
    };

    /// Has a frame for each output of now.
    void follow()
    {
        if (!manager || !shm)
            return;
        std::erase_if(slots, [&](auto const& slot) { return !outputs.find(slot.first); });
        for (Monitor const& monitor : outputs.monitors())
            if (slots.try_emplace(monitor.id, agent, clock).second)
                wait(monitor.id);
    }

    /// Asks for the next frame of a monitor.
    void wait(std::uint32_t monitor)
    {
        auto const slot = slots.find(monitor);
        wl_output* const output = outputs.find(monitor);
        if (slot == slots.end() || !output)
            return;
        slot->second.frame.reset();
        slot->second.frame = std::make_unique<ScreencopyFrame>(manager.get(), output, false,
                                                               [this, monitor] { step(monitor); });
        client->flush();
    }

    void step(std::uint32_t monitor)
    {
        Slot& slot = slots.at(monitor);
        State const state = slot.frame->state();
        if (state == State::described && copy(slot))
            return;
        if (state == State::ready)
            drawn(monitor);
        slot.next.in(state == State::ready ? pauseAfterDrawing : pauseAfterFailure,
                     [this, monitor] { wait(monitor); });
    }

    /// Copies the frame when something is drawn. False if it can't be.
    bool copy(Slot& slot)
    try {
        RawFrame const& shape = slot.frame->shape();
        if (!bytesOf(shape))
            return false;
        if (!slot.pixels || !slot.pixels->fits(shape))
            slot.pixels = std::make_unique<SharedPixels>(shm.get(), shape);
        zwlr_screencopy_frame_v1_copy_with_damage(slot.frame->get(), slot.pixels->buffer());
        return true;
    } catch (ScreenFailure const&) { // libwayland calls this, and can't be thrown through.
        return false;
    }

    Executor agent;
    Clock& clock;
    std::shared_ptr<WaylandClient> client; // Outlives its objects below.
    DrawingFrames::Drawn drawn;
    CopyManager manager;
    SharedMemory shm;
    std::map<std::uint32_t, Slot> slots;
    WaylandOutputs outputs;
};

} // namespace

struct DrawingFrames::State : std::enable_shared_from_this<State> {
    State(Contexts contexts, Clock& clock, Drawn drawn)
        : contexts(std::move(contexts)), clock(clock), drawn(std::move(drawn)),
          again(this->contexts.agent, clock)
    {
    }

    void want(bool next)
    {
        if (std::exchange(wanted, next) == next)
            return;
        ++turn;
        again.cancel();
        events.reset();
        if (wanted)
            open();
    }

    /// Connects on a worker, because that blocks.
    void open()
    {
        asio::post(contexts.workers, [self = shared_from_this(), current = turn] {
            auto client = WaylandClient::open();
            std::shared_ptr<Watch> watch;
            if (client)
                watch = std::make_shared<Watch>(self->contexts.agent, self->clock, client, self->drawn);
            asio::post(self->contexts.agent,
                       [self, current, client = std::move(client), watch = std::move(watch)]() mutable {
                           if (self->turn == current)
                               self->begin(std::move(client), std::move(watch));
                       });
        });
    }

    void begin(std::shared_ptr<WaylandClient> client, std::shared_ptr<Watch> watch)
    {
        if (client)
            events = std::make_unique<WaylandEvents>(contexts, std::move(client), std::move(watch),
                                                     [weak = weak_from_this()] {
                                                         if (auto const self = weak.lock())
                                                             self->openLater();
                                                     });
        else
            openLater();
    }

    void openLater()
    {
        if (wanted)
            again.in(pauseAfterFailure, [this] { open(); });
    }

    Contexts contexts;
    Clock& clock;
    Drawn drawn;
    DelayedCall again; // agent, as all below
    std::unique_ptr<WaylandEvents> events;
    std::uint64_t turn = 0;
    bool wanted = false;
};

DrawingFrames::DrawingFrames(Contexts contexts, Clock& clock, Drawn drawn)
    : state(std::make_shared<State>(std::move(contexts), clock, std::move(drawn)))
{
}

DrawingFrames::~DrawingFrames()
{
    setWanted(false);
}

void DrawingFrames::setWanted(bool wanted)
{
    asio::post(state->contexts.agent, [state = state, wanted] { state->want(wanted); });
}

} // namespace zelvo
