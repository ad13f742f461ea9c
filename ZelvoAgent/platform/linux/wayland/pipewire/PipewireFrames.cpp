#include "platform/linux/wayland/pipewire/PipewireFrames.h"

#include "base/Hop.h"
#include "platform/linux/wayland/pipewire/MonitorStream.h"
#include "platform/linux/wayland/pipewire/PipewireCore.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>

#include <unistd.h>

#include <atomic>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration patience = 3s;

using Resume = asio::any_completion_handler<void(std::exception_ptr, VideoFrame)>;

/// A picture that somebody waits for.
struct Wanted {
    std::uint32_t monitor = 0;
    Resume resume;
    TaskHandle deadline;
};

std::exception_ptr failure(char const* reason)
{
    return std::make_exception_ptr(ScreenFailure{reason});
}

} // namespace

/// Thread: agent.
struct PipewireFrames::State : std::enable_shared_from_this<State> {
    State(Contexts contexts, Clock& clock) : contexts(std::move(contexts)), clock(clock) {}

    void open(std::optional<GrantedStreams> granted);
    void openEach(GrantedStreams const& granted);
    void close();
    void want(std::uint32_t monitor, Resume resume);
    void finish(std::exception_ptr reason, VideoFrame frame);
    void setDrawingWanted(bool isWanted);

    Contexts const contexts;
    Clock& clock;
    std::function<void(std::uint32_t)> drawn; // Set at start.
    std::shared_ptr<PipewireCore> core;
    std::map<std::uint32_t, std::shared_ptr<MonitorStream>> streams;
    std::unique_ptr<Wanted> wanted;
    bool isDrawingWanted = false;
};

void PipewireFrames::State::open(std::optional<GrantedStreams> granted)
{
    close();
    if (!granted)
        return;
    try {
        core = std::make_shared<PipewireCore>(contexts.agent, granted->descriptor);
        core->start();
        openEach(*granted);
        setDrawingWanted(isDrawingWanted);
    } catch (ScreenFailure const&) {
        close(); // Each picture reports that there is no stream.
    }
}

void PipewireFrames::State::openEach(GrantedStreams const& granted)
{
    for (auto const& one : granted.nodes) {
        std::uint32_t const monitor = one.first;
        auto report = [weak = weak_from_this(), monitor] {
            if (auto const self = weak.lock(); self && self->drawn)
                self->drawn(monitor);
        };
        auto lose = [weak = weak_from_this(), monitor] {
            auto const self = weak.lock();
            if (!self)
                return;
            if (self->wanted && self->wanted->monitor == monitor)
                self->finish(failure("the stream of the monitor ended"), {});
            self->streams.erase(monitor);
        };
        auto const stream = std::make_shared<MonitorStream>(contexts, std::move(report), std::move(lose));
        stream->open(core, one.second);
        streams[monitor] = stream;
    }
}

void PipewireFrames::State::close()
{
    finish(failure("the desktop ended its streams"), {});
    streams.clear();
    core.reset();
}

void PipewireFrames::State::want(std::uint32_t monitor, Resume resume)
{
    auto const stream = streams.find(monitor);
    wanted =
        std::make_unique<Wanted>(Wanted{.monitor = monitor, .resume = std::move(resume), .deadline = {}});
    if (stream == streams.end())
        return finish(failure("there is no stream of the monitor"), {});
    wanted->deadline = spawn(contexts.agent, [weak = weak_from_this(), &clock = clock]() -> Task<> {
        co_await clock.sleep(patience);
        if (auto const self = weak.lock())
            self->finish(failure("the desktop sends no picture"), {});
    });
    stream->second->request([weak = weak_from_this()](VideoFrame frame) {
        if (auto const self = weak.lock())
            self->finish(nullptr, std::move(frame));
    });
}

void PipewireFrames::State::finish(std::exception_ptr reason, VideoFrame frame)
{
    auto const ended = std::exchange(wanted, nullptr);
    if (!ended)
        return;
    ended->deadline.cancel();
    if (auto const stream = streams.find(ended->monitor); reason && stream != streams.end())
        stream->second->cancel();
    std::move(ended->resume)(std::move(reason), std::move(frame));
}

void PipewireFrames::State::setDrawingWanted(bool isWanted)
{
    isDrawingWanted = isWanted;
    for (auto const& [monitor, stream] : streams)
        stream->setDrawingWanted(isWanted);
}

PipewireFrames::PipewireFrames(Contexts contexts, Clock& clock)
    : state(std::make_shared<State>(contexts, clock)), contexts(std::move(contexts))
{
}

PipewireFrames::~PipewireFrames()
{
    asio::dispatch(contexts.agent, [kept = state] { kept->close(); });
}

void PipewireFrames::setStreams(std::optional<GrantedStreams> streams)
{
    asio::dispatch(contexts.agent, [kept = state, streams = std::move(streams)]() mutable {
        kept->open(std::move(streams));
    });
}

Task<Picture> PipewireFrames::everything(std::uint32_t monitor)
{
    AsyncMutex::Lock const lock = co_await mutex.lock();
    auto begin = [kept = state, monitor](auto handler) {
        auto const home = asio::get_associated_executor(handler);
        auto resume = [home, handler = std::move(handler)](std::exception_ptr reason,
                                                           VideoFrame frame) mutable {
            asio::post(home, [reason = std::move(reason), frame = std::move(frame),
                              handler = std::move(handler)]() mutable {
                std::move(handler)(std::move(reason), std::move(frame));
            });
        };
        asio::dispatch(kept->contexts.agent, [kept, monitor, resume = Resume(std::move(resume))]() mutable {
            kept->want(monitor, std::move(resume));
        });
    };
    VideoFrame frame =
        co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr, VideoFrame)>(
            begin, asio::use_awaitable);
    auto work = [&frame] {
        VideoFrame const used = std::move(frame); // The sender gets its memory back at once.
        return copyOf(used);
    };
    co_return co_await on(contexts.workers, std::move(work));
}

Task<Picture> PipewireFrames::without(std::uint32_t, LeftOut)
{
    throw ScreenFailure{"streams show every window"};
    co_return Picture();
}

bool PipewireFrames::watchDrawing(std::function<void(std::uint32_t monitor)> drawn)
{
    asio::dispatch(contexts.agent,
                   [kept = state, drawn = std::move(drawn)]() mutable { kept->drawn = std::move(drawn); });
    return true;
}

void PipewireFrames::setDrawingWanted(bool wanted)
{
    asio::dispatch(contexts.agent, [kept = state, wanted] { kept->setDrawingWanted(wanted); });
}

} // namespace zelvo
