#include "platform/linux/wayland/pipewire/MonitorStream.h"

#include "base/Hop.h"
#include "platform/linux/wayland/pipewire/PipewireCore.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace zelvo {

MonitorStream::MonitorStream(Contexts contexts, std::function<void()> drawn, std::function<void()> lost)
    : contexts(std::move(contexts)), drawn(std::move(drawn)), lost(std::move(lost))
{
}

void MonitorStream::open(std::shared_ptr<PipewireCore> core, std::uint32_t node)
{
    auto const with = [weak = weak_from_this()](auto act) {
        return [weak, act](auto... values) {
            if (auto const self = weak.lock())
                act(*self, std::move(values)...);
        };
    };
    PipewireStream::Events events{
        .onPaused = with([](MonitorStream& self) { self.notePaused(); }),
        .onStreaming = with([](MonitorStream& self) { self.noteStreaming(); }),
        .onFrame = with([](MonitorStream& self, VideoFrame frame) { self.take(std::move(frame)); }),
        .onLost = with([](MonitorStream& self) { self.lost(); })};
    stream = std::make_unique<PipewireStream>(std::move(core), node, std::move(events));
}

void MonitorStream::request(OnPicture onFrame)
{
    requested = std::move(onFrame);
    if (isPaused && !isActive)
        return update();
    // A pause is confirmed only if the stream has run: one that is just being resumed runs first.
    awaitsPause = true;
    isActive = !isStreaming;
    stream->setActive(isActive);
}

void MonitorStream::cancel()
{
    requested = nullptr;
    awaitsPause = false;
    update();
}

void MonitorStream::setDrawingWanted(bool wanted)
{
    isDrawingWanted = wanted;
    update();
}

void MonitorStream::notePaused()
{
    isPaused = true;
    isStreaming = false;
    awaitsPause = false;
    update();
}

void MonitorStream::noteStreaming()
{
    isStreaming = true;
    isPaused = false;
    if (awaitsPause)
        stream->setActive(isActive = false);
}

/// Resumes or pauses the stream, as somebody wants frames or nobody does.
void MonitorStream::update()
{
    bool const isWanted = requested || isDrawingWanted;
    if (awaitsPause || isWanted == isActive || !stream)
        return;
    isActive = isWanted;
    stream->setActive(isWanted);
}

void MonitorStream::take(VideoFrame frame)
{
    if (awaitsPause)
        return;
    if (requested)
        std::exchange(requested, nullptr)(frame);
    if (isDrawingWanted)
        compare(std::move(frame));
    update();
}

void MonitorStream::compare(VideoFrame frame)
{
    if (std::exchange(isComparing, true)) {
        isBehind = true; // Its pixels may be gone when a worker is free.
        return;
    }
    asio::post(contexts.workers,
               [weak = weak_from_this(), agent = contexts.agent, frame = std::move(frame)]() mutable {
                   std::uint64_t const digest = digestOf(frame);
                   frame = {};
                   asio::post(agent, [weak, digest] {
                       auto const self = weak.lock();
                       if (!self)
                           return;
                       self->isComparing = false;
                       bool const differs = std::exchange(self->lastDigest, digest) != digest;
                       if ((std::exchange(self->isBehind, false) || differs) && self->isDrawingWanted)
                           self->drawn();
                   });
               });
}

} // namespace zelvo
